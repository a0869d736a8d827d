#include "PageWorkshop.hpp"

#include "content/CollectionArchive.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace MediaServer
{

PageWorkshop::PageWorkshop(const ContentFolder& content, qint64 mostArchiveBytes)
    : m_content(content), m_mostArchiveBytes(mostArchiveBytes)
{
}

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

Http::Response PageWorkshop::archive(const std::vector<Item>& items, Http::Response tooLarge) const
{
    std::vector<ArchiveEntry> entries;
    QByteArray links;
    qint64 bytes = 0;
    for (const Item& item : items) {
        if (item.kind == ItemKind::Url) {
            links += item.displayName.toUtf8().simplified() + '\n' + item.value.toUtf8().simplified() + "\n\n";
            continue;
        }
        const auto file = m_content.open(item.value);
        if (!file)
            continue; // the page shows that it is not there
        bytes += std::max(qint64(0), file->size());
        if (bytes > m_mostArchiveBytes)
            return tooLarge;
        // Opened anew when its turn comes: a collection has more files than a program may have open.
        entries.push_back({item.value,
                           [content = m_content, name = item.value] {
                               auto opened = content.open(name);
                               return opened ? std::move(*opened) : Http::File();
                           },
                           {}});
    }
    if (!links.isEmpty())
        entries.push_back({QStringLiteral("links.txt"), {}, links});
    Http::Response response;
    response.contentType = "application/zip";
    response.pieces = [archive = std::make_shared<CollectionArchive>(std::move(entries)),
                       warnings = m_warnings]() -> std::optional<QByteArray> {
        auto piece = archive->next();
        if (piece)
            return *std::move(piece);
        warnings->log("A collection could not be packed", piece.error().toStdString());
        return std::nullopt;
    };
    response.addHeader("Content-Disposition", "attachment; filename=\"collection.zip\"");
    response.addHeader("Cache-Control", "private, no-store");
    return response;
}

}
