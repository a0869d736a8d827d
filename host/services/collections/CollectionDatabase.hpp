#pragma once

#include "services/collections/CollectedItem.hpp"
#include "services/collections/CollectionClaim.hpp"
#include "services/collections/CollectionPlace.hpp"
#include "services/collections/CollectionPreviews.hpp"
#include "services/collections/CollectionRuns.hpp"

#include <Storage/Store.hpp>

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace Host
{
/// What cards have collected, in a SQLite file of one table or in a PostgreSQL database that several share. Everything is on the
/// disk when a call returns true; what a power cut interrupts is as before or done. An item that was removed, at whichever table,
/// stays removed. Each call blocks until it is done, or the database has not answered for the deadline. Any thread, but one at a
/// time.
class CollectionDatabase
{
public:
    /// What is to become of one item.
    struct Change
    {
        enum class Kind {
            Add,    ///< a new item; one that is there already gets the new values, one that was removed stays so
            Update, ///< one that is gone stays gone
            Remove  ///< one that is gone is done
        };
        Kind kind = Kind::Add;
        unsigned long code = 0;
        CollectedItem item;        ///< for Remove the key alone
        bool isPreviewNew = false; ///< its preview is in the folder already, and perhaps not on the server
    };
    /// What is kept for one card.
    struct Card
    {
        unsigned long code = 0;
        int items = 0;
        qint64 first = 0; ///< when its oldest item was stored, in seconds since 1970
        qint64 last = 0;
    };
    /// Called with what failed, the reason, and what to do about it.
    using Report = std::function<void(const QString& what, const QString& reason, const QString& remedy)>;
    struct Settings
    {
        std::chrono::milliseconds deadline{5000};
        /// Called on another thread when another program may have changed something; none: changes are not looked for.
        std::function<void()> changed;
    };

    /// Touches no file.
    CollectionDatabase(const CollectionPlace& place, const Settings& settings, Report report);

    /// The file, or the server's address.
    [[nodiscard]] QString path() const { return m_place.address.shown(); }
    /// Makes or opens the database and the folder, and removes previews without an item. To be called until it is true before
    /// anything else is. False, reported, when that is not possible.
    [[nodiscard]] bool open();
    /// Ends the connection. Settings::changed is not called afterwards.
    void close();
    /// For the end of the program; see Storage::Store::endWithin. Any thread, at any time.
    void endWithin(std::chrono::milliseconds time);
    /// Whether there is anything to open.
    [[nodiscard]] bool exists() const;
    /// Whether the last call has failed because the server was not reached.
    [[nodiscard]] bool wasAway() const noexcept { return m_wasAway; }

    /// All of the changes, or on failure (reported) none. `now`: in seconds since 1970.
    [[nodiscard]] bool apply(const std::vector<Change>& changes, qint64 now);
    /// Has the previews of changes that wait stay in the folder, in place of those named before.
    void setWaiting(const std::vector<Change>& changes);
    /// What a card has collected since a time, in the order of the drops; nothing when it cannot be read (reported). A preview
    /// whose file is missing, also on the server, is empty.
    [[nodiscard]] std::optional<std::vector<CollectedItem>> items(unsigned long code, qint64 since);
    /// Removes what was stored before a time. Returns how many; nothing on failure (reported).
    [[nodiscard]] std::optional<int> removeBefore(qint64 time, qint64 now);
    /// By code, ascending; nothing when they cannot be read (reported).
    [[nodiscard]] std::optional<std::vector<Card>> cards();
    /// Removes everything that these cards have, or that all have. Returns how many; nothing on failure (reported).
    [[nodiscard]] std::optional<int> clear(const std::vector<unsigned long>& codes, qint64 now);
    [[nodiscard]] std::optional<int> clearAll(qint64 now);

    /// The cards of which something was changed or removed since the last call, or since open(); by this program, too. Nothing
    /// on failure (reported).
    [[nodiscard]] std::optional<std::set<unsigned long>> changedCards();
    /// Gives `owner` the right to send items for half a minute to a minute, but not those that are gone or that another owner
    /// has. Nothing on failure (reported). `now`: of a file; a server's tables go by its clock.
    [[nodiscard]] std::optional<CollectionClaim> claim(const QStringList& keys, const QString& owner, qint64 now);
    /// Ends the right of `owner` to send items. False on failure (reported).
    [[nodiscard]] bool release(const QStringList& keys, const QString& owner);

    /// The number of the drop in its run of the program, with which keys end.
    [[nodiscard]] static qint64 numberOf(const QString& key);

private:
    using Kind = Storage::Store::Kind;

    [[nodiscard]] bool run(Kind kind, const Storage::Store::Job& job);
    /// Whether the time of endWithin() is over.
    [[nodiscard]] bool isEnding();
    /// From here on everything is asked of this store.
    void use(std::unique_ptr<Storage::Store> store);
    /// Removes pictures that no item has.
    [[nodiscard]] bool removeStrayPreviews();
    [[nodiscard]] bool copyPreview(const Change& change, QString& name) const;
    [[nodiscard]] QByteArray pictureOf(const Change& change, const QString& name) const;
    [[nodiscard]] std::map<QString, QByteArray> missingPictures(Storage::Transaction& reading,
                                                                const std::vector<CollectedItem>& items) const;
    [[nodiscard]] std::optional<int> removeWhere(const QString& condition, const QVariantList& values, qint64 now);

    const CollectionPlace m_place;
    const Settings m_settings;
    const CollectionPreviews m_previews;
    const Report m_report;
    std::mutex m_mutex;                      ///< for what another thread needs: where m_store points to, and m_end
    std::unique_ptr<Storage::Store> m_store; ///< null until open() has succeeded
    std::optional<std::chrono::steady_clock::time_point> m_end;
    CollectionRuns m_runs;
    std::set<QString> m_waitingPreviews; ///< names in the folder
    qint64 m_seen = -1;                  ///< number of the last change that changedCards() has read; -1: none
    bool m_wasAway = false;
};
}
