#pragma once

#include <Bedrock/Arrival.hpp>
#include <Bedrock/Export.hpp>
#include <Bedrock/Reply.hpp>

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace Bedrock
{
class InboxSource;

/// The one way in for results of other threads and of the network. Each piece of work done elsewhere is a job; its result enters
/// the table on the main thread, in the input step of a frame, in the order of the answers. See `begin` and `ask`.
///
/// A tap receives each result that a frame delivers; a source chooses the results of each frame, and answers in place of the
/// outside world. Jobs, replies and deliveries are the same with or without them.
class TAVOLA_EXPORT Inbox
{
public:
    /// The process's inbox, made when the library is loaded and kept until the process ends. Any thread.
    [[nodiscard]] static Inbox& instance();

    /// The thread that makes it is its main thread.
    Inbox();
    ~Inbox();
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    // ---- Jobs ----

    /// A job inside the process, such as reading a picture; WorkerPool::run does this for one task. Any thread:
    ///
    ///     auto reply = Inbox::instance().begin('i');
    ///     std::move(reply).answer([picture] { … });     // on any thread; the function runs on the main thread
    ///
    /// `kind` distinguishes jobs in a recording. The tap and the source receive only jobs that the main thread began by itself,
    /// because only those have an order; jobs of other threads, and those that a `start` below begins, are delivered with the
    /// next frame.
    [[nodiscard]] Reply begin(char kind);
    /// A job outside of the process, such as a question to a server; it answers in bytes, so that the answer can be recorded:
    ///
    ///     Inbox::instance().ask('j', [&](BytesReply reply) { … std::move(reply).answer(bytes); },
    ///                           [weak](const QByteArray& bytes) { … });
    ///
    /// `start` is called within this call and owns the reply; with a source it is not called at
    /// all. `answered` runs once, as the job's result, or is destroyed on the main thread when the reply is dropped. What `start`
    /// throws is logged as an error and drops the reply. Main thread only.
    void ask(char kind, const std::function<void(BytesReply)>& start, std::function<void(const QByteArray&)> answered);

    // ---- The frame. Main thread ----

    /// Runs what the frame takes that begins now, in order; returns how many results. One that throws is logged as an error, the
    /// others still run. What comes meanwhile waits for the next frame.
    int deliver();
    /// Whether a result waits for a frame.
    [[nodiscard]] bool isWaiting() const;
    /// Jobs that have not ended.
    [[nodiscard]] int openJobs() const;
    /// Destroys what waits and forgets the open jobs: their answers are dropped. At shutdown, and before code is unloaded that
    /// the results live in.
    void clear();
    /// Whether the calling thread is the main one. Any thread.
    [[nodiscard]] bool isMainThread() const noexcept;

    // ---- Tap and source. Main thread ----

    using Tap = std::function<void(const Arrival&)>;
    /// `tap` is called with each result, before the result is delivered. An empty one ends that. Clears, and counts jobs from 1.
    void setTap(Tap tap);
    /// Not owned. Null ends it. Clears, and counts jobs from 1.
    void setSource(InboxSource* source);
    /// Blocks until each of these results has arrived or cannot arrive any more. False when `patience` ended first.
    [[nodiscard]] bool waitFor(const std::vector<Arrival>& arrivals, std::chrono::milliseconds patience) const;

private:
    void restart();

    std::shared_ptr<InboxState> d; ///< shared with the replies
};
}
