#pragma once

#include "services/collections/CollectionFile.hpp"

#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QString>

#include <memory>

namespace Host
{
class CollectionService;

/// A collection store whose answers come through the inbox: futures are completed on the main thread, in the input step of a
/// frame. The keys of this run's items are numbers, which are the same in a replay; the service has them with the name of the run
/// in front. Main thread only.
class InboxCollections final : public Tavola::ServiceInstance, public Tavola::CollectionStoreAPI
{
public:
    /// Null where the inbox has a source, which answers in the service's place.
    explicit InboxCollections(std::shared_ptr<CollectionService> service);

    QString makeKey() override;
    folly::Future<std::vector<CollectedItem>> items(unsigned long code) override;
    void add(unsigned long code, const CollectedItem& item) override;
    void update(unsigned long code, const CollectedItem& item) override;
    void remove(unsigned long code, const QString& key) override;

private:
    void change(CollectionFile::Change change);
    [[nodiscard]] QString storedKey(const QString& key) const;

    const std::shared_ptr<CollectionService> m_service;
    const QString m_run; ///< a name that no other run has
    qint64 m_lastNumber = 0;
};
}
