#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Bedrock
{
/// When results of asynchronous work reach the main thread. Usually that is whenever they are ready, and this class does
/// next to nothing. While a table is recorded it holds each result until the next frame begins and tells which ones that
/// frame took; in a replay it holds them until the same frame, so that the frame finds the tree that it found on the day.
///
/// Whoever begins such work takes a ticket, on the main thread; tickets are numbered, and a replay gives the same numbers.
/// Whoever has the result hands it over under its ticket:
///
///     const auto ticket = Arrivals::instance().begin('i');
///     pool.start([ticket, …] { Arrivals::instance().deliver(ticket, [result = work()] { … }); });
///
/// or, where code that knows nothing of tickets queues functions with AfterUpdateQueue, opens a Scope around it.
/// What comes from other machines is asked for, so that a replay has the answer and asks nobody:
///
///     const auto ticket = Arrivals::instance().ask('j', [](const QByteArray& answer) { … });
///     if (!Arrivals::instance().isReplaying())
///         … and once it is there: Arrivals::instance().answer(ticket, bytes);
///
/// Any thread, where nothing else is said.
class TAVOLA_EXPORT Arrivals
{
public:
    /// 0 is no ticket: its results go on at once.
    using Ticket = std::uint64_t;
    using Answered = std::function<void(const QByteArray& answer)>;

    /// One result that a frame took.
    struct Arrival
    {
        Ticket ticket = 0;
        std::uint16_t part = 0; ///< of the results under that ticket, from 0
        char kind = 0;          ///< as given to begin() or ask()
        QByteArray answer;      ///< null where nothing was asked for
    };

    /// The process's own.
    [[nodiscard]] static Arrivals& instance();
    Arrivals();
    ~Arrivals();
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;

    // ---- For whoever works asynchronously ----

    /// A ticket for work that begins now; 0 while nothing is recorded or replayed, and off the main thread, where the order of
    /// tickets would be anybody's guess.
    [[nodiscard]] Ticket begin(char kind);
    /// Calls `function` on the main thread when the frame begins that takes it; with no ticket, here and now.
    void deliver(Ticket ticket, std::function<void()> function);
    /// Nothing more comes under that ticket. For work that may deliver nothing: a replay would wait for it otherwise.
    void ended(Ticket ticket);

    /// Like begin; `answered` is called once, with what is given to answer(), or never. Main thread.
    [[nodiscard]] Ticket ask(char kind, Answered answered);
    /// Without recording or replay `answered` is called here and now; otherwise on the main thread when a frame begins. An answer
    /// to what is not asked any more is dropped.
    void answer(Ticket ticket, const QByteArray& bytes);

    /// What the thread adds to an AfterUpdateQueue while this lives belongs to a ticket.
    class TAVOLA_EXPORT Scope
    {
    public:
        explicit Scope(Ticket ticket) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        /// Of the calling thread; 0 outside of scopes.
        [[nodiscard]] static Ticket current() noexcept;

    private:
        Ticket m_before;
    };

    // ---- For whoever turns the crank. Main thread ----

    /// Calls what the frame that begins now takes, and returns how many functions it were. A function that throws is logged as an
    /// error; the others still run.
    int admit();
    [[nodiscard]] bool isWaiting() const;

    // ---- For whoever records and replays. Main thread ----

    /// From here on `taken` hears of each result that a frame takes, before it is called.
    void startRecording(std::function<void(const Arrival&)> taken);
    void startReplaying();
    /// Drops what is held, and is as it was before a start.
    void stop();
    [[nodiscard]] bool isReplaying() const noexcept;
    /// What the next frame of a replay is to take, in this order.
    void expect(std::vector<Arrival> arrivals);
    /// Waits at most that long for results that are expected and still on their way; true when there are none.
    [[nodiscard]] bool waitForExpected(std::chrono::milliseconds patience);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
