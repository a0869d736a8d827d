#pragma once

#include "personalspace/PersonalSpaceContents.hpp"

#include <folly/futures/Future.h>

#include <QString>

class QJsonObject;
class QJsonValue;

namespace Tavola
{
/// The data that is sent to the media server for one item.
struct UploadableItem
{
    QString value;       ///< an address, or a bare file name
    QString displayName; ///< for people
    QString kind;        ///< the key under which `value` is sent: "url" or "filename"

    friend bool operator==(const UploadableItem& a, const UploadableItem& b)
    {
        return a.value == b.value && a.displayName == b.displayName && a.kind == b.kind;
    }
    friend bool operator!=(const UploadableItem& a, const UploadableItem& b) { return !(a == b); }
};

/// Passes a command to the presentation's media server service. Without one the future has failed (std::runtime_error); a service
/// may throw. The future may be completed on any thread. Main thread only.
[[nodiscard]] folly::Future<QJsonObject> requestJSON(const QJsonObject& request);

/// Chooses the value that is sent for an item's files, and its key. Files are not transferred: the server identifies them by
/// name.
[[nodiscard]] UploadableItem parseFiles(const PersonalSpaceContents::Item& item);

/// A JSON number, which is exact up to 2^53. The host's service refuses requests with a larger code.
[[nodiscard]] QJsonValue tesselValue(unsigned long code);

/// Sends "additem" or "deleteitem" for an item of a card. Every failure, also an exception out of the service's call, is one of
/// the future.
[[nodiscard]] folly::Future<QJsonObject> sendItemCommand(const char* command, unsigned long code, const UploadableItem& item);

/// Whether the command of this answer succeeded: "success" is true or the text "true".
[[nodiscard]] bool isSuccess(const QJsonObject& answer);

/// The error of an answer followed by the whole answer as JSON, for the log.
[[nodiscard]] QString getErrorText(const QJsonObject& answer);
}
