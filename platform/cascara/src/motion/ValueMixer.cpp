#include "motion/ValueMixer.hpp"

#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <Bedrock/Color.hpp>

#include <algorithm>
#include <cmath>

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
StyleValue parse(const QString& text)
{
    const Tokens tokens = Tokenizer::run(text);
    ValueParser parser(tokens, QString());
    StyleValue value;
    if (parser.parse(0, int(tokens.list.size()) - 1, value) && !value.terms.isEmpty())
        return value;
    StyleTerm term; // a text without quotes
    term.kind = Kind::String;
    term.text = text;
    return {{term}};
}

/// One to four sides as four.
QVector<StyleTerm> fourSides(const QVector<StyleTerm>& terms)
{
    const int count = terms.size();
    return {terms[0], terms[count > 1 ? 1 : 0], terms[count > 2 ? 2 : 0], terms[count > 3 ? 3 : count > 1 ? 1 : 0]};
}

bool isNumeric(const StyleTerm& term)
{
    return term.kind == Kind::Number || term.kind == Kind::Percentage || term.kind == Kind::Dimension;
}

StyleTerm number(double value)
{
    StyleTerm term;
    term.kind = Kind::Number;
    term.number = value;
    return term;
}

void premultiply(const StyleTerm& term, float (&result)[4])
{
    const Bedrock::Color color = Bedrock::Color::fromString(QLatin1Char('#') + term.text).premultiplied();
    result[0] = color.red;
    result[1] = color.green;
    result[2] = color.blue;
    result[3] = color.alpha;
}
}

ValueMixer::ValueMixer(const QString& from, const QString& to) : m_from(parse(from)), m_to(parse(to))
{
    QVector<StyleTerm> a = m_from.terms;
    QVector<StyleTerm> b = m_to.terms;
    if (a.size() != b.size() && a.size() <= 4 && b.size() <= 4) {
        a = fourSides(a);
        b = fourSides(b);
    }
    if (pair(a, b))
        return;
    m_mixed.terms.clear();
    m_numbers.clear();
    m_colors.clear();
}

/// False when some of them cannot be mixed.
bool ValueMixer::pair(const QVector<StyleTerm>& from, const QVector<StyleTerm>& to)
{
    if (from.size() != to.size())
        return false;
    for (int i = 0; i < from.size(); ++i) {
        const StyleTerm& a = from[i];
        const StyleTerm& b = to[i];
        if (a.kind != b.kind)
            return false;
        if (a.kind == Kind::Hash) {
            Color color{m_mixed.terms.size(), {}, {}};
            premultiply(a, color.from);
            premultiply(b, color.to);
            StyleTerm function;
            function.kind = Kind::Function;
            function.text = QStringLiteral("rgb");
            function.number = 5;
            StyleTerm slash;
            slash.kind = Kind::Delimiter;
            slash.text = QStringLiteral("/");
            m_mixed.terms += {function, number(0), number(0), number(0), slash, number(0)};
            m_colors.push_back(color);
        } else if (isNumeric(a) && a.unit == b.unit) {
            StyleTerm term = a;
            term.text.clear();
            m_numbers.push_back({m_mixed.terms.size(), a.number, b.number});
            m_mixed.terms.push_back(term);
        } else if ((a.kind == Kind::Ident || a.kind == Kind::Delimiter) && a.text == b.text) {
            m_mixed.terms.push_back(a); // the words and commas of a list
        } else {
            return false;
        }
    }
    return true;
}

const StyleValue& ValueMixer::at(double progress)
{
    if (m_mixed.terms.isEmpty())
        return progress < 0.5 ? m_from : m_to;
    for (const Number& mixed : m_numbers)
        m_mixed.terms[mixed.term].number = mixed.from + (mixed.to - mixed.from) * progress;
    for (const Color& mixed : m_colors) {
        double part[4];
        for (int i = 0; i < 4; ++i)
            part[i] = double(mixed.from[i]) + double(mixed.to[i] - mixed.from[i]) * progress;
        const double alpha = std::clamp(part[3], 0.0, 1.0);
        for (int i = 0; i < 3; ++i)
            m_mixed.terms[mixed.term + 1 + i].number = alpha > 0.0 ? part[i] / alpha * 255.0 : 0.0;
        m_mixed.terms[mixed.term + 5].number = alpha;
    }
    return m_mixed;
}
}
