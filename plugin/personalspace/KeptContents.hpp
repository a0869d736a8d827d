#pragma once

#include "collections/CollectionKeeper.hpp"
#include "personalspace/PersonalSpaceContents.hpp"

#include <memory>
#include <vector>

namespace Tavola
{
/// The contents of a card whose items the host's collection store keeps: stored when their files are known and with every change
/// of their status, removed from the store when they are removed at the table or sent. Items of another user page, which
/// setUserPage removes, stay in the store, and come back from it. An item that comes back has no widget, and one that was being
/// uploaded is Ready. There is one object for each card code, kept as long as the plug-in is loaded. Main thread only.
class KeptContents
{
public:
    /// To be called when a space has opened for a card: reads the card's items from the store. Does nothing where the
    /// presentation has no store.
    static void open(unsigned long code);

    explicit KeptContents(unsigned long code);
    ~KeptContents();
    KeptContents(const KeptContents&) = delete;
    KeptContents& operator=(const KeptContents&) = delete;

private:
    void listen();
    void removed(long id);
    void store(long id);
    void restore(const std::vector<CollectionKeeper::Item>& items);
    void restore(long id, const CollectionKeeper::Item& stored);

    const std::shared_ptr<PersonalSpaceContents> m_contents;
    const std::shared_ptr<CollectionKeeper> m_keeper; ///< an answer under way may outlive this
    std::vector<Facet::Node::ListenerId> m_listeners;
    bool m_isRestoring = false;
    bool m_hasLeft = false; ///< items left the table with their user page
};
}
