#include "HtmlBody.hpp"

#include <QRegularExpression>
#include <QStringList>

namespace Host
{
namespace
{
const QString kName = QStringLiteral("<name>");
const QString kLinks = QStringLiteral("<links>");
const QString kContent = QStringLiteral("<content>");

QString escapedLine(const QString& line)
{
    static const QRegularExpression address(QStringLiteral("https?://[^\\s<>\"]*[^\\s<>\".,;:!?)]"));
    QString result;
    int at = 0;
    for (auto it = address.globalMatch(line); it.hasNext();) {
        const auto match = it.next();
        const QString link = match.captured().toHtmlEscaped();
        result += line.mid(at, match.capturedStart() - at).toHtmlEscaped() + QStringLiteral("<a href=\"") + link
            + QStringLiteral("\">") + link + QStringLiteral("</a>");
        at = match.capturedEnd();
    }
    return result + line.mid(at).toHtmlEscaped();
}

/// Inserts before the end of the body, if there is one.
void append(QString& html, const QString& addition)
{
    const int end = html.lastIndexOf(QLatin1String("</body>"), -1, Qt::CaseInsensitive);
    html.insert(end < 0 ? html.size() : end, addition);
}

/// In one pass, so that a placeholder in a name or a link is not replaced.
QString fill(const QString& htmlTemplate, const QString& name, const QString& links, const QString& content)
{
    static const QRegularExpression placeholder(QStringLiteral("<(?:name|links|content)>"));
    QString result;
    int at = 0;
    for (auto it = placeholder.globalMatch(htmlTemplate); it.hasNext();) {
        const auto match = it.next();
        const QString which = match.captured();
        result += htmlTemplate.mid(at, match.capturedStart() - at);
        result += which == kName ? name : which == kLinks ? links : content;
        at = match.capturedEnd();
    }
    return result + htmlTemplate.mid(at);
}
}

namespace HtmlBody
{
QString fromText(const QString& text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString& line : lines)
        line = escapedLine(line);
    return lines.join(QStringLiteral("<br>\n"));
}

std::optional<QString> filledLinks(const QString& textTemplate, const QString& name, const QString& text)
{
    QStringList pieces = textTemplate.split(kLinks);
    int fixedLength = 0;
    for (QString& piece : pieces) {
        piece.replace(kName, name);
        fixedLength += piece.size();
    }
    if (pieces.size() == 1)
        return text.startsWith(pieces.first()) ? std::optional(text.mid(fixedLength)) : std::nullopt;
    const int places = pieces.size() - 1;
    const int length = (text.size() - fixedLength) / places;
    if (length < 0)
        return std::nullopt;
    const QString links = text.mid(pieces.first().size(), length);
    return pieces.join(links) == text ? std::optional(links) : std::nullopt;
}

QString compose(const Parts& parts)
{
    const QString links = fromText(filledLinks(parts.textTemplate, parts.name, parts.text).value_or(parts.text).trimmed());
    QString html = fill(parts.htmlTemplate, parts.name.toHtmlEscaped(), links, fromText(parts.text));
    const auto paragraph = [](const QString& inner) { return QStringLiteral("<p>%1</p>\n").arg(inner); };
    if (!parts.htmlTemplate.contains(kLinks) && !parts.htmlTemplate.contains(kContent) && !links.isEmpty())
        append(html, paragraph(links));
    if (!parts.addendum.isEmpty())
        append(html, paragraph(fromText(parts.addendum.trimmed())));
    return html;
}
}
}
