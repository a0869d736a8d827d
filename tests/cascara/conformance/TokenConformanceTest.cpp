#include "conformance/ConformanceList.hpp"
#include "syntax/Tokenizer.hpp"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <doctest/doctest.h>

#include <vector>

using Cascara::Token;
using Cascara::Tokenizer;
using Cascara::Tokens;

namespace
{
QString kindName(Token::Kind kind)
{
    using Kind = Token::Kind;
    switch (kind) {
    case Kind::Ident: return QStringLiteral("ident-token");
    case Kind::Function: return QStringLiteral("function-token");
    case Kind::AtKeyword: return QStringLiteral("at-keyword-token");
    case Kind::Hash: return QStringLiteral("hash-token");
    case Kind::String: return QStringLiteral("string-token");
    case Kind::BadString: return QStringLiteral("bad-string-token");
    case Kind::Url: return QStringLiteral("url-token");
    case Kind::BadUrl: return QStringLiteral("bad-url-token");
    case Kind::Delim: return QStringLiteral("delim-token");
    case Kind::Number: return QStringLiteral("number-token");
    case Kind::Percentage: return QStringLiteral("percentage-token");
    case Kind::Dimension: return QStringLiteral("dimension-token");
    case Kind::Whitespace: return QStringLiteral("whitespace-token");
    case Kind::Cdo: return QStringLiteral("CDO-token");
    case Kind::Cdc: return QStringLiteral("CDC-token");
    case Kind::Colon: return QStringLiteral("colon-token");
    case Kind::Semicolon: return QStringLiteral("semicolon-token");
    case Kind::Comma: return QStringLiteral("comma-token");
    case Kind::OpenSquare: return QStringLiteral("[-token");
    case Kind::CloseSquare: return QStringLiteral("]-token");
    case Kind::OpenRound: return QStringLiteral("(-token");
    case Kind::CloseRound: return QStringLiteral(")-token");
    case Kind::OpenCurly: return QStringLiteral("{-token");
    case Kind::CloseCurly: return QStringLiteral("}-token");
    case Kind::End: break;
    }
    return QStringLiteral("end");
}

/// Where the characters that the tokenizer counts stand in the text as it was written, in which a line end may be two characters.
std::vector<int> placesInSource(const QString& css)
{
    std::vector<int> places;
    for (int i = 0; i < css.size(); ++i) {
        places.push_back(i);
        if (css.at(i) == QLatin1Char('\r') && i + 1 < css.size() && css.at(i + 1) == QLatin1Char('\n'))
            ++i;
    }
    places.push_back(css.size());
    return places;
}

/// Line and column of a place, counted from the text alone.
QString lineAndColumn(const QString& css, int place)
{
    QString before = css.left(place);
    before.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    before.replace(QLatin1Char('\r'), QLatin1Char('\n')).replace(QLatin1Char('\f'), QLatin1Char('\n'));
    const int line = before.count(QLatin1Char('\n')) + 1;
    return QStringLiteral("%1:%2").arg(line).arg(before.size() - before.lastIndexOf(QLatin1Char('\n')));
}

QString describe(const QString& kind, int start, int end, const QString& place, const QString& value)
{
    return QStringLiteral("%1 [%2, %3) at %4 %5").arg(kind).arg(start).arg(end).arg(place, value);
}

QString number(double value)
{
    return QString::number(value, 'g', 12);
}

QString describeOurs(const Token& token, const std::vector<int>& places)
{
    using Kind = Token::Kind;
    QString value;
    switch (token.kind) {
    case Kind::Ident:
    case Kind::Function:
    case Kind::AtKeyword:
    case Kind::String:
    case Kind::Url:
    case Kind::Delim: value = token.text; break;
    case Kind::Hash: value = token.text + (token.isName ? QStringLiteral(" id") : QStringLiteral(" unrestricted")); break;
    case Kind::Number:
    case Kind::Percentage: value = number(token.number); break;
    case Kind::Dimension: value = number(token.number) + QLatin1Char(' ') + token.unit; break;
    default: break;
    }
    return describe(kindName(token.kind), places.at(std::size_t(token.start)), places.at(std::size_t(token.end)),
                    QStringLiteral("%1:%2").arg(token.line).arg(token.column), value);
}

QString describeTheirs(const QJsonObject& token, const QString& css)
{
    const QString kind = token[QStringLiteral("type")].toString();
    const QJsonObject structured = token[QStringLiteral("structured")].toObject();
    const QJsonValue given = structured[QStringLiteral("value")];
    QString value = given.isDouble() ? number(given.toDouble()) : given.toString();
    if (kind == QLatin1String("hash-token"))
        value += QLatin1Char(' ') + structured[QStringLiteral("type")].toString();
    if (kind == QLatin1String("dimension-token"))
        value += QLatin1Char(' ') + structured[QStringLiteral("unit")].toString();
    const int start = token[QStringLiteral("startIndex")].toInt();
    return describe(kind, start, token[QStringLiteral("endIndex")].toInt(), lineAndColumn(css, start), value);
}

/// Empty when the tokens are the same. The package gives comments as tokens, which this tokenizer leaves out.
QString difference(const QString& css, const QJsonArray& expected)
{
    const Tokens tokens = Tokenizer::run(css);
    const std::vector<int> places = placesInSource(css);
    std::size_t next = 0;
    for (const QJsonValue& entry : expected) {
        const QJsonObject theirs = entry.toObject();
        if (theirs[QStringLiteral("type")].toString() == QLatin1String("comment"))
            continue;
        const QString wanted = describeTheirs(theirs, css);
        const QString got = describeOurs(tokens.list[next], places);
        if (got != wanted)
            return QStringLiteral("expected %1, got %2").arg(wanted, got);
        ++next;
    }
    const bool isAtEnd = tokens.list[next].kind == Token::Kind::End;
    return isAtEnd ? QString() : QStringLiteral("one token too many: ") + describeOurs(tokens.list[next], places);
}
}

TEST_CASE("token conformance: kinds, places and values are those of the public corpus")
{
    CascaraTest::ConformanceList list(QStringLiteral("tokens"));
    QFile file(qEnvironmentVariable("TAVOLA_CONFORMANCE") + QStringLiteral("/tokens.json"));
    CAPTURE(file.fileName().toStdString());
    REQUIRE(file.open(QIODevice::ReadOnly));
    const QJsonObject corpus = QJsonDocument::fromJson(file.readAll()).object();
    REQUIRE_FALSE(corpus.isEmpty());
    for (auto test = corpus.begin(); test != corpus.end(); ++test) {
        const QJsonObject content = test.value().toObject();
        list.add(test.key().mid(int(qstrlen("tests/"))),
                 difference(content[QStringLiteral("css")].toString(), content[QStringLiteral("tokens")].toArray()));
    }
    list.check();
}
