#pragma once

#include "ContentFolder.hpp"
#include "PageAddresses.hpp"
#include "PageRenderer.hpp"
#include <Bedrock/RareWarnings.hpp>
#include <Http/Message.hpp>

namespace MediaServer
{

class ItemStore;

/// What the visitors' door answers; nothing that is sent to it changes anything:
///
///     GET  /p/TOKEN              the person's page
///     GET  /p/TOKEN/qr.png       the QR code that leads to it
///     GET  /p/TOKEN/file/ID      the file of one item on that page
///     GET  /health               200 while the database can be read, 503 otherwise
///
/// HEAD is allowed wherever GET is. Borrows the store; on the store's thread.
class Site
{
public:
    /// `contentFolder`: path of the folder with the files; `publicUrl`: the address under which visitors reach this server.
    Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl);

    [[nodiscard]] Http::Response handle(const Http::Request& request);

private:
    [[nodiscard]] Http::Response health();
    [[nodiscard]] Http::Response personal(const QString& token, const QStringList& rest);
    [[nodiscard]] Http::Response page(const QString& token, qint64 tessel);
    [[nodiscard]] Http::Response qrCode(const QString& token);
    [[nodiscard]] Http::Response file(qint64 tessel, const QString& id);

    [[nodiscard]] Http::Response html(int status, const QByteArray& document) const;
    [[nodiscard]] Http::Response notFound() const;
    [[nodiscard]] Http::Response wrongMethod() const;
    [[nodiscard]] Http::Response storeFailed(const QString& reason);
    [[nodiscard]] Http::Response fileFailed(const QString& reason);
    [[nodiscard]] Http::Response notRightNow() const;

    ItemStore& m_store;
    ContentFolder m_content;
    PageAddresses m_addresses;
    PageRenderer m_renderer;
    Bedrock::RareWarnings m_warnings{"MediaServer"};
};

} // namespace MediaServer
