#pragma once

#include <Bedrock/Arrival.hpp>

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Bedrock
{
class InboxSource;

/// What an Inbox and its replies share. A job is found by its key, which is never used twice; its number, which recordings hold,
/// begins anew with each tap or source.
struct InboxState
{
    using Answered = std::function<void(const QByteArray&)>;

    struct Job
    {
        std::uint64_t number = 0; ///< 0 when another thread than the main one began it, or a question to the outside
        char kind = 0;
        std::uint16_t parts = 0;
        Answered answered; ///< of a job outside the process
    };
    struct Result
    {
        Arrival arrival;
        std::function<void()> deliver;
    };

    const std::thread::id mainThread = std::this_thread::get_id();
    // Main thread only.
    std::function<void(const Arrival&)> tap;
    InboxSource* source = nullptr;
    bool isAskingOutside = false;
    std::deque<Result> running;

    mutable std::mutex mutex; ///< guards what follows
    mutable std::condition_variable changed;
    std::uint64_t lastKey = 0;
    std::uint64_t lastNumber = 0;
    std::map<std::uint64_t, Job> open;
    std::deque<Result> waiting; ///< in the order of arrival

    // Any thread.
    [[nodiscard]] std::uint64_t begin(char kind, Answered answered);
    void arrive(std::uint64_t key, std::function<void()> deliver, bool isLast);
    void arrive(std::uint64_t key, const QByteArray& bytes);
    void drop(std::uint64_t key) noexcept;

    // Guarded by the mutex.
    using Waiting = std::deque<Result>::iterator;
    using Open = std::map<std::uint64_t, Job>::iterator;
    /// Where the wanted result or its job stands; the end when it does not.
    [[nodiscard]] Waiting findWaiting(const Arrival& wanted);
    [[nodiscard]] Open findOpen(const Arrival& wanted);
    /// Whether the result has not arrived, but still may.
    [[nodiscard]] bool isComing(const Arrival& wanted);
    /// Whether the run differs from the recorded one: the job has not begun, or is still open. A job that ended without this
    /// result was given up, which is no difference.
    [[nodiscard]] bool isAnother(const Arrival& wanted);
    /// Removes what is wanted from the queue; nothing when it does not wait there.
    [[nodiscard]] std::optional<Result> extractWaiting(const Arrival& wanted);
    /// Moves results of jobs that other threads began to `running`: they have no order, and belong to the next frame.
    void moveUnordered();
    /// Ends the job and returns its result, with the content of `arrival`.
    [[nodiscard]] Result endOutside(Open job, const Arrival& arrival);
};
}
