#include "PageWorkshop.hpp"

#include "CollectionArchive.hpp"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <utility>

#include <sys/statvfs.h>

namespace MediaServer
{

PageWorkshop::PageWorkshop(const ContentFolder& content) : PageWorkshop(content, Limits()) {}

PageWorkshop::PageWorkshop(const ContentFolder& content, const Limits& limits) : m_content(content), m_limits(limits) {}

void PageWorkshop::sendThumbnail(Http::Response whole, Http::Reply reply)
{
    // A task is copyable, an answer and its reply are not.
    m_painter.add([this, answer = std::make_shared<Http::Response>(std::move(whole)),
                   shared = std::make_shared<Http::Reply>(std::move(reply))] {
        if (QByteArray picture = m_thumbnails.of(answer->file); !picture.isNull()) {
            answer->contentType = picture.startsWith("\x89PNG") ? "image/png" : "image/jpeg";
            answer->body = std::move(picture);
            answer->file = Http::File();
        }
        shared->send(std::move(*answer));
    });
}

void PageWorkshop::sendArchive(std::vector<Item> items, Refusals refusals, Http::Reply reply)
{
    if (m_waitingArchives >= kMostWaitingArchives) {
        refusals.failed.status = 503;
        return reply.send(std::move(refusals.failed));
    }
    ++m_waitingArchives;
    m_packer.add([this, items = std::move(items), refused = std::make_shared<Refusals>(std::move(refusals)),
                  shared = std::make_shared<Http::Reply>(std::move(reply))] {
        shared->send(archive(items, *refused));
        --m_waitingArchives;
    });
}

/// Archives on their way to slow phones take room for as long as that lasts, so that a count of them is no bound.
bool PageWorkshop::hasRoom(qint64 bytes)
{
    struct statvfs disk;
    if (::statvfs(QFile::encodeName(QDir::tempPath()).constData(), &disk) != 0)
        return false;
    return static_cast<qint64>(disk.f_bavail) * static_cast<qint64>(disk.f_frsize) - bytes >= m_limits.freeBytes;
}

Http::Response PageWorkshop::archive(const std::vector<Item>& items, Refusals& refusals)
{
    std::vector<ArchiveEntry> entries;
    QByteArray links;
    qint64 bytes = 0;
    for (const Item& item : items) {
        if (item.kind == ItemKind::Url) {
            links += item.displayName.toUtf8().simplified() + '\n' + item.value.toUtf8().simplified() + "\n\n";
            continue;
        }
        auto file = m_content.open(item.value);
        if (!file)
            continue; // the page shows that it is not there
        bytes += std::max(qint64(0), file->size());
        if (bytes > m_limits.archiveBytes)
            return std::move(refusals.tooLarge);
        entries.push_back({item.value, std::move(*file), {}});
    }
    if (!links.isEmpty())
        entries.push_back({QStringLiteral("links.txt"), {}, links});
    if (!hasRoom(bytes)) {
        m_warnings.log("A collection was not packed", "too little room in the temporary folder");
        refusals.failed.status = 503;
        return std::move(refusals.failed);
    }
    auto packed = packCollection(entries);
    if (!packed) {
        m_warnings.log("A collection could not be packed", packed.error().toStdString());
        return std::move(refusals.failed);
    }
    Http::Response response;
    response.contentType = "application/zip";
    response.file = std::move(*packed);
    response.addHeader("Content-Disposition", "attachment; filename=\"collection.zip\"");
    response.addHeader("Cache-Control", "private, no-store");
    return response;
}

} // namespace MediaServer
