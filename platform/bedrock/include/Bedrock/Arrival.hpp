#pragma once

#include <QByteArray>

#include <cstdint>

namespace Bedrock
{
/// One result that a frame took from the Inbox: what a recording keeps of it, and a replay asks for. A plain record.
struct Arrival
{
    enum class Content : std::uint8_t {
        Work,   ///< of a job inside this process, which a replay does again
        Bytes,  ///< of a job outside of it: the recording has the answer
        Nothing ///< a job outside of it ended without an answer
    };

    std::uint64_t job = 0;  ///< its number; jobs count from 1 in the order in which the main thread began them
    std::uint16_t part = 0; ///< of the results of that job, from 0
    char kind = 0;          ///< of the job
    Content content = Content::Work;
    QByteArray bytes;
};
}
