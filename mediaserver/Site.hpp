#pragma once

#include "CommandHandler.hpp"
#include "ContentFolder.hpp"
#include "HttpMessage.hpp"
#include "PageRenderer.hpp"

namespace MediaServer
{

class ItemStore;

/// Decides which part of the server answers which address:
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
    /// `contentFolder`: path of the folder with the files; `publicUrl`: where visitors reach this server.
    Site(ItemStore& store, const QString& contentFolder, const QString& publicUrl);

    [[nodiscard]] HttpResponse handle(const HttpRequest& request);

private:
    [[nodiscard]] HttpResponse command(const HttpRequest& request);
    [[nodiscard]] HttpResponse personal(const QString& token, const QStringList& rest);
    [[nodiscard]] HttpResponse page(const QString& token, qint64 tessel);
    [[nodiscard]] HttpResponse qrCode(const QString& token) const;
    [[nodiscard]] HttpResponse file(qint64 tessel, const QString& id);

    [[nodiscard]] HttpResponse json(int status, const QJsonObject& object) const;
    [[nodiscard]] HttpResponse html(int status, const QByteArray& document) const;
    [[nodiscard]] HttpResponse notFound() const;
    [[nodiscard]] HttpResponse wrongMethod(const QByteArray& allowed) const;
    [[nodiscard]] HttpResponse storeFailed(const QString& reason) const;
    [[nodiscard]] HttpResponse fileFailed(const QString& reason) const;
    [[nodiscard]] HttpResponse notRightNow() const;

    ItemStore& m_store;
    ContentFolder m_content;
    PageAddresses m_addresses;
    PageRenderer m_renderer;
    CommandHandler m_commands;
};

} // namespace MediaServer
