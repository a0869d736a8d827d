#include "PageRenderer.hpp"

#include "PageCards.hpp"
#include "PageScript.hpp"
#include "PageStyle.hpp"
#include "PageTexts.hpp"
#include "items/ItemStore.hpp"

#include <QCryptographicHash>

namespace MediaServer
{

namespace
{

QByteArray hashOf(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toBase64();
}

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// What addresses of pages in that language end with.
QString suffixOf(const PageTexts& texts)
{
    return QLatin1String("?lang=") + QLatin1String(texts.language);
}

QString leadFor(const PageTexts& texts, std::size_t count)
{
    if (count == 0)
        return text(texts.leadEmpty);
    return count == 1 ? text(texts.leadOne) : text(texts.leadMany).arg(count);
}

QString link(const QString& href, const QString& label, const char* more = "")
{
    return QLatin1String("<a href=\"") + href + QLatin1String("\"") + QLatin1String(more) + QLatin1String(">") + label
        + QLatin1String("</a>");
}

}

PageRenderer::PageRenderer(const SiteSettings& settings) : m_settings(settings), m_style(kPageStyle)
{
    // The colours of the venue come after those of the style sheet, and win.
    if (!m_settings.accent.isEmpty())
        m_style += "@media (prefers-color-scheme: light) { :root { --accent: " + m_settings.accent + "; } }\n";
    if (!m_settings.accentDark.isEmpty())
        m_style += "@media (prefers-color-scheme: dark) { :root { --accent: " + m_settings.accentDark + "; } }\n";
}

Page PageRenderer::page(const PageTexts& texts, const QString& title, const QString& body, Script script) const
{
    const QByteArray code = script == Script::Refresh ? QByteArray(kPageScript) : QByteArray();
    const QString site = m_settings.museum.isEmpty() ? text(texts.eyebrow) : m_settings.museum;
    QString html = QLatin1String("<!DOCTYPE html>\n<html lang=\"") + QLatin1String(texts.language)
        + QLatin1String("\">\n<head>\n<meta charset=\"utf-8\">\n"
                        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                        "<meta name=\"robots\" content=\"noindex, nofollow\">\n"
                        "<meta name=\"color-scheme\" content=\"light dark\">\n"
                        "<link rel=\"icon\" href=\"data:,\">\n<title>")
        + escaped(title + QStringLiteral(" \u2013 ") + site) + QLatin1String("</title>\n<style>") + QString::fromUtf8(m_style)
        + QLatin1String("</style>\n</head>\n<body>\n") + body;
    if (!code.isEmpty())
        html += QLatin1String("<script>") + QString::fromUtf8(code) + QLatin1String("</script>\n");
    html += QLatin1String("</body>\n</html>\n");

    Page result;
    result.document = html.toUtf8();
    result.securityPolicy = "default-src 'none'; img-src 'self' data:; style-src 'sha256-" + hashOf(m_style) + "'; ";
    if (!code.isEmpty())
        result.securityPolicy += "script-src 'sha256-" + hashOf(code) + "'; connect-src 'self'; ";
    result.securityPolicy += "base-uri 'none'; form-action 'self'; frame-ancestors 'none'";
    return result;
}

QString PageRenderer::heading(const PageTexts& texts, const QString& title, const QString& lead, const QString& logo) const
{
    const QString site = m_settings.museum.isEmpty() ? text(texts.eyebrow) : m_settings.museum;
    QString html = QLatin1String("<header>\n");
    if (!logo.isEmpty())
        html += QLatin1String("<img class=\"logo\" src=\"") + logo + QLatin1String("\" alt=\"\">\n");
    return html + QLatin1String("<p class=\"eyebrow\" dir=\"auto\">") + escaped(site) + QLatin1String("</p>\n<h1>")
        + escaped(title) + QLatin1String("</h1>\n<p class=\"lead\">") + escaped(lead) + QLatin1String("</p>\n</header>\n");
}

QString PageRenderer::footer(const PageView& view) const
{
    const PageTexts& texts = *view.texts;
    const QString suffix = suffixOf(texts);
    QString html = QLatin1String("<footer>\n<section class=\"share\"><img src=\"") + view.token
        + QLatin1String("/qr.png\" width=\"144\" height=\"144\" alt=\"") + escaped(texts.qrText) + QLatin1String("\"><div><h2>")
        + escaped(texts.takeTitle) + QLatin1String("</h2><p>") + escaped(texts.takeText) + QLatin1String("</p><p class=\"acts\">")
        + link(view.token + QLatin1String("/renew") + suffix, escaped(texts.renew))
        + QLatin1String("</p></div></section>\n<section><h2>") + escaped(texts.privacyTitle) + QLatin1String("</h2><p>")
        + escaped(texts.privacyText) + QLatin1String("</p>");
    if (view.keptUntil.isValid())
        html += QLatin1String("<p>") + escaped(text(texts.keptUntil).arg(texts.date(view.keptUntil))) + QLatin1String("</p>");
    html += QLatin1String("<p class=\"acts\">");
    if (!m_settings.privacy.isEmpty())
        html += link(escaped(m_settings.privacy), escaped(texts.privacyTitle), " rel=\"noopener noreferrer\"");
    if (!m_settings.imprint.isEmpty())
        html += link(escaped(m_settings.imprint), escaped(texts.imprint), " rel=\"noopener noreferrer\"");
    html += QLatin1String("</p></section>\n<nav aria-label=\"") + escaped(texts.languages) + QLatin1String("\" class=\"acts\">");
    for (const PageTexts& each : texts) {
        const QByteArray more = QByteArray(" lang=\"") + each.language + "\" hreflang=\"" + each.language + '"'
            + (&each == &texts ? " aria-current=\"true\"" : "");
        html += link(view.token + suffixOf(each), escaped(each.ownName), more.constData());
    }
    return html + QLatin1String("</nav>\n</footer>\n");
}

Page PageRenderer::collection(const PageView& view) const
{
    const PageTexts& texts = *view.texts;
    const QString suffix = suffixOf(texts);
    QString cards;
    for (const PageItem& entry : view.items)
        cards += cardOf(view.token, entry, texts, suffix);
    QString content;
    if (cards.isEmpty()) {
        content = QLatin1String("<div class=\"empty\"><h2>") + escaped(texts.emptyTitle) + QLatin1String("</h2><p>")
            + escaped(texts.emptyText) + QLatin1String("</p></div>\n");
    } else {
        content = QLatin1String("<ul class=\"items\" role=\"list\">\n") + cards + QLatin1String("</ul>\n<p class=\"acts all\">")
            + link(view.token + QLatin1String("/all.zip") + suffix, escaped(texts.saveAll))
            + link(view.token + QLatin1String("/remove-all") + suffix, escaped(texts.removeAll)) + QLatin1String("</p>\n");
    }
    const QByteArray version = QCryptographicHash::hash(content.toUtf8(), QCryptographicHash::Sha256).toHex().left(32);
    const QString greeting = m_settings.greetingIn(texts.language);
    const QString logo = m_settings.logo.isEmpty() ? QString() : view.token + QLatin1String("/logo");
    const QString body =
        heading(texts, greeting.isEmpty() ? text(texts.title) : greeting, leadFor(texts, view.items.size()), logo)
        + QLatin1String("<main data-version=\"") + QLatin1String(version) + QLatin1String("\">\n") + content
        + QLatin1String("</main>\n") + footer(view);
    Page result = page(texts, text(texts.title), body, Script::Refresh);
    result.version = version;
    return result;
}

Page PageRenderer::message(const PageTexts& texts, const char* title, const char* message) const
{
    return page(texts, text(title), heading(texts, text(title), text(message), {}) + QLatin1String("<main></main>\n"),
                Script::None);
}

Page PageRenderer::question(const PageTexts& texts, const Question& question) const
{
    const QString body = heading(texts, question.title, question.text, {})
        + QLatin1String("<main>\n<form method=\"post\" class=\"acts\">")
        + QLatin1String("<input type=\"hidden\" name=\"key\" value=\"") + QLatin1String(question.key)
        + QLatin1String("\"><button>") + escaped(question.yes) + QLatin1String("</button>")
        + link(escaped(question.back), escaped(texts.no)) + QLatin1String("</form>\n</main>\n");
    return page(texts, question.title, body, Script::None);
}

}
