#pragma once

#include <Tavola/CollectionStoreAPI.hpp>

#include <QByteArray>

#include <optional>
#include <vector>

namespace Host
{
using CollectedItem = Tavola::CollectionStoreAPI::CollectedItem;

/// What an item stands for, as JSON: all but key, preview and status.
[[nodiscard]] QByteArray formatContent(const CollectedItem& item);
/// Sets that of an item. What `json` does not have is empty.
void readContent(const QByteArray& json, CollectedItem& item);

/// Whole items, as the inbox carries and records them.
[[nodiscard]] QByteArray formatItems(const std::vector<CollectedItem>& items);
/// Nothing when `bytes` are no list of items.
[[nodiscard]] std::optional<std::vector<CollectedItem>> parseItems(const QByteArray& bytes);
}
