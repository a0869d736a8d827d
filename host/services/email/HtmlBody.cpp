#include "HtmlBody.hpp"

#include <QRegularExpression>
#include <QStringList>

namespace Host
{
namespace
{
const QString kName = QStringLiteral("<name>");
const QString kLinks = QStringLiteral("<links>");

/// The text with `change` applied to each match of a pattern, and `keep` to what is between; each letter once.
template <typename Change, typename Keep>
QString replaced(const QString& text, const QRegularExpression& pattern, Change change, Keep keep)
{
    QString result;
    int at = 0;
    for (auto it = pattern.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        result += keep(text.mid(at, match.capturedStart() - at)) + change(match.captured());
        at = match.capturedEnd();
    }
    return result + keep(text.mid(at));
}

/// The text escaped, with line breaks, and with links for web addresses.
QString fromText(const QString& text)
{
    static const QRegularExpression address(QStringLiteral("https?://[^\\s<>\"]*[^\\s<>\".,;:!?)]"));
    const auto link = [](const QString& target) { return QStringLiteral("<a href=\"%1\">%1</a>").arg(target.toHtmlEscaped()); };
    return replaced(text, address, link, [](const QString& words) { return words.toHtmlEscaped(); })
        .replace(QLatin1Char('\n'), QStringLiteral("<br>\n"));
}

/// The replacement of the text template's "<links>", or, without one, what was appended. The whole text when that is not the
/// filled template.
QString filledLinks(const HtmlBody::Parts& parts)
{
    QStringList pieces = parts.textTemplate.split(kLinks);
    if (pieces.size() == 1)
        pieces << QString(); // they stand at the end
    int fixedLength = 0;
    for (QString& piece : pieces)
        fixedLength += piece.replace(kName, parts.name).size();
    const int length = (parts.text.size() - fixedLength) / (pieces.size() - 1);
    const QString links = parts.text.mid(pieces.first().size(), length);
    return length >= 0 && pieces.join(links) == parts.text ? links : parts.text;
}
}

QString HtmlBody::compose(const Parts& parts)
{
    static const QRegularExpression placeholder(QStringLiteral("<(?:name|links|content)>"));
    const QString links = fromText(filledLinks(parts).trimmed());
    const auto filling = [&](const QString& which) {
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
}
