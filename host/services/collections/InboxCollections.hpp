#pragma once

#include "services/collections/CollectionDatabase.hpp"

#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <map>
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
    enum class Sharing {
        Own,   ///< this table's alone
        Shared ///< other tables change it, too
    };
    /// `service`: null where the inbox has a source, which answers in the service's place.
    explicit InboxCollections(std::shared_ptr<CollectionService> service, Sharing sharing = Sharing::Own);
    ~InboxCollections() override;

    QString makeKey() override;
    [[nodiscard]] QString lastingKey(const QString& key) const override;
    folly::Future<std::vector<CollectedItem>> items(unsigned long code) override;
    void add(unsigned long code, const CollectedItem& item) override;
    void update(unsigned long code, const CollectedItem& item) override;
    void remove(unsigned long code, const QString& key) override;
    [[nodiscard]] bool isShared() const override { return m_sharing == Sharing::Shared; }
    void watch(unsigned long code, std::function<void()> changed) override;
    folly::Future<QList<QString>> claim(const QList<QString>& keys) override;
    void release(const QList<QString>& keys) override;

private:
    void change(CollectionDatabase::Change change);
    [[nodiscard]] QStringList lastingKeys(const QList<QString>& keys) const;
    [[nodiscard]] QString ownPrefix() const;
    void askForChange();
    void tellWatches(const QByteArray& codes);

    const std::shared_ptr<CollectionService> m_service;
    const QString m_run; ///< a name that no other run has
    const Sharing m_sharing;
    qint64 m_lastNumber = 0;
    std::map<std::uint64_t, std::function<void()>> m_watches;     ///< by the cards' codes
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); ///< answers may come later
};
}
