#pragma once

#include <QString>

#include <cstdint>
#include <memory>

namespace Tavola
{
class IconDownloader;

/// Keeps one person's space in step with the media server: fetches the user page, uploads collected items and deletes them.
/// Every outcome is written into the person's PersonalSpaceContents after the update of a frame, even when the uploader is gone
/// by then; requests under way are never cancelled. Main thread only.
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
        Uploading = 2, ///< the server has been asked
        Uploaded = 3,  ///< the server has confirmed
        Failed = 4     ///< the upload failed, or there was nothing to upload; may be tried again
    };

    /// `code`: the card of the person served.
    explicit PersonalSpaceUploader(unsigned long code);
    ~PersonalSpaceUploader();

    /// Later requests are for this card.
    void setCode(unsigned long code);

    /// Asks for the person's page and, when there is one, for the picture of its QR code.
    void updateUserPage();
    /// Uploads an item that is Ready or Failed; others are left alone.
    void uploadItem(long id);
    /// Deletes an item that is Uploaded from the server, unless the space holds a second one of the same content.
    /// To be called while the item is still in the contents.
    void removeItem(long id);
    /// Whether no other item of the contents would be sent as the same thing.
    [[nodiscard]] bool isLastCopy(long id) const;

    /// Downloads the QR picture and stores its path in the user page, if that still is `userPageUrl` by then.
    static void getUserQR(unsigned long code, const QString& userPageUrl, const QString& qrCodeUrl);
    /// Stores a page; logs `error` unless it is empty.
    static void setUserPage(const UserPage& page, unsigned long code, const QString& error);
    /// Stores the status of an item; logs `error` unless it is empty.
    static void setContentStatus(ItemStatus status, unsigned long code, long id, const QString& error);

private:
    std::uint64_t m_code;
    /// Only kept so that the shared downloader lives while any uploader does.
    std::shared_ptr<IconDownloader> m_iconDownloader;
};
}
