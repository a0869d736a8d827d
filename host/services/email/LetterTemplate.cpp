#include "LetterTemplate.hpp"

#include <QRegularExpression>

#include <algorithm>

namespace Host
{
namespace
{
const QString kName = QStringLiteral("<name>");
const QString kLinks = QStringLiteral("<links>");

/// A mark with the end of its line; a section's language is captured.
const QRegularExpression& mark()
{
    static const QRegularExpression expression(
        QStringLiteral("^[^\\S\\n]*\\[(?:language ([A-Za-z0-9-]+)|end)\\][^\\S\\n]*(?:\\n|\\z)"),
        QRegularExpression::MultilineOption);
    return expression;
}

/// The text with `change` applied to each match of a pattern, and `keep` to what is between, in their order.
template <typename Change, typename Keep>
QString replaced(const QString& text, const QRegularExpression& pattern, Change change, Keep keep)
{
    QString result;
    int at = 0;
    for (auto it = pattern.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        result += keep(text.mid(at, match.capturedStart() - at));
        result += change(match);
        at = match.capturedEnd();
    }
    return result + keep(text.mid(at));
}

/// The text escaped, with line breaks, and with links for web addresses.
QString fromText(const QString& text)
{
    static const QRegularExpression address(QStringLiteral("https?://[^\\s<>\"]*[^\\s<>\".,;:!?)]"));
    const auto link = [](const auto& match) {
        return QStringLiteral("<a href=\"%1\">%1</a>").arg(match.captured().toHtmlEscaped());
    };
    return replaced(text, address, link, [](const QString& words) { return words.toHtmlEscaped(); })
        .replace(QLatin1Char('\n'), QStringLiteral("<br>\n"));
}

/// The replacement of the text template's "<links>", or, without one, what was appended. The whole text when that is not the
/// filled template.
QString filledLinks(const LetterTemplate::Html& parts)
{
    QStringList pieces = parts.textTemplate.split(kLinks);
    if (pieces.size() == 1)
        pieces << QString(); // they stand at the end
    int fixedLength = 0;
    for (QString& piece : pieces)
        fixedLength += piece.replace(kName, parts.name).size();
    const int length = (parts.text.size() - fixedLength) / (pieces.size() - 1);
    const QString links = parts.text.mid(pieces.first().size(), length);
    return pieces.join(links) == parts.text ? links : parts.text;
}
}

QString LetterTemplate::inLanguage(const QString& text, const QStringList& languages)
{
    QStringList there;
    for (auto marks = mark().globalMatch(text); marks.hasNext();)
        there << marks.next().captured(1).toLower();
    there.removeAll(QString()); // of the ends
    if (there.isEmpty())
        return text;
    const auto first = std::find_if(languages.begin(), languages.end(), [&](const auto& one) { return there.contains(one); });
    const QString language = first == languages.end() ? there.first() : *first;
    QString section; // the open one's language
    const auto pass = [&](const auto& match) {
        if (section.isEmpty() && match.captured(1).isEmpty())
            return match.captured(); // an end of nothing is text
        section = match.captured(1).toLower();
        return QString();
    };
    return replaced(text, mark(), pass,
                    [&](const QString& words) { return section.isEmpty() || section == language ? words : QString(); });
}

QString LetterTemplate::fault(const QString& text)
{
    int begun = 0; // the line of the open section
    const auto open = [&begun] {
        return QStringLiteral("line %1: the section does not end; write [end] on a line after it").arg(begun);
    };
    for (auto marks = mark().globalMatch(text); marks.hasNext();) {
        const auto match = marks.next();
        const int line = text.leftRef(match.capturedStart()).count(QLatin1Char('\n')) + 1;
        const bool begins = match.capturedLength(1) > 0;
        if (begins && begun)
            return open();
        if (!begins && !begun)
            return QStringLiteral("line %1: [end] without a section; begin one with [language de] on a line before it").arg(line);
        begun = begins ? line : 0;
    }
    return begun ? open() : QString();
}

QString LetterTemplate::compose(const Html& parts)
{
    static const QRegularExpression placeholder(QStringLiteral("<(?:name|links|content)>"));
    const QString links = fromText(filledLinks(parts).trimmed());
    const auto filling = [&](const auto& match) {
        const QString which = match.captured();
        return which == kName ? parts.name.toHtmlEscaped() : which == kLinks ? links : fromText(parts.text);
    };
    QString html = replaced(parts.htmlTemplate, placeholder, filling, [](const QString& words) { return words; });
    const auto append = [&html](const QString& inner) {
        const int end = html.lastIndexOf(QLatin1String("</body>"), -1, Qt::CaseInsensitive);
        if (!inner.isEmpty())
            html.insert(end < 0 ? html.size() : end, QStringLiteral("<p>%1</p>\n").arg(inner));
    };
    if (!parts.htmlTemplate.contains(kLinks) && !parts.htmlTemplate.contains(QLatin1String("<content>")))
        append(links);
    append(fromText(parts.addendum.trimmed()));
    return html;
}

QString TextInLanguages::in(const QStringList& languages) const
{
    for (const QString& language : languages)
        if (texts.contains(language))
            return texts.value(language);
    return texts.contains(QString()) || texts.isEmpty() ? texts.value(QString()) : texts.first();
}
}
