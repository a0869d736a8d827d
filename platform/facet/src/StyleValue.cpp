#include <Facet/StyleValue.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace Facet
{
namespace
{
QString quoted(const QString& text)
{
    QString result = QStringLiteral("\"");
    for (const QChar c : text) {
        if (c == QLatin1Char('\n')) {
            result += QStringLiteral("\\a ");
            continue;
        }
        if (c == QLatin1Char('"') || c == QLatin1Char('\\'))
            result += QLatin1Char('\\');
        result += c;
    }
    return result + QLatin1Char('"');
}

QString termToString(const StyleTerm& term)
{
    switch (term.kind) {
    case StyleTerm::Kind::String: return quoted(term.text);
    case StyleTerm::Kind::Url: return QStringLiteral("url(") + quoted(term.text) + QLatin1Char(')');
    case StyleTerm::Kind::Hash: return QLatin1Char('#') + term.text;
    case StyleTerm::Kind::Number: return term.text.isEmpty() ? QString::number(term.number) : term.text;
    case StyleTerm::Kind::Percentage: return term.text.isEmpty() ? QString::number(term.number) + QLatin1Char('%') : term.text;
    case StyleTerm::Kind::Dimension:
        return term.text.isEmpty() ? QString::number(term.number) + QString::fromUtf8(term.unit) : term.text;
    case StyleTerm::Kind::Function: return term.text + QLatin1Char('(');
    case StyleTerm::Kind::Ident:
    case StyleTerm::Kind::Delimiter: break;
    }
    return term.text;
}
}

bool StyleValue::isNumberRun() const
{
    // What follows a number without a blank is its unit: the second hyphen of "1--2" begins one.
    const auto isUnit = [](const QByteArray& unit) {
        return std::all_of(unit.begin(), unit.end(), [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
    };
    const auto belongs = [&](const StyleTerm& term) {
        switch (term.kind) {
        case StyleTerm::Kind::Number: return true;
        case StyleTerm::Kind::Dimension: return isUnit(term.unit);
        case StyleTerm::Kind::Delimiter: return term.text != QLatin1String("/");
        case StyleTerm::Kind::Ident: return isUnit(term.text.toUtf8()); // "--2"
        default: return false;
        }
    };
    return !terms.isEmpty() && std::all_of(terms.begin(), terms.end(), belongs);
}

QString StyleValue::toString() const
{
    QString result;
    std::vector<int> functionEnds; // index after the last argument of each open function
    bool needsBlank = false;
    for (int i = 0; i < terms.size(); ++i) {
        const StyleTerm& term = terms[i];
        const bool isComma = term.kind == StyleTerm::Kind::Delimiter && term.text == QLatin1String(",");
        if (needsBlank && !isComma)
            result += QLatin1Char(' ');
        result += termToString(term);
        needsBlank = true;
        if (term.kind == StyleTerm::Kind::Function) {
            functionEnds.push_back(i + 1 + int(term.number));
            needsBlank = false;
        }
        while (!functionEnds.empty() && functionEnds.back() <= i + 1) {
            functionEnds.pop_back();
            result += QLatin1Char(')');
            needsBlank = true;
        }
    }
    return result;
}
}
