#pragma once

#include "FakeCollectionStore.hpp"
#include "OpenSpace.hpp"

#include <memory>
#include <string>
#include <vector>

namespace PluginTest
{
/// Numbers of ItemStatus, as the store has them.
constexpr std::int32_t kReady = 1;
constexpr std::int32_t kUploading = 2;
constexpr std::int32_t kUploaded = 3;
constexpr std::int32_t kUploadFailed = 4;

/// A space on a table that has a store of collections.
struct KeptSpace : OpenSpace
{
    std::shared_ptr<FakeCollectionStore> store = std::make_shared<FakeCollectionStore>();

    KeptSpace() : OpenSpace(false) { host.tavola().services()->addService("collection-store", QString(), store); }
    ~KeptSpace() { store->breakPromises(); }

    void open()
    {
        widget->setCode(code);
        host.frame();
    }
    /// "name status" of each item, in order.
    Strings items() const
    {
        Strings result;
        for (const auto& entry : contents->items())
            result.push_back(entry.second.files.displayName.toStdString() + " "
                             + std::to_string(static_cast<int>(entry.second.status)));
        return result;
    }
    /// Collects something whose files are known at once.
    long collect(const char* name)
    {
        PersonalSpaceContents::Item item;
        item.widgetId = 55;
        const long id = contents->addItem(item);
        Tavola::FileRepresentation::FileData files;
        files.displayName = QString::fromUtf8(name);
        files.sources = QList<QString>{QStringLiteral("http://") + files.displayName};
        contents->filesReady(id, files);
        return id;
    }
    std::vector<Trellis::Widget*> tiles() const { return childrenOfClass(*contentWidget(), "container"); }
};
}
