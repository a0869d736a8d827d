#pragma once

#include "ContentFolder.hpp"
#include "FormKeys.hpp"
#include "PageAddresses.hpp"
#include "PageRenderer.hpp"
#include "SiteSettings.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Http/Message.hpp>

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
///     GET  /p/TOKEN/remove/ID    asks whether to remove an item; /remove-all: all of them; /renew: to give a new address
///     POST to one of these       does it, if it comes from that very form (FormKeys), and leads back to the page
///     GET  /health               200 while the database can be read, 503 otherwise
///
/// Nothing else that is sent changes anything. HEAD is allowed wherever GET is, "?lang=de" on every page. Borrows the store; on
/// the store's thread.
class Site
{
public:
    /// `contentFolder`: path of the folder with the files; `publicUrl`: the address under which visitors reach this server.
    Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl, const SiteSettings& settings = {});

    [[nodiscard]] Http::Response handle(const Http::Request& request);

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

    [[nodiscard]] Http::Response health();
    [[nodiscard]] Http::Response read(const Visit& visit, const QStringList& rest);
    [[nodiscard]] Http::Response page(const Visit& visit);
    [[nodiscard]] Http::Response qrCode(const QString& token);
    [[nodiscard]] Http::Response logo();
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
};

} // namespace MediaServer
