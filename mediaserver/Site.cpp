#include "Site.hpp"

#include "ItemStore.hpp"
#include "QrCode.hpp"

#include <QJsonDocument>
#include <QStringList>
#include <QUrl>

namespace MediaServer
{

namespace
{

/// The Content-Security-Policy of files: one that is opened by itself, such as an SVG picture with scripts, runs and loads
/// nothing. The PDF viewers of browsers do not start inside a sandbox.
QByteArray filePolicy(const QByteArray& contentType)
{
    QByteArray policy = "default-src 'none'; img-src 'self' data:; media-src 'self'; style-src 'unsafe-inline'; "
                        "frame-ancestors 'none'";
    if (contentType != "application/pdf")
        policy += "; sandbox";
    return policy;
}

QByteArray contentDisposition(const QByteArray& contentType, const QString& name)
{
    const QByteArray manner = contentType == "application/octet-stream" ? "attachment" : "inline";
    return manner + "; filename*=UTF-8''" + QUrl::toPercentEncoding(name);
}

} // namespace

Site::Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl)
    : m_store(store), m_content(contentFolder), m_addresses(publicUrl)
{
}

Http::Response Site::handle(const Http::Request& request)
{
    if (request.method != "GET" && request.method != "HEAD")
        return wrongMethod();
    // No address of this server needs encoding, so an encoded one is unknown.
    const QString path = QString::fromLatin1(request.target).section(QLatin1Char('?'), 0, 0);
    if (path == QLatin1String("/health"))
        return health();
    const QStringList parts = path.split(QLatin1Char('/'));
    const bool personalPath = parts.size() >= 3 && parts[0].isEmpty() && parts[1] == QLatin1String("p");
    if (!personalPath || !isTokenForm(parts[2]))
        return notFound();
    return personal(parts[2], parts.mid(3));
}

Http::Response Site::health()
{
    const auto found = m_store.personOf(QStringLiteral("0000000000000000000000"));
    if (found)
        return Http::plainResponse(200, "ok\n");
    m_warnings.log("The database cannot be read", found.error().toStdString());
    return Http::plainResponse(503, "The database cannot be read.\n");
}

Http::Response Site::personal(const QString& token, const QStringList& rest)
{
    const auto person = m_store.personOf(token);
    if (!person)
        return storeFailed(person.error());
    if (!*person)
        return notFound();
    if (rest.isEmpty())
        return page(token, **person);
    if (rest.size() == 1 && rest[0] == QLatin1String("qr.png"))
        return qrCode(token);
    if (rest.size() == 2 && rest[0] == QLatin1String("file"))
        return file(**person, rest[1]);
    return notFound();
}

Http::Response Site::page(const QString& token, qint64 tessel)
{
    const auto items = m_store.items(tessel);
    if (!items)
        return storeFailed(items.error());
    std::vector<PageItem> shown;
    shown.reserve(items->size());
    QString unreadable;
    for (const Item& item : *items) {
        shown.push_back({&item, PageItem::State::There});
        if (item.kind == ItemKind::Url)
            continue;
        const auto file = m_content.open(item.value);
        if (file)
            continue;
        const auto expected = m_store.expected(item.value);
        if (!expected)
            return storeFailed(expected.error());
        shown.back().state = *expected ? PageItem::State::Coming : PageItem::State::Missing;
        if (file.error().kind == ContentError::Kind::Unreadable)
            unreadable = file.error().reason;
    }
    // One line for the whole page: the reason why one file is unreadable is mostly that of all.
    if (!unreadable.isEmpty())
        m_warnings.log("A page shows files as not available that could not be opened", unreadable.toStdString());
    return html(200, m_renderer.collection(token, shown));
}

Http::Response Site::qrCode(const QString& token)
{
    Http::Response response;
    response.contentType = "image/png";
    response.body = qrCodePng(m_addresses.page(token).toUtf8());
    if (response.body.isEmpty()) {
        m_warnings.log("A page's address is too long for a QR code", "shorten --public-url");
        return Http::plainResponse(500, "The QR code could not be made.\n");
    }
    response.addHeader("Cache-Control", "private, max-age=3600");
    return response;
}

Http::Response Site::file(qint64 tessel, const QString& id)
{
    bool isNumber = false;
    const qint64 number = id.toLongLong(&isNumber);
    // One address per file: only "7", not "07" or "+7".
    if (!isNumber || QString::number(number) != id)
        return notFound();
    const auto item = m_store.item(tessel, number);
    if (!item)
        return storeFailed(item.error());
    if (!*item || (*item)->kind != ItemKind::File)
        return notFound();
    auto opened = m_content.open((*item)->value);
    if (!opened)
        return opened.error().kind == ContentError::Kind::NoSuchFile ? notFound() : fileFailed(opened.error().reason);

    Http::Response response;
    response.contentType = ContentFolder::contentType((*item)->value);
    response.file = std::move(*opened);
    response.addHeader("Content-Disposition", contentDisposition(response.contentType, (*item)->value));
    response.addHeader("Content-Security-Policy", filePolicy(response.contentType));
    response.addHeader("Cache-Control", "private, max-age=3600");
    return response;
}

Http::Response Site::html(int status, const QByteArray& document) const
{
    Http::Response response;
    response.status = status;
    response.contentType = "text/html; charset=utf-8";
    response.body = document;
    response.addHeader("Content-Security-Policy", m_renderer.securityPolicy());
    response.addHeader("Cache-Control", "private, no-cache");
    response.addHeader("X-Robots-Tag", "noindex, nofollow");
    return response;
}

Http::Response Site::notFound() const
{
    return html(404,
                m_renderer.message(QStringLiteral("There is nothing here"),
                                   QStringLiteral("This address leads to no page. Scan the code on the table once more, or "
                                                  "check that the address was copied whole.")));
}

Http::Response Site::wrongMethod() const
{
    Http::Response response = html(405,
                                   m_renderer.message(QStringLiteral("There is nothing to see here"),
                                                      QStringLiteral("Your own page has an address of its own. Scan the code on "
                                                                     "the table to open it.")));
    response.addHeader("Allow", "GET, HEAD");
    return response;
}

Http::Response Site::storeFailed(const QString& reason)
{
    m_warnings.log("A page could not be read from the database", reason.toStdString());
    return notRightNow();
}

Http::Response Site::fileFailed(const QString& reason)
{
    m_warnings.log("A file could not be opened", reason.toStdString());
    return notRightNow();
}

Http::Response Site::notRightNow() const
{
    return html(500,
                m_renderer.message(QStringLiteral("The page is not available right now"),
                                   QStringLiteral("Nothing is lost. Please try again in a few minutes.")));
}

} // namespace MediaServer
