#pragma once

#include "HeldAnswers.hpp"

#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace PluginTest
{
/// A store of collections in memory, which writes down what is asked of it. Reading is answered at once, or held until the test
/// answers (see HeldAnswers; the index of a reading is its place in `reads`).
class FakeCollectionStore final : public Tavola::ServiceInstance,
                                  public Tavola::CollectionStoreAPI,
                                  public TestSupport::HeldAnswers<std::vector<Tavola::CollectionStoreAPI::CollectedItem>>
{
public:
    std::map<unsigned long, std::vector<CollectedItem>> kept; ///< by the cards' codes
    std::vector<unsigned long> reads;                         ///< the cards that were read, in order
    bool holdsAnswers = false;
    bool throws = false;
    bool shared = false;
    std::set<std::string> othersClaims; ///< keys of items that another table sends
    std::vector<int> claims;            ///< how many items were claimed with each call

    /// What was changed since the last call: "add 1 3 name", "update 1 3 name", "remove 1", "release 1", with key, status and
    /// display name.
    std::vector<std::string> changes() { return std::exchange(m_changes, {}); }
    /// Keeps an item as an earlier run of the program did.
    void keepEarlier(unsigned long code, const char* key, const char* name, std::int32_t status)
    {
        CollectedItem item;
        item.key = QString::fromUtf8(key);
        item.sources = QList<QString>{QStringLiteral("http://") + QString::fromUtf8(name)};
        item.displayName = QString::fromUtf8(name);
        item.status = status;
        kept[code].push_back(item);
    }

    QString makeKey() override { return QString::number(++m_lastKey); }
    [[nodiscard]] QString lastingKey(const QString& key) const override { return "run-" + key; }
    folly::Future<std::vector<CollectedItem>> items(unsigned long code) override
    {
        reads.push_back(code);
        if (throws)
            throw std::runtime_error("the store is closed");
        return holdsAnswers ? open(reads.size() - 1) : folly::makeFuture(kept[code]);
    }
    void add(unsigned long code, const CollectedItem& item) override
    {
        note("add", item);
        kept[code].push_back(item);
    }
    void update(unsigned long code, const CollectedItem& item) override
    {
        note("update", item);
        for (CollectedItem& one : kept[code])
            if (one.key == item.key)
                one = item;
    }
    void remove(unsigned long code, const QString& key) override
    {
        m_changes.push_back("remove " + key.toStdString());
        auto& items = kept[code];
        items.erase(std::remove_if(items.begin(), items.end(), [&](const CollectedItem& item) { return item.key == key; }),
                    items.end());
    }

    [[nodiscard]] bool isShared() const override { return shared; }
    void watch(unsigned long code, std::function<void()> changed) override { m_watches[code] = std::move(changed); }
    folly::Future<QList<QString>> claim(const QList<QString>& keys) override
    {
        QList<QString> result;
        for (const QString& key : keys)
            if (othersClaims.count(key.toStdString()) == 0)
                result.append(key);
        claims.push_back(keys.size());
        return throws ? throw std::runtime_error("the store is closed") : folly::makeFuture(result);
    }
    void release(const QList<QString>& keys) override
    {
        for (const QString& key : keys)
            m_changes.push_back("release " + key.toStdString());
    }
    /// As when another table has changed something of a card.
    void tellOfChange(unsigned long code)
    {
        const auto changed = m_watches.at(code);
        changed();
    }

private:
    void note(const char* what, const CollectedItem& item)
    {
        m_changes.push_back(std::string(what) + " " + item.key.toStdString() + " " + std::to_string(item.status) + " "
                            + item.displayName.toStdString());
    }

    std::vector<std::string> m_changes;
    int m_lastKey = 0;
    std::map<unsigned long, std::function<void()>> m_watches; ///< by the cards' codes
};
}
