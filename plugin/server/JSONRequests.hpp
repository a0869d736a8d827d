#pragma once

#include "personalspace/PersonalSpaceContents.hpp"

#include <folly/futures/Future.h>

#include <QString>

class QJsonObject;

namespace Tavola
{
/// What is sent to the media server for one item.
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

/// Hands a command to the presentation's media server service. A missing service is a failed future, never a throw. The future
/// may be completed on any thread. Main thread.
[[nodiscard]] folly::Future<QJsonObject> requestJSON(const QJsonObject& request);

/// What of an item's files is sent, and under which key. The file itself is not transferred: the server knows it by its name.
[[nodiscard]] UploadableItem parseFiles(const PersonalSpaceContents::Item& item);

/// Whether an answer says that its command succeeded: "success" is true or the text "true".
[[nodiscard]] bool isSuccess(const QJsonObject& answer);

/// Why a command failed, with the whole answer, for the log.
[[nodiscard]] QString getErrorText(const QJsonObject& answer);
}
