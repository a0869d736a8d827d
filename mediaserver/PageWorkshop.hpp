#pragma once

#include "ContentFolder.hpp"
#include "ItemStore.hpp"
#include "Thumbnails.hpp"

#include <Bedrock/WorkerPool.hpp>
#include <Http/Reply.hpp>

#include <atomic>
#include <memory>
#include <vector>

namespace MediaServer
{

/// Makes what takes its time for the visitors' pages, on two threads of its own, which send the answers: small pictures, and
/// archives of whole collections. Called on the server's thread.
class PageWorkshop
{
public:
    /// What an archive is answered with when there is none. A plain record.
    struct Refusals
    {
        Http::Response tooLarge;
        Http::Response failed;
    };
    static constexpr int kMostWaitingArchives = 8;

    /// `largestArchiveBytes`: of all files together.
    explicit PageWorkshop(const ContentFolder& content, qint64 largestArchiveBytes = qint64(1) << 30);

    /// Sends `whole`, the answer with the file of a picture, with a small picture in the place of the file if one can be made.
    void sendThumbnail(Http::Response whole, Http::Reply reply);

    /// Sends the files of the items that are there, and a list of the links, as a ZIP file.
    void sendArchive(std::vector<Item> items, Refusals refusals, Http::Reply reply);

private:
    [[nodiscard]] Http::Response archive(const std::vector<Item>& items, Refusals& refusals) const;

    const ContentFolder m_content;
    const qint64 m_largestArchiveBytes;
    Thumbnails m_thumbnails; ///< on the painter's thread
    std::atomic<int> m_waitingArchives{0};
    Bedrock::WorkerPool m_painter{1};
    Bedrock::WorkerPool m_packer{1}; ///< last members: the threads end first
};

} // namespace MediaServer
