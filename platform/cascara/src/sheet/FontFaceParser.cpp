#include "sheet/FontFaceParser.hpp"

#include "values/ValueParser.hpp"

#include <Bedrock/LocalPath.hpp>
#include <Facet/NearestWord.hpp>
#include <Facet/StyleConversion.hpp>

namespace Cascara
{
namespace
{
using TokenKind = Token::Kind;
using TermKind = Facet::StyleTerm::Kind;

bool readFamily(const Facet::StyleValue& value, QString& family)
{
    QStringList words;
    for (const Facet::StyleTerm& term : value.terms) {
        if (term.kind != TermKind::Ident && (term.kind != TermKind::String || value.terms.size() > 1))
            return false;
        words << term.text;
    }
    family = words.join(QLatin1Char(' '));
    return !family.isEmpty();
}

/// `url(…)`s separated by commas; a `format()` may follow each and is not needed.
bool readFiles(const Facet::StyleValue& value, QStringList& files)
{
    QStringList read;
    bool isNext = true;
    for (int i = 0; i < value.terms.size(); ++i) {
        const Facet::StyleTerm& term = value.terms[i];
        if (term.kind == TermKind::Url && isNext)
            read << Bedrock::localPath(term.text);
        else if (term.kind == TermKind::Function && !isNext
                 && term.text.compare(QLatin1String("format"), Qt::CaseInsensitive) == 0)
            i += int(term.number);
        else if (term.kind != TermKind::Delimiter || term.text != QLatin1String(",") || isNext)
            return false;
        isNext = term.kind == TermKind::Delimiter;
    }
    if (!isNext)
        files = read;
    return !isNext;
}

bool readWeight(const Facet::StyleValue& value, int& weight)
{
    const QString word = Facet::singleWord(value).toLower();
    if (word == QLatin1String("normal") || word == QLatin1String("bold")) {
        weight = word == QLatin1String("bold") ? 700 : 400;
        return true;
    }
    return Facet::StyleConversion<int>::read(value, weight, nullptr) && weight >= 1 && weight <= 1000;
}
}

void FontFaceParser::parse(const Token& at, int first, int end)
{
    FontFace face;
    face.sheet = m_sheet.name;
    face.line = at.line;
    face.column = at.column;
    int from = first + 1;
    for (int i = from; i < end; ++i) {
        const TokenKind kind = m_tokens.list[std::size_t(i)].kind;
        if (kind != TokenKind::Semicolon && i + 1 < end)
            continue;
        parseDescriptor(face, from, kind == TokenKind::Semicolon || kind == TokenKind::CloseCurly ? i : i + 1);
        from = i + 1;
    }
    if (!face.family.isEmpty() && !face.files.isEmpty())
        m_sheet.fontFaces.push_back(std::move(face));
    else
        m_sheet.errors.push_back(
            {at.line, at.column, QStringLiteral("@font-face: expected a 'font-family' and a 'src'; the rule is skipped")});
}

void FontFaceParser::parseDescriptor(FontFace& face, int first, int end)
{
    const auto isBlank = [this](int i) { return m_tokens.list[std::size_t(i)].kind == TokenKind::Whitespace; };
    while (first < end && isBlank(first))
        ++first;
    if (first == end)
        return;
    const Token& name = m_tokens.list[std::size_t(first)];
    const auto skipped = [&](const QString& text) {
        m_sheet.errors.push_back({name.line, name.column, text + QStringLiteral("; it is skipped")});
    };
    int colon = first + 1;
    while (colon < end && isBlank(colon))
        ++colon;
    if (name.kind != TokenKind::Ident || colon == end || m_tokens.list[std::size_t(colon)].kind != TokenKind::Colon) {
        skipped(QStringLiteral("@font-face: expected 'name: value', got '%1'").arg(m_tokens.textBetween(first, end).trimmed()));
        return;
    }
    static const QStringList kNames{QStringLiteral("font-family"), QStringLiteral("src"), QStringLiteral("font-weight"),
                                    QStringLiteral("font-style")};
    const QString key = name.text.toLower();
    if (!kNames.contains(key)) {
        skipped(QStringLiteral("@font-face: '%1' is not supported%2").arg(name.text, Facet::didYouMean(key, kNames)));
        return;
    }
    ValueParser values(m_tokens, m_sheet.baseDirectory);
    Facet::StyleValue value;
    if (!values.parse(colon + 1, end, value))
        skipped(QStringLiteral("@font-face: %1: %2").arg(key, values.error().text));
    else if (!read(key, value, face))
        skipped(QStringLiteral("@font-face: %1: expected %2, got '%3'")
                    .arg(key,
                         key == QLatin1String("src")               ? QStringLiteral("url()s separated by commas")
                             : key == QLatin1String("font-family") ? QStringLiteral("a name")
                             : key == QLatin1String("font-weight") ? QStringLiteral("normal, bold or 1 to 1000")
                                                                   : QStringLiteral("normal, italic or oblique"),
                         value.toString()));
}

bool FontFaceParser::read(const QString& name, const Facet::StyleValue& value, FontFace& face) const
{
    if (name == QLatin1String("font-family"))
        return readFamily(value, face.family);
    if (name == QLatin1String("src"))
        return readFiles(value, face.files);
    if (name == QLatin1String("font-weight"))
        return readWeight(value, face.weight);
    const QString word = Facet::singleWord(value).toLower();
    face.isItalic = word == QLatin1String("italic") || word == QLatin1String("oblique");
    return face.isItalic || word == QLatin1String("normal");
}
}
