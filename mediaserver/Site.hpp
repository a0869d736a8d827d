#pragma once

#include "CommandHandler.hpp"
#include "ContentFolder.hpp"
#include "PageRenderer.hpp"
#include <Http/Message.hpp>

namespace MediaServer
{

class ItemStore;

/// Answers the requests of tables and visitors by their address:
///
///     POST /                     the tables' commands; refused with 403 when a web page has made a browser send it
///     GET  /p/TOKEN              the person's page
///     GET  /p/TOKEN/qr.png       the QR code that leads to it
///     GET  /p/TOKEN/file/ID      the file of one item on that page
///
/// HEAD is allowed wherever GET is. Borrows the store; on the store's thread.
class Site
{
public:
    /// `contentFolder`: path of the folder with the files; `publicUrl`: the address under which visitors reach this server.
    Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl);

    [[nodiscard]] Http::Response handle(const Http::Request& request);

private:
    [[nodiscard]] Http::Response command(const Http::Request& request);
    [[nodiscard]] Http::Response personal(const QString& token, const QStringList& rest);
    [[nodiscard]] Http::Response page(const QString& token, qint64 tessel);
    [[nodiscard]] Http::Response qrCode(const QString& token) const;
    [[nodiscard]] Http::Response file(qint64 tessel, const QString& id);

    [[nodiscard]] Http::Response json(int status, const QJsonObject& object) const;
    [[nodiscard]] Http::Response html(int status, const QByteArray& document) const;
    [[nodiscard]] Http::Response notFound() const;
    [[nodiscard]] Http::Response wrongMethod(const QByteArray& allowed) const;
    [[nodiscard]] Http::Response storeFailed(const QString& reason) const;
    [[nodiscard]] Http::Response fileFailed(const QString& reason) const;
    [[nodiscard]] Http::Response notRightNow() const;

    ItemStore& m_store;
    ContentFolder m_content;
    PageAddresses m_addresses;
    PageRenderer m_renderer;
    CommandHandler m_commands;
};

} // namespace MediaServer
