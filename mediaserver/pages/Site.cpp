#include "Site.hpp"

#include "PageCards.hpp"
#include "PageTexts.hpp"
#include "QrCode.hpp"
#include "items/ItemStore.hpp"

#include <QFileInfo>
#include <QStringList>
#include <QUrl>

#include <fcntl.h>
#include <memory>
#include <utility>

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

QByteArray contentDisposition(const char* manner, const QString& name)
{
    return manner + QByteArray("; filename*=UTF-8''") + QUrl::toPercentEncoding(name);
}

/// With when to come again.
Http::Response notNow(Http::Response response)
{
    response.addHeader("Retry-After", "5");
    return response;
}

}

Site::Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl, const SiteSettings& settings,
           int mostWaiting)
    : m_store(store), m_settings(settings), m_content(contentFolder), m_addresses(publicUrl), m_renderer(settings),
      m_keys(publicUrl), m_workshop(m_content), m_thread(mostWaiting)
{
}

void Site::handle(const Http::Request& request, Http::Reply reply)
{
    const SiteTarget target = SiteTarget::of(request, m_settings.language);
    if (auto refused = refuse(request, target))
        return reply.send(*std::move(refused));
    // A task is copyable, a reply is not.
    const auto shared = std::make_shared<Http::Reply>(std::move(reply));
    if (!m_thread.add([this, request, target, shared] { answer(request, target, std::move(*shared)); }))
        shared->send(notNow(Http::plainResponse(503, "Too many people are here at once. Try again in a few seconds.\n")));
}

std::optional<Http::Response> Site::refuse(const Http::Request& request, const SiteTarget& target) const
{
    const bool mayBeForm = request.method == "POST" && target.isPersonal() && !target.rest().isEmpty();
    if (request.method != "GET" && request.method != "HEAD" && !mayBeForm)
        return wrongMethod(*target.texts);
    if (!target.isPersonal() && !target.isHealth())
        return notFound(*target.texts);
    return std::nullopt;
}

void Site::answer(const Http::Request& request, const SiteTarget& target, Http::Reply reply)
{
    if (target.isHealth())
        return reply.send(health());
    const PageTexts& texts = *target.texts;
    const auto person = m_store.personOf(target.token());
    if (!person)
        return reply.send(storeFailed(texts, person.error()));
    if (!*person)
        return reply.send(notFound(texts));
    const Visit visit{request, texts, target.token(), **person, target.suffix};
    const QStringList rest = target.rest();
    if (auto answered = form(visit, rest))
        return reply.send(*std::move(answered));
    if (request.method == "POST")
        return reply.send(wrongMethod(texts));
    if (rest.size() == 2 && rest[0] == QLatin1String("thumb"))
        return sendThumbnail(visit, rest[1], std::move(reply));
    if (rest.size() == 1 && rest[0] == QLatin1String("all.zip"))
        return sendArchive(visit, std::move(reply));
    reply.send(read(visit, rest));
}

Http::Response Site::health()
{
    const auto found = m_store.personOf(QStringLiteral("0000000000000000000000"));
    if (found)
        return Http::plainResponse(200, "ok\n");
    m_warnings.log("The database cannot be read", found.error().toStdString());
    return notNow(Http::plainResponse(503, "The database cannot be read.\n"));
}

Http::Response Site::read(const Visit& visit, const QStringList& rest)
{
    if (rest.isEmpty())
        return page(visit);
    if (rest.size() == 1 && rest[0] == QLatin1String("qr.png"))
        return qrCode(visit);
    if (rest.size() == 1 && rest[0] == QLatin1String("logo") && !m_settings.logo.isEmpty())
        return logo();
    if (rest.size() == 2 && rest[0] == QLatin1String("file"))
        return file(visit, rest[1], Manner::Show);
    if (rest.size() == 2 && rest[0] == QLatin1String("save"))
        return file(visit, rest[1], Manner::Save);
    return notFound(visit.texts);
}

Http::Response Site::page(const Visit& visit)
{
    const auto items = m_store.items(visit.tessel);
    if (!items)
        return storeFailed(visit.texts, items.error());
    PageView view{visit.token, &visit.texts, {}};
    view.items.reserve(items->size());
    QString unreadable;
    for (const Item& item : *items) {
        view.items.push_back({&item, PageItem::State::There});
        if (item.kind == ItemKind::Url)
            continue;
        const auto file = m_content.open(item.value);
        if (file)
            continue;
        const auto expected = m_store.expected(item.value);
        if (!expected)
            return storeFailed(visit.texts, expected.error());
        view.items.back().state = *expected ? PageItem::State::Coming : PageItem::State::Missing;
        if (file.error().kind == ContentError::Kind::Unreadable)
            unreadable = file.error().reason;
    }
    // One line for the whole page: the reason why one file is unreadable is mostly that of all.
    if (!unreadable.isEmpty())
        m_warnings.log("A page shows files as not available that could not be opened", unreadable.toStdString());
    if (m_settings.keepDays > 0) {
        const auto last = m_store.lastAddition(visit.tessel);
        if (!last)
            return storeFailed(visit.texts, last.error());
        view.keptUntil = last->addDays(m_settings.keepDays);
    }
    const Page shown = m_renderer.collection(view);
    Http::Response response = html(200, shown);
    const QByteArray tag = '"' + shown.version + '"';
    response.addHeader("ETag", tag);
    response.addHeader("Vary", "Accept-Language");
    if (visit.request.header("If-None-Match") == tag) {
        response.status = 304;
        response.body.clear();
    }
    return response;
}

Http::Response Site::qrCode(const Visit& visit)
{
    Http::Response response;
    response.contentType = "image/png";
    response.body = qrCodePng(m_addresses.page(visit.token, visit.suffix.isEmpty() ? nullptr : &visit.texts).toUtf8());
    if (response.body.isEmpty()) {
        m_warnings.log("A page's address is too long for a QR code", "shorten --public-url");
        return Http::plainResponse(500, "The QR code could not be made.\n");
    }
    response.addHeader("Cache-Control", "private, max-age=3600");
    return response;
}

Http::Response Site::logo()
{
    Http::Response response;
    response.contentType = ContentFolder::contentType(m_settings.logo);
    response.file = Http::File(::open(QFile::encodeName(m_settings.logo).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!response.file.isOpen()) {
        m_warnings.log("The logo of pages could not be opened", m_settings.logo.toStdString());
        return Http::plainResponse(404, "The logo is not available.\n");
    }
    response.addHeader("Content-Security-Policy", filePolicy(response.contentType));
    response.addHeader("Cache-Control", "private, max-age=3600");
    return response;
}

Http::Response Site::file(const Visit& visit, const QString& id, Manner manner)
{
    const auto number = numberIn(id);
    if (!number)
        return notFound(visit.texts);
    const auto item = m_store.item(visit.tessel, *number);
    if (!item)
        return storeFailed(visit.texts, item.error());
    if (!*item || (*item)->kind != ItemKind::File)
        return notFound(visit.texts);
    auto opened = m_content.open((*item)->value);
    if (!opened) {
        return opened.error().kind == ContentError::Kind::NoSuchFile ? notFound(visit.texts)
                                                                     : fileFailed(visit.texts, opened.error().reason);
    }
    Http::Response response;
    response.contentType = ContentFolder::contentType((*item)->value);
    response.file = std::move(*opened);
    const bool isSaved = manner == Manner::Save || response.contentType == "application/octet-stream";
    response.addHeader("Content-Disposition", contentDisposition(isSaved ? "attachment" : "inline", (*item)->value));
    response.addHeader("Content-Security-Policy", filePolicy(response.contentType));
    response.addHeader("Cache-Control", "private, max-age=3600");
    return response;
}

void Site::sendThumbnail(const Visit& visit, const QString& id, Http::Reply reply)
{
    Http::Response whole = file(visit, id, Manner::Show);
    const bool isPicture = whole.status == 200 && whole.contentType.startsWith("image/");
    if (!isPicture)
        return reply.send(whole.status == 200 ? notFound(visit.texts) : std::move(whole));
    m_workshop.sendThumbnail(std::move(whole), std::move(reply));
}

void Site::sendArchive(const Visit& visit, Http::Reply reply)
{
    const PageTexts& texts = visit.texts;
    const auto items = m_store.items(visit.tessel);
    if (!items)
        return reply.send(storeFailed(texts, items.error()));
    reply.send(m_workshop.archive(*items, html(413, m_renderer.message(texts, texts.tooMuchTitle, texts.tooMuchText))));
}

std::optional<Http::Response> Site::form(const Visit& visit, const QStringList& rest)
{
    const PageTexts& texts = visit.texts;
    const QString name = rest.isEmpty() ? QString() : rest[0];
    Question question;
    std::optional<qint64> id;
    if (name == QLatin1String("remove") && rest.size() == 2) {
        id = numberIn(rest[1]);
        const auto item = id ? m_store.item(visit.tessel, *id) : Result<std::optional<Item>>();
        if (!item)
            return storeFailed(texts, item.error());
        // What is gone already needs no question; a form that is sent twice leads back as well.
        if (!*item)
            return visit.request.method == "POST" && id ? changed(visit, rest, id) : notFound(texts);
        question = {QString::fromUtf8(texts.removeTitle),
                    QString::fromUtf8(texts.removeText).arg(shownName(**item)),
                    QString::fromUtf8(texts.yesRemove),
                    {},
                    {}};
    } else if (name == QLatin1String("remove-all") && rest.size() == 1) {
        question = {QString::fromUtf8(texts.removeAllTitle),
                    QString::fromUtf8(texts.removeAllText),
                    QString::fromUtf8(texts.yesRemove),
                    {},
                    {}};
    } else if (name == QLatin1String("renew") && rest.size() == 1) {
        question = {
            QString::fromUtf8(texts.renewTitle), QString::fromUtf8(texts.renewText), QString::fromUtf8(texts.yesRenew), {}, {}};
    } else {
        return std::nullopt;
    }
    if (visit.request.method == "POST")
        return changed(visit, rest, id);
    question.key = m_keys.key(visit.token, rest.join(QLatin1Char('/')));
    question.back = QStringLiteral("../").repeated(rest.size()) + visit.token + visit.suffix;
    Http::Response response = html(200, m_renderer.question(texts, question));
    // With the usual policy, "no-referrer", browsers send "Origin: null" with the form.
    response.addHeader("Referrer-Policy", "same-origin");
    return response;
}

Http::Response Site::changed(const Visit& visit, const QStringList& rest, std::optional<qint64> item)
{
    if (!m_keys.accepts(visit.request, visit.token, rest.join(QLatin1Char('/'))))
        return html(403, m_renderer.message(visit.texts, visit.texts.oldFormTitle, visit.texts.oldFormText));
    QString token = visit.token;
    Result<void> done;
    if (item) {
        done = m_store.remove(visit.tessel, *item);
    } else if (rest[0] == QLatin1String("remove-all")) {
        done = m_store.removeAll(visit.tessel);
    } else if (const auto renewed = m_store.renewToken(visit.tessel)) {
        token = *renewed;
    } else {
        done = tl::unexpected(renewed.error());
    }
    if (!done)
        return storeFailed(visit.texts, done.error());
    Http::Response response = Http::plainResponse(303, "");
    response.addHeader("Location", (QStringLiteral("../").repeated(rest.size()) + token + visit.suffix).toLatin1());
    return response;
}

Http::Response Site::html(int status, const Page& page) const
{
    Http::Response response;
    response.status = status;
    response.contentType = "text/html; charset=utf-8";
    response.body = page.document;
    response.addHeader("Content-Security-Policy", page.securityPolicy);
    response.addHeader("Cache-Control", "private, no-cache");
    response.addHeader("X-Robots-Tag", "noindex, nofollow");
    return response;
}

Http::Response Site::notFound(const PageTexts& texts) const
{
    return html(404, m_renderer.message(texts, texts.noPageTitle, texts.noPageText));
}

Http::Response Site::wrongMethod(const PageTexts& texts) const
{
    Http::Response response = html(405, m_renderer.message(texts, texts.nothingTitle, texts.nothingText));
    response.addHeader("Allow", "GET, HEAD");
    return response;
}

Http::Response Site::storeFailed(const PageTexts& texts, const QString& reason)
{
    m_warnings.log("A page could not be read from the database", reason.toStdString());
    Http::Response response = notRightNow(texts);
    response.status = 503;
    return notNow(std::move(response));
}

Http::Response Site::fileFailed(const PageTexts& texts, const QString& reason)
{
    m_warnings.log("A file could not be opened", reason.toStdString());
    return notRightNow(texts);
}

Http::Response Site::notRightNow(const PageTexts& texts) const
{
    return html(500, m_renderer.message(texts, texts.laterTitle, texts.laterText));
}

}
