#include <Tactile/TcpDatagramSource.hpp>

#include "sources/PacketStream.hpp"
#include "sources/SocketAddress.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/OscDecoder.hpp>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

namespace Tactile
{
namespace
{
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTurn(10);
constexpr int kAcceptedPerTurn = 16;
// A sender that connects again and again with garbage must not fill the log.
constexpr std::chrono::seconds kLogPeriod(10);
constexpr int kLinesPerLogPeriod = 4;

/// Whether it begins as a message or a bundle of OSC does. Any other program's bytes must not keep a tracker's place.
bool beginsAsOsc(const char* data, std::size_t size)
{
    static constexpr char kBundle[] = "#bundle"; // its NUL byte included
    return (size > 0 && *data == '/') || (size >= sizeof kBundle && std::memcmp(data, kBundle, sizeof kBundle) == 0);
}

/// A connection whose machine lost its power ends within half a minute, so that its place is free for another.
void watchForDeadPeer(int descriptor)
{
    const int yes = 1;
    const int idleSeconds = 15;
    const int betweenSeconds = 5;
    const int count = 3;
    ::setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &yes, sizeof yes);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &idleSeconds, sizeof idleSeconds);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &betweenSeconds, sizeof betweenSeconds);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPCNT, &count, sizeof count);
}
}

/// The connections of a source. Made, used and destroyed on the source's thread.
class TcpDatagramSource::Receiver
{
public:
    explicit Receiver(TcpDatagramSource& source) : m_source(source) {}
    ~Receiver()
    {
        for (Connection& connection : m_connections)
            close(connection);
    }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    void run()
    {
        while (wait()) {
            beginTurn();
            for (std::size_t i = 0; i < kMaxConnections; ++i)
                if (m_waiting[2 + i].revents != 0)
                    read(m_connections[i]);
            if (m_waiting[1].revents != 0)
                acceptAll();
        }
    }

private:
    struct Connection
    {
        int descriptor = -1;
        SenderAddress sender;
        std::unique_ptr<PacketStream> stream; // kept for the next connection in this place
        std::uint64_t lastActivity = 0;       // m_activities when it began or last sent bytes
        bool hasSentOsc = false;
        std::size_t packets = 0; // in this turn
        std::size_t bytes = 0;   // in this turn

        [[nodiscard]] bool isOpen() const { return descriptor >= 0; }
        [[nodiscard]] bool isResting() const { return packets >= kPacketsPerTurn || bytes >= kBytesPerTurn; }
    };

    static void watch(pollfd& one, int descriptor)
    {
        one.fd = descriptor;
        one.events = POLLIN;
        one.revents = 0;
    }

    /// Returns when data arrived or a connection has rested for a turn. False when the thread must end.
    bool wait()
    {
        const bool isAccepting = m_accepted < kAcceptedPerTurn;
        bool isOneResting = !isAccepting;
        watch(m_waiting[0], m_source.wakeDescriptor());
        watch(m_waiting[1], isAccepting ? m_source.listeningSocket() : -1);
        for (std::size_t i = 0; i < kMaxConnections; ++i) {
            const Connection& connection = m_connections[i];
            const bool isResting = connection.isOpen() && connection.isResting();
            isOneResting = isOneResting || isResting;
            watch(m_waiting[2 + i], isResting ? -1 : connection.descriptor);
        }
        if (::poll(m_waiting.data(), m_waiting.size(), isOneResting ? static_cast<int>(kTurn.count()) : -1) < 0) {
            if (errno != EINTR) {
                Bedrock::Trace::error("TcpDatagramSource # Failed to wait for packets (%s); it listens no more",
                                      std::generic_category().message(errno).c_str());
                return false;
            }
            for (pollfd& one : m_waiting)
                one.revents = 0;
        }
        return m_waiting[0].revents == 0;
    }

    void beginTurn()
    {
        m_now = Clock::now();
        if (m_now - m_turnBegan < kTurn)
            return;
        m_turnBegan = m_now;
        m_accepted = 0;
        for (Connection& connection : m_connections) {
            const bool hasRested = connection.isOpen() && connection.isResting();
            connection.packets = 0;
            connection.bytes = 0;
            if (hasRested)
                deliverAll(connection); // received before the rest
        }
    }

    void acceptAll()
    {
        while (m_accepted < kAcceptedPerTurn) {
            SocketAddress from;
            const int descriptor = ::accept4(m_source.listeningSocket(), from.get(), &from.size, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (descriptor < 0) {
                if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                    // The socket stays readable; without a rest this would be a busy loop.
                    m_accepted = kAcceptedPerTurn;
                    log(Bedrock::Trace::Level::Warning,
                        "Failed to take a connection (" + std::generic_category().message(errno)
                            + "); raise this machine's limit of open files");
                }
                return;
            }
            ++m_accepted;
            open(descriptor, from.toSender());
        }
    }

    void open(int descriptor, const SenderAddress& sender)
    {
        Connection* place = nullptr;
        if (m_source.isAllowed(sender, "a connection")) {
            place = findPlace(sender);
            if (!place)
                log(Bedrock::Trace::Level::Warning,
                    "Closed the connection of " + sender.toString() + " (" + std::to_string(kMaxConnections)
                        + " that send are open already); check which programs connect there, and use fewer trackers");
        }
        if (!place) {
            ::close(descriptor);
            return;
        }
        watchForDeadPeer(descriptor);
        if (place->stream)
            place->stream->clear();
        else
            place->stream = std::make_unique<PacketStream>();
        place->descriptor = descriptor;
        place->sender = sender;
        place->lastActivity = ++m_activities;
        place->hasSentOsc = false;
        place->packets = 0;
        place->bytes = 0;
    }

    /// A free place, else that of the connection which has been silent for longest without a single OSC packet, else null.
    Connection* findPlace(const SenderAddress& newcomer)
    {
        for (Connection& connection : m_connections)
            if (!connection.isOpen())
                return &connection;
        Connection* silent = nullptr;
        for (Connection& connection : m_connections) {
            if (!connection.hasSentOsc)
                read(connection); // its first packet may have arrived since the last poll
            if (!connection.isOpen())
                return &connection;
            if (!connection.hasSentOsc && (!silent || connection.lastActivity < silent->lastActivity))
                silent = &connection;
        }
        if (!silent)
            return nullptr;
        log(Bedrock::Trace::Level::Warning,
            "Closed the connection of " + silent->sender.toString() + ", which has sent no OSC packet, to make room for "
                + newcomer.toString() + " (" + std::to_string(kMaxConnections)
                + " were open); check which programs connect there without sending OSC, and allow only the trackers");
        close(*silent);
        m_source.countSilentConnection();
        return silent;
    }

    /// Reads once; poll reports what is left.
    void read(Connection& connection)
    {
        if (!connection.isOpen() || connection.isResting())
            return;
        const PacketStream::Room room = connection.stream->room();
        const ssize_t size = ::recv(connection.descriptor, room.data, room.size, 0);
        if (size > 0) {
            connection.stream->add(static_cast<std::size_t>(size));
            connection.bytes += static_cast<std::size_t>(size);
            connection.lastActivity = ++m_activities;
            deliverAll(connection);
        } else if (size == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            if (connection.stream->waiting() > 0)
                log(Bedrock::Trace::Level::Info,
                    "The connection of " + connection.sender.toString() + " ended inside a packet; that packet is lost");
            close(connection);
        }
    }

    void deliverAll(Connection& connection)
    {
        PacketStream& stream = *connection.stream;
        while (connection.packets < kPacketsPerTurn) {
            switch (stream.next()) {
            case PacketStream::Next::Packet:
                ++connection.packets;
                connection.hasSentOsc = connection.hasSentOsc || beginsAsOsc(stream.packet(), stream.packetSize());
                m_source.deliver({stream.packet(), stream.packetSize(), connection.sender});
                break;
            case PacketStream::Next::Incomplete: return;
            case PacketStream::Next::BadLength:
                log(Bedrock::Trace::Level::Warning,
                    "Closed the connection of " + connection.sender.toString() + " (a packet of "
                        + std::to_string(stream.length()) + " bytes, where 1 to " + std::to_string(OscDecoder::kMaxPacketBytes)
                        + " are possible); check which program connects there: the length goes ahead of each packet, in 4 bytes, "
                          "big end first");
                return close(connection);
            }
        }
    }

    static void close(Connection& connection)
    {
        if (connection.isOpen())
            ::close(connection.descriptor);
        connection.descriptor = -1;
    }

    void log(Bedrock::Trace::Level level, std::string text)
    {
        if (m_lines == 0 || m_now - m_logPeriodBegan >= kLogPeriod) {
            m_logPeriodBegan = m_now;
            m_lines = 0;
        }
        if (++m_lines > kLinesPerLogPeriod) {
            ++m_leftOut;
            return;
        }
        if (m_leftOut > 0)
            text += "; " + std::to_string(m_leftOut) + " lines like this were left out before it";
        m_leftOut = 0;
        if (level == Bedrock::Trace::Level::Warning)
            Bedrock::Trace::warning("TcpDatagramSource # %s", text.c_str());
        else
            Bedrock::Trace::info("TcpDatagramSource # %s", text.c_str());
    }

    TcpDatagramSource& m_source;
    std::array<Connection, kMaxConnections> m_connections;
    std::array<pollfd, 2 + kMaxConnections> m_waiting{};
    Clock::time_point m_now = Clock::now();
    Clock::time_point m_turnBegan = m_now;
    int m_accepted = 0;             // in this turn
    std::uint64_t m_activities = 0; // connections that began and reads that brought bytes
    Clock::time_point m_logPeriodBegan = m_now;
    int m_lines = 0; // in this period
    std::uint64_t m_leftOut = 0;
};

TcpDatagramSource::TcpDatagramSource(NetworkSettings settings)
    : NetworkDatagramSource("TcpDatagramSource", Transport::Streams, std::move(settings))
{
}

TcpDatagramSource::~TcpDatagramSource()
{
    stop();
}

void TcpDatagramSource::receive()
{
    Receiver(*this).run();
}
}
