#pragma once

#include <QString>

#include <cstdint>
#include <memory>

namespace Tavola
{
class IconDownloader;

/// Sends the changes of one person's space to the media server: uploads collected items, deletes them, and fetches the user page.
/// Every outcome is written into the person's PersonalSpaceContents after the update of a frame, even if the uploader has been
/// destroyed by then; open requests are never cancelled. Main thread only.
class PersonalSpaceUploader
{
public:
    /// The person's page on the media server.
    struct UserPage
    {
        QString url;
        QString qrIcon; ///< path of the cached picture; empty until it has been downloaded
    };

    /// The numbers are part of the event "item-status-changed".
    enum class ItemStatus : std::int32_t {
        Pending = 0,   ///< just added, files not known yet
        Ready = 1,     ///< files known, not on the server
        Uploading = 2, ///< a request has been sent
        Uploaded = 3,  ///< the server has confirmed
        Failed = 4     ///< the upload failed, or there was nothing to upload; may be tried again
    };

    /// `code`: the card of the person served.
    explicit PersonalSpaceUploader(unsigned long code);
    ~PersonalSpaceUploader();

    /// Later requests are for this card.
    void setCode(unsigned long code);

    /// Requests the person's page and then, if the answer is a success, the picture of its QR code.
    void updateUserPage();
    /// Uploads an item that is Ready or Failed; does nothing for other items.
    void uploadItem(long id);
    /// Deletes an item that is Uploaded from the server, unless another item of the space has the same content. Where tables
    /// share what a card collects, also one that is Ready or Failed here. Call while the item is still in the contents.
    void removeItem(long id);
    /// Whether no other item of the contents has the same UploadableItem.
    [[nodiscard]] bool isLastCopy(long id) const;

    /// Downloads the QR picture and stores its path in the user page, unless the page has another address than `userPageUrl` by
    /// then.
    static void getUserQR(unsigned long code, const QString& userPageUrl, const QString& qrCodeUrl);
    /// Stores a page; logs `error` unless it is empty.
    static void setUserPage(const UserPage& page, unsigned long code, const QString& error);
    /// Stores the status of an item; logs `error` unless it is empty.
    static void setContentStatus(ItemStatus status, unsigned long code, long id, const QString& error);

private:
    std::uint64_t m_code;
    /// Not used: keeps the shared downloader alive as long as any uploader exists.
    std::shared_ptr<IconDownloader> m_iconDownloader;
};
}
