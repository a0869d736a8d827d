#include "PageRenderer.hpp"

#include "ContentFolder.hpp"
#include "ItemStore.hpp"
#include "PageStyle.hpp"
#include "WebLink.hpp"

#include <QCryptographicHash>

namespace MediaServer
{

namespace
{

constexpr char kLinkSymbol[] =
    "<svg viewBox=\"0 0 24 24\" fill=\"none\" stroke=\"currentColor\" stroke-width=\"1.3\" "
    "aria-hidden=\"true\"><circle cx=\"12\" cy=\"12\" r=\"9\"/><path d=\"M3 12h18M12 3c2.6 2.6 3.8 5.6 3.8 "
    "9s-1.2 6.4-3.8 9c-2.6-2.6-3.8-5.6-3.8-9S9.4 5.6 12 3z\"/></svg>";
constexpr char kFileSymbol[] =
    "<svg viewBox=\"0 0 24 24\" fill=\"none\" stroke=\"currentColor\" stroke-width=\"1.3\" "
    "stroke-linejoin=\"round\" aria-hidden=\"true\"><path d=\"M6 3h8l4 4v14H6z\"/><path d=\"M14 3v4h4M9 "
    "12h6M9 15h6M9 18h4\"/></svg>";

/// Escapes a text for a place between tags or in a quoted attribute. Control characters, which HTML does not allow, become
/// spaces.
QString escaped(const QString& text)
{
    QString clean = text;
    for (QChar& c : clean) {
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return clean.toHtmlEscaped().replace(QLatin1Char('\''), QLatin1String("&#39;"));
}

QString document(const QString& title, const QString& body)
{
    return QLatin1String("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                         "<meta name=\"robots\" content=\"noindex, nofollow\">\n"
                         "<meta name=\"color-scheme\" content=\"light dark\">\n"
                         "<link rel=\"icon\" href=\"data:,\">\n<title>")
        + escaped(title) + QLatin1String("</title>\n<style>") + QString::fromUtf8(kPageStyle)
        + QLatin1String("</style>\n</head>\n<body>\n") + body + QLatin1String("</body>\n</html>\n");
}

QString heading(const QString& title, const QString& lead)
{
    return QLatin1String("<header>\n<p class=\"eyebrow\">Saved at the table</p>\n<h1>") + escaped(title)
        + QLatin1String("</h1>\n<p class=\"lead\">") + escaped(lead) + QLatin1String("</p>\n</header>\n");
}

/// How a card of the page is filled. All members are HTML already.
struct Card
{
    QString view;
    QString title;
    QString detail;
    QString href; ///< empty: nothing to open
};

QString html(const Card& card, const char* cssClasses)
{
    const bool available = !card.href.isEmpty();
    // A name in another script keeps its own direction and does not change that of the page.
    QString title = QLatin1String("<span dir=\"auto\">") + card.title + QLatin1String("</span>");
    if (available) {
        title = QLatin1String("<a href=\"") + card.href + QLatin1String("\" rel=\"noopener noreferrer\">") + title
            + QLatin1String("</a>");
    }
    return QLatin1String("<li class=\"item ") + QLatin1String(cssClasses) + QLatin1String("\"><div class=\"view\">") + card.view
        + QLatin1String("</div><div class=\"text\"><h2>") + title + QLatin1String("</h2><p>") + card.detail
        + QLatin1String("</p></div></li>\n");
}

QString linkCard(const Item& item)
{
    const auto link = parseWebLink(item.value);
    if (!link)
        return {};
    Card card;
    card.view = QLatin1String(kLinkSymbol);
    card.title = escaped(item.displayName.trimmed().isEmpty() ? link->host : item.displayName);
    card.detail = QStringLiteral("Website \u00b7 ") + escaped(link->host);
    card.href = escaped(link->href);
    return html(card, "plain");
}

QString fileCard(const QString& token, const Item& item, PageItem::State state)
{
    const QString name = item.displayName.trimmed().isEmpty() ? item.value : item.displayName;
    const bool isPicture = ContentFolder::isPicture(item.value);
    const QString ending = item.value.contains(QLatin1Char('.')) ? item.value.section(QLatin1Char('.'), -1).toUpper() : QString();

    Card card;
    card.title = escaped(name);
    card.view = QLatin1String(kFileSymbol);
    if (state != PageItem::State::There) {
        const bool isComing = state == PageItem::State::Coming;
        card.detail =
            isComing ? QLatin1String("Coming: it is on its way from the table") : QLatin1String("Not available at the moment");
        return html(card, isComing ? "plain coming" : "plain missing");
    }
    card.href = token + QLatin1String("/file/") + QString::number(item.id);
    if (isPicture) {
        // The name stands beside the picture; a screen reader would read it out twice.
        card.view = QLatin1String("<img src=\"") + card.href + QLatin1String("\" alt=\"\" loading=\"lazy\" decoding=\"async\">");
        card.detail = QLatin1String("Picture");
        return html(card, "picture");
    }
    card.detail = ending.isEmpty() ? QStringLiteral("Document") : QStringLiteral("Document \u00b7 ") + escaped(ending);
    return html(card, "plain");
}

QString sharing(const QString& token)
{
    return QLatin1String("<footer>\n<div class=\"share\"><img src=\"") + token
        + QLatin1String("/qr.png\" width=\"144\" height=\"144\" alt=\"QR code that opens this page\"><div>"
                        "<h2>Take this page with you</h2>"
                        "<p>Scan the code to open the page on another device, or keep its address to come back. Anyone with the "
                        "address can see the page, so share it only with people you choose.</p></div></div>\n</footer>\n");
}

QString leadFor(std::size_t count)
{
    if (count == 0)
        return QStringLiteral("This page is yours. What you collect at the table appears here.");
    if (count == 1)
        return QStringLiteral("One thing you kept during your visit, ready to look at again.");
    return QStringLiteral("%1 things you kept during your visit, ready to look at again.").arg(count);
}

} // namespace

PageRenderer::PageRenderer()
{
    const QByteArray hash = QCryptographicHash::hash(kPageStyle, QCryptographicHash::Sha256).toBase64();
    m_securityPolicy = "default-src 'none'; img-src 'self' data:; style-src 'sha256-" + hash
        + "'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

QByteArray PageRenderer::collection(const QString& token, const std::vector<PageItem>& items) const
{
    QString cards;
    for (const PageItem& entry : items) {
        cards += entry.item->kind == ItemKind::Url ? linkCard(*entry.item) : fileCard(token, *entry.item, entry.state);
    }
    QString body = heading(QStringLiteral("Your collection"), leadFor(items.size())) + QLatin1String("<main>\n");
    if (cards.isEmpty()) {
        body += QLatin1String("<div class=\"empty\"><h2>Nothing here yet</h2><p>Drag a picture, a document or a link into your "
                              "space at the table, then reload this page.</p></div>\n");
    } else {
        body += QLatin1String("<ul class=\"items\" role=\"list\">\n") + cards + QLatin1String("</ul>\n");
    }
    body += QLatin1String("</main>\n") + sharing(token);
    return document(QStringLiteral("Your collection \u2013 Saved at the table"), body).toUtf8();
}

QByteArray PageRenderer::message(const QString& title, const QString& text) const
{
    return document(title + QStringLiteral(" \u2013 Saved at the table"), heading(title, text) + QLatin1String("<main></main>\n"))
        .toUtf8();
}

} // namespace MediaServer
