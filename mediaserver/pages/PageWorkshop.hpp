#pragma once

#include "content/ContentFolder.hpp"
#include "content/Thumbnails.hpp"
#include "items/ItemStore.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/WorkerPool.hpp>
#include <Http/Reply.hpp>

#include <memory>
#include <vector>

namespace MediaServer
{

/// Makes what takes its time for the visitors' pages: small pictures, on a thread of its own, and archives of whole collections,
/// which are made while they are sent. Called on the pages' thread.
class PageWorkshop
{
public:
    /// Of all files of a collection together.
    static constexpr qint64 kMostArchiveBytes = qint64(1) << 30;

    explicit PageWorkshop(const ContentFolder& content, qint64 mostArchiveBytes = kMostArchiveBytes);

    /// Sends `whole`, the answer with the file of a picture, with a small picture in the place of the file if one can be made.
    void sendThumbnail(Http::Response whole, Http::Reply reply);

    /// The files of the items that are there, and a list of the links, as a ZIP file. `tooLarge` when they are.
    [[nodiscard]] Http::Response archive(const std::vector<Item>& items, Http::Response tooLarge) const;

private:
    const ContentFolder m_content;
    const qint64 m_mostArchiveBytes;
    Thumbnails m_thumbnails; ///< on the painter's thread
    /// On the server's thread, which sends archives, also after the end of this class.
    const std::shared_ptr<Bedrock::RareWarnings> m_warnings = std::make_shared<Bedrock::RareWarnings>("MediaServer");
    Bedrock::WorkerPool m_painter{1}; ///< last member: its thread ends first
};

}
