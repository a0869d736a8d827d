#include "PageCards.hpp"

#include "PageRenderer.hpp"
#include "PageTexts.hpp"
#include "content/ContentFolder.hpp"
#include "items/ItemStore.hpp"
#include "shared/WebLink.hpp"

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

/// How a card of the page is filled. All members are HTML already.
struct Card
{
    QString view;
    QString title;
    QString detail;
    QString href;   ///< empty: nothing to open
    QString save;   ///< empty: nothing to download
    QString remove; ///< address
};

QString action(const QString& href, const char* text, const QString& name)
{
    // Beside the word the name, for readers that take links out of their place.
    return QLatin1String("<a href=\"") + href + QLatin1String("\">") + escaped(text)
        + QLatin1String("<span class=\"unseen\" dir=\"auto\"> ") + name + QLatin1String("</span></a>");
}

QString html(const Card& card, const char* cssClasses, const PageTexts& texts)
{
    // A name in another script keeps its own direction and does not change that of the page.
    QString title = QLatin1String("<span dir=\"auto\">") + card.title + QLatin1String("</span>");
    if (!card.href.isEmpty()) {
        title = QLatin1String("<a href=\"") + card.href + QLatin1String("\" rel=\"noopener noreferrer\">") + title
            + QLatin1String("</a>");
    }
    QString actions;
    if (!card.save.isEmpty())
        actions += action(card.save, texts.save, card.title);
    actions += action(card.remove, texts.remove, card.title);
    return QLatin1String("<li class=\"item ") + QLatin1String(cssClasses) + QLatin1String("\"><div class=\"view\">") + card.view
        + QLatin1String("</div><div class=\"text\"><h2>") + title + QLatin1String("</h2><p>") + card.detail
        + QLatin1String("</p><p class=\"acts\">") + actions + QLatin1String("</p></div></li>\n");
}

QString removeAddress(const QString& token, const Item& item, const QString& suffix)
{
    return token + QLatin1String("/remove/") + QString::number(item.id) + suffix;
}

QString linkCard(const QString& token, const Item& item, const PageTexts& texts, const QString& suffix)
{
    const auto link = parseWebLink(item.value);
    if (!link)
        return {};
    Card card;
    card.view = QLatin1String(kLinkSymbol);
    card.title = escaped(shownName(item));
    card.detail = escaped(texts.website) + QStringLiteral(" \u00b7 ") + escaped(link->host);
    card.href = escaped(link->href);
    card.remove = removeAddress(token, item, suffix);
    return html(card, "plain", texts);
}

QString fileCard(const QString& token, const PageItem& entry, const PageTexts& texts, const QString& suffix)
{
    const Item& item = *entry.item;
    const QString ending = item.value.contains(QLatin1Char('.')) ? item.value.section(QLatin1Char('.'), -1).toUpper() : QString();
    Card card;
    card.title = escaped(shownName(item));
    card.view = QLatin1String(kFileSymbol);
    card.remove = removeAddress(token, item, suffix);
    if (entry.state != PageItem::State::There) {
        const bool isComing = entry.state == PageItem::State::Coming;
        card.detail = escaped(isComing ? texts.coming : texts.missing);
        return html(card, isComing ? "plain coming" : "plain missing", texts);
    }
    card.href = token + QLatin1String("/file/") + QString::number(item.id);
    card.save = token + QLatin1String("/save/") + QString::number(item.id);
    if (ContentFolder::isPicture(item.value)) {
        // The name stands beside the picture; a screen reader would read it out twice.
        card.view = QLatin1String("<img src=\"") + token + QLatin1String("/thumb/") + QString::number(item.id)
            + QLatin1String("\" alt=\"\" loading=\"lazy\" decoding=\"async\">");
        card.detail = escaped(texts.picture);
        return html(card, "picture", texts);
    }
    card.detail = escaped(texts.document);
    if (!ending.isEmpty())
        card.detail += QStringLiteral(" \u00b7 ") + escaped(ending);
    return html(card, "plain", texts);
}

}

QString escaped(const QString& text)
{
    QString clean = text;
    for (QChar& c : clean) {
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return clean.toHtmlEscaped().replace(QLatin1Char('\''), QLatin1String("&#39;"));
}

QString escaped(const char* text)
{
    return escaped(QString::fromUtf8(text));
}

QString shownName(const Item& item)
{
    if (!item.displayName.trimmed().isEmpty())
        return item.displayName;
    const auto link = item.kind == ItemKind::Url ? parseWebLink(item.value) : std::nullopt;
    return link ? link->host : item.value;
}

QString cardOf(const QString& token, const PageItem& entry, const PageTexts& texts, const QString& suffix)
{
    return entry.item->kind == ItemKind::Url ? linkCard(token, *entry.item, texts, suffix)
                                             : fileCard(token, entry, texts, suffix);
}

}
