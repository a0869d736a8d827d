#pragma once

#include "personalspace/PersonalSpaceContents.hpp"

#include <folly/futures/Future.h>

#include <QString>

class QJsonObject;

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

/// Whether the command of this answer succeeded: "success" is true or the text "true".
[[nodiscard]] bool isSuccess(const QJsonObject& answer);

/// The error of an answer followed by the whole answer as JSON, for the log.
[[nodiscard]] QString getErrorText(const QJsonObject& answer);
}
