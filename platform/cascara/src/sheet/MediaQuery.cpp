#include "sheet/MediaQuery.hpp"

#include "values/ValueParser.hpp"

#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <optional>
#include <utility>

namespace Cascara
{
using Kind = Token::Kind;

/// Reads one query of a list. Throws nothing: a fault is kept, and the query is false.
class MediaQueryParser
{
public:
    using Condition = MediaQuery::Condition;

    MediaQueryParser(const Tokens& tokens, int first, int end) : m_tokens(tokens), m_position(first), m_end(end) {}

    [[nodiscard]] Condition query()
    {
        const bool isNegated = isWord("not") && !opensAfterWord();
        if (isNegated || isWord("only"))
            next();
        Condition result;
        if (at(Kind::Ident) && !isWord("not")) {
            const QString type = token().text.toLower();
            const bool isShown = type == QLatin1String("all") || type == QLatin1String("screen");
            result = [isShown](const Media&) { return isShown; };
            next();
            if (isWord("and")) {
                next();
                result = both(std::move(result), conditions());
            }
        } else {
            result = conditions();
        }
        if (!m_fault && m_position < m_end)
            fail(QStringLiteral("expected 'and' or ',' in '@media'"));
        return isNegated ? negation(std::move(result)) : result;
    }
    [[nodiscard]] const std::optional<StyleSheetError>& fault() const noexcept { return m_fault; }

private:
    static Condition both(Condition a, Condition b)
    {
        return [a = std::move(a), b = std::move(b)](const Media& media) { return a(media) && b(media); };
    }
    static Condition either(Condition a, Condition b)
    {
        return [a = std::move(a), b = std::move(b)](const Media& media) { return a(media) || b(media); };
    }
    static Condition negation(Condition a)
    {
        return [a = std::move(a)](const Media& media) { return !a(media); };
    }
    static Condition never()
    {
        return [](const Media&) { return false; };
    }

    [[nodiscard]] const Token& token() const { return m_tokens.list[std::size_t(m_position)]; }
    [[nodiscard]] bool at(Kind kind) const { return m_position < m_end && token().kind == kind; }
    [[nodiscard]] bool isWord(const char* word) const
    {
        return at(Kind::Ident) && token().text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
    }
    /// A negated condition, not a negated query: "not (…)".
    [[nodiscard]] bool opensAfterWord() const
    {
        int after = m_position + 1;
        while (after < m_end && m_tokens.list[std::size_t(after)].kind == Kind::Whitespace)
            ++after;
        return after < m_end && m_tokens.list[std::size_t(after)].kind == Kind::OpenRound;
    }
    void skipBlanks()
    {
        while (at(Kind::Whitespace))
            ++m_position;
    }
    void next()
    {
        ++m_position;
        skipBlanks();
    }
    Condition fail(const QString& text)
    {
        if (!m_fault)
            m_fault = StyleSheetError{token().line, token().column, text};
        return never();
    }

    /// "not (…)", or several with `and`, or several with `or`.
    Condition conditions()
    {
        if (isWord("not")) {
            next();
            return negation(inParentheses());
        }
        Condition result = inParentheses();
        const bool isOr = isWord("or");
        while (!m_fault && isWord(isOr ? "or" : "and")) {
            next();
            result = isOr ? either(std::move(result), inParentheses()) : both(std::move(result), inParentheses());
        }
        return result;
    }

    Condition inParentheses()
    {
        if (!at(Kind::OpenRound))
            return fail(QStringLiteral("expected '(' in '@media'"));
        if (m_depth >= kDeepestNesting)
            return fail(QStringLiteral("conditions are nested too deeply: at most %1").arg(kDeepestNesting));
        next();
        ++m_depth;
        Condition result = at(Kind::OpenRound) || isWord("not") ? conditions() : feature();
        --m_depth;
        if (m_fault)
            return result;
        if (!at(Kind::CloseRound))
            return fail(QStringLiteral("expected ')' in '@media'"));
        next();
        return result;
    }

    Condition feature()
    {
        if (at(Kind::Ident)) {
            const QString name = token().text.toLower();
            const int place = m_position;
            next();
            if (at(Kind::Colon)) {
                next();
                return plain(name, place);
            }
            if (at(Kind::CloseRound))
                return alone(name, place);
            const auto compare = comparison();
            const auto number = compare ? length() : std::nullopt;
            return number ? comparing(name, place, *compare, *number) : fail(QStringLiteral("expected ':' in '@media'"));
        }
        // "400px <= width < 700px"
        const auto least = length();
        const auto first = least ? comparison() : std::nullopt;
        if (!first || !at(Kind::Ident))
            return fail(QStringLiteral("expected the name of a feature in '@media'"));
        const QString name = token().text.toLower();
        const int place = m_position;
        next();
        Condition result = comparing(name, place, mirrored(*first), *least);
        if (at(Kind::CloseRound) || m_fault)
            return result;
        const auto second = comparison();
        const auto most = second ? length() : std::nullopt;
        return most ? both(std::move(result), comparing(name, place, *second, *most))
                    : fail(QStringLiteral("expected '<', '<=', '>', '>=' or ')' in '@media'"));
    }

    struct Comparison
    {
        char direction; ///< '<', '>' or '='
        bool orEqual;
    };

    std::optional<Comparison> comparison()
    {
        if (!at(Kind::Delim) || token().text.size() != 1 || !QStringLiteral("<>=").contains(token().text))
            return std::nullopt;
        Comparison result{token().text.at(0).toLatin1(), token().text == QLatin1String("=")};
        ++m_position;
        if (result.direction != '=' && at(Kind::Delim) && token().text == QLatin1String("=")) {
            result.orEqual = true;
            ++m_position;
        }
        skipBlanks();
        return result;
    }
    static Comparison mirrored(Comparison comparison)
    {
        const char direction = comparison.direction;
        return {direction == '<' ? '>' : direction == '>' ? '<' : '=', comparison.orEqual};
    }

    /// In px; "0" needs no unit, nor does any other number, as in declarations.
    std::optional<double> length()
    {
        const int first = m_position;
        int open = 0;
        const auto ends = [&] {
            return open == 0 && (at(Kind::CloseRound) || at(Kind::Whitespace) || at(Kind::Delim) || at(Kind::Ident));
        };
        for (; m_position < m_end && !ends(); ++m_position)
            open += at(Kind::Function) || at(Kind::OpenRound) ? 1 : at(Kind::CloseRound) ? -1 : 0;
        ValueParser values(m_tokens, QString());
        Facet::StyleValue value;
        const bool isOne = values.parse(first, m_position, value) && value.terms.size() == 1;
        skipBlanks();
        using Term = Facet::StyleTerm::Kind;
        if (!isOne)
            return std::nullopt;
        const auto& term = value.terms.first();
        const bool isLength = term.kind == Term::Number || (term.kind == Term::Dimension && term.unit == "px");
        return isLength ? std::optional(term.number) : std::nullopt;
    }

    Condition comparing(const QString& name, int place, Comparison comparison, double number)
    {
        if (name != QLatin1String("width") && name != QLatin1String("height"))
            return unknown(name, place);
        const bool isWidth = name == QLatin1String("width");
        return [=](const Media& media) {
            const double size = double(isWidth ? media.widthPx : media.heightPx);
            return (comparison.direction == '<' && size < number) || (comparison.direction == '>' && size > number)
                || (comparison.orEqual && size == number);
        };
    }

    Condition plain(const QString& name, int place)
    {
        const bool isLeast = name.startsWith(QLatin1String("min-"));
        const bool isMost = name.startsWith(QLatin1String("max-"));
        const QString size = isLeast || isMost ? name.mid(4) : name;
        if (size == QLatin1String("width") || size == QLatin1String("height")) {
            const auto number = length();
            if (!number)
                return fail(QStringLiteral("%1: expected a length in px or mm").arg(name));
            return comparing(size, place, {isLeast ? '>' : isMost ? '<' : '=', true}, *number);
        }
        if (name == QLatin1String("orientation"))
            return word(name,
                        {{QStringLiteral("landscape"), [](const Media& m) { return m.widthPx > m.heightPx; }},
                         {QStringLiteral("portrait"), [](const Media& m) { return m.widthPx <= m.heightPx; }}});
        if (name == QLatin1String("prefers-reduced-motion"))
            return word(name,
                        {{QStringLiteral("reduce"), [](const Media& m) { return m.reducesMotion; }},
                         {QStringLiteral("no-preference"), [](const Media& m) { return !m.reducesMotion; }}});
        return unknown(name, place);
    }

    Condition word(const QString& name, const std::vector<std::pair<QString, Condition>>& words)
    {
        QStringList names;
        for (const auto& [text, condition] : words) {
            if (isWord(text.toLatin1().constData())) {
                next();
                return condition;
            }
            names.append(text);
        }
        const QString written = m_position < m_end ? token().text : QString();
        return fail(
            QStringLiteral("%1: expected %2%3").arg(name, names.join(QStringLiteral(" or ")), Facet::didYouMean(written, names)));
    }

    /// A feature without a value: true where it is anything but none.
    Condition alone(const QString& name, int place)
    {
        if (name == QLatin1String("prefers-reduced-motion"))
            return [](const Media& media) { return media.reducesMotion; };
        if (name == QLatin1String("width") || name == QLatin1String("height") || name == QLatin1String("orientation"))
            return [](const Media&) { return true; };
        return unknown(name, place);
    }

    Condition unknown(const QString& name, int place)
    {
        static const QStringList kNames{QStringLiteral("width"),       QStringLiteral("min-width"),
                                        QStringLiteral("max-width"),   QStringLiteral("height"),
                                        QStringLiteral("min-height"),  QStringLiteral("max-height"),
                                        QStringLiteral("orientation"), QStringLiteral("prefers-reduced-motion")};
        if (!m_fault) {
            const Token& where = m_tokens.list[std::size_t(place)];
            m_fault = StyleSheetError{where.line, where.column,
                                      QStringLiteral("there is no feature '%1'%2").arg(name, Facet::didYouMean(name, kNames))};
        }
        return never();
    }

    const Tokens& m_tokens;
    int m_position;
    int m_end;
    int m_depth = 0;
    std::optional<StyleSheetError> m_fault;
};

MediaQuery MediaQuery::parse(const Tokens& tokens, int first, int end, std::vector<StyleSheetError>& errors)
{
    MediaQuery result;
    const auto kindAt = [&tokens](int i) { return tokens.list[std::size_t(i)].kind; };
    while (first < end && kindAt(first) == Kind::Whitespace)
        ++first;
    if (first == end) { // `@media {` holds always
        result.m_queries.emplace_back([](const Media&) { return true; });
        return result;
    }
    int open = 0;
    for (int i = first; i <= end; ++i) {
        const bool isEnd = i == end || (open == 0 && kindAt(i) == Kind::Comma);
        if (!isEnd) {
            open += kindAt(i) == Kind::OpenRound || kindAt(i) == Kind::Function ? 1 : kindAt(i) == Kind::CloseRound ? -1 : 0;
            continue;
        }
        while (first < i && kindAt(first) == Kind::Whitespace)
            ++first;
        MediaQueryParser parser(tokens, first, i);
        Condition query = parser.query();
        if (parser.fault()) {
            errors.push_back(*parser.fault());
            errors.back().text += QStringLiteral("; the condition does not hold");
            query = [](const Media&) { return false; };
        }
        result.m_queries.push_back(std::move(query));
        first = i + 1;
    }
    return result;
}

bool MediaQuery::matches(const Media& media) const
{
    return std::any_of(m_queries.begin(), m_queries.end(), [&media](const Condition& query) { return query(media); });
}
}
