#include "InboxState.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Bedrock
{
std::uint64_t InboxState::begin(char kind, Answered answered)
{
    const bool hasOrder = std::this_thread::get_id() == mainThread && !isAskingOutside;
    const std::lock_guard<std::mutex> guard(mutex);
    Job& job = open[++lastKey];
    job.number = hasOrder ? ++lastNumber : 0;
    job.kind = kind;
    job.answered = std::move(answered);
    return lastKey;
}

void InboxState::arrive(std::uint64_t key, std::function<void()> deliver, bool isLast)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto job = open.find(key);
        if (job == open.end())
            return;
        Result result;
        result.arrival.job = job->second.number;
        result.arrival.part = job->second.parts++;
        result.arrival.kind = job->second.kind;
        result.deliver = std::move(deliver);
        waiting.push_back(std::move(result));
        if (isLast)
            open.erase(job);
    }
    changed.notify_all();
}

void InboxState::arrive(std::uint64_t key, const QByteArray& bytes)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto job = open.find(key);
        if (job == open.end())
            return;
        Arrival arrival;
        arrival.content = Arrival::Content::Bytes;
        arrival.bytes = bytes;
        waiting.push_back(endOutside(job, arrival));
    }
    changed.notify_all();
}

void InboxState::drop(std::uint64_t key) noexcept
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto job = open.find(key);
        if (job == open.end())
            return;
        Arrival arrival;
        arrival.content = Arrival::Content::Nothing;
        if (job->second.answered)
            waiting.push_back(endOutside(job, arrival));
        else
            open.erase(job);
    }
    changed.notify_all();
}

InboxState::Result InboxState::endOutside(Open job, const Arrival& arrival)
{
    Result result;
    result.arrival = arrival;
    result.arrival.job = job->second.number;
    result.arrival.kind = job->second.kind;
    // Without an answer the function is destroyed with the result, on the main thread.
    result.deliver = [answered = std::move(job->second.answered), hasAnswer = arrival.content == Arrival::Content::Bytes,
                      bytes = arrival.bytes] {
        if (hasAnswer)
            answered(bytes);
    };
    open.erase(job);
    return result;
}

InboxState::Waiting InboxState::findWaiting(const Arrival& wanted)
{
    return std::find_if(waiting.begin(), waiting.end(), [&wanted](const Result& result) {
        return result.arrival.job == wanted.job && result.arrival.part == wanted.part && result.arrival.kind == wanted.kind;
    });
}

InboxState::Open InboxState::findOpen(const Arrival& wanted)
{
    return std::find_if(open.begin(), open.end(), [&wanted](const auto& entry) { return entry.second.number == wanted.job; });
}

bool InboxState::isComing(const Arrival& wanted)
{
    const auto job = findOpen(wanted);
    return job != open.end() && job->second.kind == wanted.kind && !job->second.answered
        && wanted.content == Arrival::Content::Work && findWaiting(wanted) == waiting.end();
}

bool InboxState::isAnother(const Arrival& wanted)
{
    return wanted.job > lastNumber || findOpen(wanted) != open.end();
}

std::optional<InboxState::Result> InboxState::extractWaiting(const Arrival& wanted)
{
    if (wanted.content != Arrival::Content::Work) {
        const auto job = findOpen(wanted);
        if (job == open.end() || job->second.kind != wanted.kind || !job->second.answered)
            return std::nullopt;
        return endOutside(job, wanted);
    }
    const auto found = findWaiting(wanted);
    if (found == waiting.end())
        return std::nullopt;
    Result result = std::move(*found);
    waiting.erase(found);
    return result;
}

void InboxState::moveUnordered()
{
    const auto isOrdered = [](const Result& result) { return result.arrival.job != 0; };
    const auto firstUnordered = std::stable_partition(waiting.begin(), waiting.end(), isOrdered);
    std::move(firstUnordered, waiting.end(), std::back_inserter(running));
    waiting.erase(firstUnordered, waiting.end());
}
}
