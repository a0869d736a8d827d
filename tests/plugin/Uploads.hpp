#pragma once

#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "personalspace/PersonalSpaceContents.hpp"
#include "server/PersonalSpaceUploader.hpp"

#include <QJsonObject>

#include <memory>
#include <vector>

namespace PluginTest
{
/// A card with an uploader, and its items.
struct Uploads
{
    using Status = Tavola::PersonalSpaceUploader::ItemStatus;

    TestSupport::TestHost host;
    unsigned long code = newCode();
    std::shared_ptr<Tavola::PersonalSpaceContents> contents = Tavola::PersonalSpaceContents::personalContent(code);
    Tavola::PersonalSpaceUploader uploader{code};

    /// Answers the requests that are open, so that none ends in the log.
    ~Uploads()
    {
        for (const auto index : host.mediaServer().waiting())
            host.mediaServer().answer(index, QJsonObject{{"success", true}});
    }

    long addItem(const char* source, Status status = Status::Ready, const char* displayName = "A name")
    {
        Tavola::PersonalSpaceContents::Item item;
        if (*source)
            item.files.sources = QList<QString>{source};
        item.files.displayName = displayName;
        item.status = status;
        return contents->addItem(item);
    }
    [[nodiscard]] Status status(long id) const { return contents->item(id).status; }
    [[nodiscard]] const std::vector<QJsonObject>& commands() { return host.mediaServer().commands(); }
    void answer(std::size_t index, const QJsonObject& reply)
    {
        host.mediaServer().answer(index, reply);
        host.frame();
    }
};
}
