#pragma once

#include "server/JSONRequests.hpp"

#include <QString>

#include <cstdint>
#include <optional>
#include <set>

namespace Tavola
{
/// What a table does on the media server for a card whose items several tables share, beside uploading and deleting: the page
/// has a thing once, however many items it stands for, and commands of different tables may reach the server in any order.
///
/// - A table that has deleted a thing gives it to the server again when another table has collected it meanwhile.
/// - A table that has given a thing to the server, or left it there for another item, deletes it when another table removes the
///   last item of it: that table's command may have been the earlier one, or may have counted on the other item as well.
/// - It gives it once more when another table removes an item of it that is not the last: that table may have deleted the thing
///   without knowledge of the others, and may have been killed then.
///
/// So the command that the server carries out last agrees with the items, as long as its table runs. Does nothing in a store
/// that is not shared. Main thread only.
class SharedUploads
{
public:
    explicit SharedUploads(std::uint64_t code) : m_code(code) {}

    /// This table has given an item to the server, or leaves it there when it removes another one of the same thing.
    void given(const UploadableItem& item);
    /// The server has deleted what an item stood for, or may have.
    void deleted(const UploadableItem& item);
    /// An item of another table is in the contents.
    void appeared(const UploadableItem& item);
    /// Another table has removed an item, which is not in the contents any more.
    void removedElsewhere(const UploadableItem& item);
    /// Gives again what could not be given before.
    void retry();

private:
    /// The answer to giving an item again.
    void gaveAgain(const UploadableItem& item, bool isDone);
    void giveAgain(const UploadableItem& item);
    void deleteUnused(const UploadableItem& item);
    /// An item of the same thing in the contents, or nothing.
    [[nodiscard]] std::optional<UploadableItem> find(const QString& thing) const;

    const std::uint64_t m_code;
    std::set<QString> m_deleted; ///< things that this table has deleted
    std::set<QString> m_owed;    ///< things that it deletes with their last item
};
}
