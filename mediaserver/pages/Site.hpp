#pragma once

#include "FormKeys.hpp"
#include "PageAddresses.hpp"
#include "PageRenderer.hpp"
#include "PageWorkshop.hpp"
#include "SiteSettings.hpp"
#include "SiteTarget.hpp"
#include "content/ContentFolder.hpp"
#include "shared/WaitingThread.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Http/Message.hpp>
#include <Http/Reply.hpp>

#include <optional>

namespace MediaServer
{

class ItemStore;

/// What the visitors' door answers:
///
///     GET  /p/TOKEN              the person's page; 304 for a browser that has its newest version
///     GET  /p/TOKEN/qr.png       the QR code that leads to it
///     GET  /p/TOKEN/logo         the venue's logo
///     GET  /p/TOKEN/file/ID      the file of one item on that page
///     GET  /p/TOKEN/save/ID      the same, to be downloaded
///     GET  /p/TOKEN/thumb/ID     a small picture of it
///     GET  /p/TOKEN/all.zip      all files of the page, and a list of its links
///     GET  /p/TOKEN/remove/ID    asks whether to remove an item; /remove-all: all of them; /renew: to give a new address
///     POST to one of these       does it, if it comes from that very form (FormKeys), and leads back to the page
///     GET  /health               200 while the database can be read, 503 otherwise
///
/// Nothing else that is sent changes anything. HEAD is allowed wherever GET is, "?lang=de" on every page. Borrows the store,
/// which it asks on a thread of its own: a database that hangs is answered with 503 as soon as the store gives up, for a few
/// seconds at once, and so is a request that finds too many before it. Called on the server's thread.
class Site
{
public:
    static constexpr int kMostWaiting = 256;

    /// `contentFolder`: path of the folder with the files; `publicUrl`: the address under which visitors reach this server.
    Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl, const SiteSettings& settings = {},
         int mostWaiting = kMostWaiting);

    /// Returns at once.
    void handle(const Http::Request& request, Http::Reply reply);

private:
    /// A request for something of a person's page.
    struct Visit
    {
        const Http::Request& request;
        const PageTexts& texts;
        QString token;
        qint64 tessel;
        QString suffix; ///< "?lang=de" where the address has one
    };

    /// The answer to a request that needs no store.
    [[nodiscard]] std::optional<Http::Response> refuse(const Http::Request& request, const SiteTarget& target) const;
    /// Asks the store. On the thread of this class, as what follows.
    void answer(const Http::Request& request, const SiteTarget& target, Http::Reply reply);
    [[nodiscard]] Http::Response health();
    [[nodiscard]] Http::Response read(const Visit& visit, const QStringList& rest);
    [[nodiscard]] Http::Response page(const Visit& visit);
    [[nodiscard]] Http::Response qrCode(const Visit& visit);
    [[nodiscard]] Http::Response logo();
    void sendThumbnail(const Visit& visit, const QString& id, Http::Reply reply);
    void sendArchive(const Visit& visit, Http::Reply reply);
    enum class Manner { Show, Save };
    [[nodiscard]] Http::Response file(const Visit& visit, const QString& id, Manner manner);
    /// Nothing when no form has that address.
    [[nodiscard]] std::optional<Http::Response> form(const Visit& visit, const QStringList& rest);
    [[nodiscard]] Http::Response changed(const Visit& visit, const QStringList& rest, std::optional<qint64> item);

    [[nodiscard]] Http::Response html(int status, const Page& page) const;
    [[nodiscard]] Http::Response notFound(const PageTexts& texts) const;
    [[nodiscard]] Http::Response wrongMethod(const PageTexts& texts) const;
    [[nodiscard]] Http::Response storeFailed(const PageTexts& texts, const QString& reason);
    [[nodiscard]] Http::Response fileFailed(const PageTexts& texts, const QString& reason);
    [[nodiscard]] Http::Response notRightNow(const PageTexts& texts) const;

    ItemStore& m_store;
    SiteSettings m_settings;
    ContentFolder m_content;
    PageAddresses m_addresses;
    PageRenderer m_renderer;
    FormKeys m_keys;
    Bedrock::RareWarnings m_warnings{"MediaServer"};
    PageWorkshop m_workshop;
    WaitingThread m_thread; ///< last member: it ends first
};

}
