#pragma once

#include "ContentFolder.hpp"
#include "ItemStore.hpp"
#include "Thumbnails.hpp"

#include <Bedrock/RareWarnings.hpp>
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

    struct Limits
    {
        qint64 archiveBytes = qint64(1) << 30; ///< of all files of a collection together
        qint64 freeBytes = qint64(1) << 28;    ///< that an archive leaves on the disk of the temporary folder
    };

    /// With the usual limits.
    explicit PageWorkshop(const ContentFolder& content);
    PageWorkshop(const ContentFolder& content, const Limits& limits);

    /// Sends `whole`, the answer with the file of a picture, with a small picture in the place of the file if one can be made.
    void sendThumbnail(Http::Response whole, Http::Reply reply);

    /// Sends the files of the items that are there, and a list of the links, as a ZIP file.
    void sendArchive(std::vector<Item> items, Refusals refusals, Http::Reply reply);

private:
    [[nodiscard]] Http::Response archive(const std::vector<Item>& items, Refusals& refusals);
    [[nodiscard]] bool hasRoom(qint64 bytes);

    const ContentFolder m_content;
    const Limits m_limits;
    Thumbnails m_thumbnails;                         ///< on the painter's thread
    Bedrock::RareWarnings m_warnings{"MediaServer"}; ///< on the packer's thread
    std::atomic<int> m_waitingArchives{0};
    Bedrock::WorkerPool m_painter{1};
    Bedrock::WorkerPool m_packer{1}; ///< last members: the threads end first
};

} // namespace MediaServer
