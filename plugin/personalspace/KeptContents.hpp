#pragma once

#include "collections/CollectionKeeper.hpp"
#include "personalspace/PersonalSpaceContents.hpp"
#include "personalspace/SharedUploads.hpp"

#include <memory>
#include <set>
#include <vector>

namespace Tavola
{
/// The contents of a card whose items the host's collection store keeps: stored when their files are known and with every change
/// of their status, removed from the store when they are removed at the table or sent. Items of another user page, which
/// setUserPage removes, stay in the store, and come back from it. An item that comes back has no widget, and one that was being
/// uploaded is Ready. What another table changes in a store that is shared is shown; uploading it is left to that table as long
/// as no space opens here. There is one object for each card code, kept as long as the plug-in is loaded. Main thread only.
class KeptContents
{
public:
    /// To be called when a space has opened for a card: reads the card's items from the store. Does nothing where the
    /// presentation has no store.
    static void open(unsigned long code);
    /// Those items of a card that this table may send by e-mail now, so that no two tables send the same; see
    /// CollectionKeeper::claim. For a card whose space is open, in a store that is shared.
    [[nodiscard]] static folly::Future<std::set<long>> claim(unsigned long code, const std::set<long>& ids);
    /// See CollectionKeeper::lastingKeys; none where nothing of the card is kept.
    [[nodiscard]] static QList<QString> lastingKeys(unsigned long code, const std::set<long>& ids);
    /// Those were not sent: another table may.
    static void release(unsigned long code, const std::set<long>& ids);

    /// What this table has to do on the media server for a card of which other tables collect and remove the same things. Null
    /// for a card of which nothing is kept. Stays as long as the plug-in is loaded.
    [[nodiscard]] static SharedUploads* uploads(unsigned long code);

    explicit KeptContents(unsigned long code);
    ~KeptContents();
    KeptContents(const KeptContents&) = delete;
    KeptContents& operator=(const KeptContents&) = delete;

private:
    void listen();
    void removed(long id);
    void store(long id);
    void statusChanged(long id);
    void restore(const std::vector<CollectionKeeper::Item>& items, CollectionKeeper::Reason reason);
    void restore(long id, const CollectionKeeper::Item& stored, CollectionKeeper::Reason reason);
    void removedElsewhere(long id);
    void refresh(long id, const CollectionKeeper::Item& stored);

    const unsigned long m_code;
    const std::shared_ptr<PersonalSpaceContents> m_contents;
    const std::shared_ptr<CollectionKeeper> m_keeper; ///< an answer under way may outlive this
    std::vector<Facet::Node::ListenerId> m_listeners;
    SharedUploads m_uploads;
    std::set<long> m_endings; ///< items that were removed elsewhere while this table uploads them
    bool m_isRestoring = false;
    bool m_hasLeft = false; ///< items left the table with their user page
};
}
