#pragma once

#include <Tactile/DatagramSource.hpp>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace Tactile
{
struct NetworkSettings
{
    /// Numeric IPv4 or IPv6 address, or "localhost". TUIO has no authentication: every machine that reaches this address can
    /// put cards on the table. So the default is this machine only.
    std::string address = "127.0.0.1";
    std::uint16_t port = 3333; ///< 0: the system chooses, see NetworkDatagramSource::port
    /// Numeric addresses of the senders that are allowed; empty: all that reach `address`.
    std::vector<std::string> allowedSenders;
};

/// Base of the sources that listen on a port: the port, the allowed senders, and an input thread for each source, which
/// calls the handler. Make a UdpDatagramSource or a TcpDatagramSource. The functions belong to the thread that owns the
/// source, except the counters.
class TAVOLA_EXPORT NetworkDatagramSource : public DatagramSource
{
public:
    ~NetworkDatagramSource() override;
    NetworkDatagramSource(const NetworkDatagramSource&) = delete;
    NetworkDatagramSource& operator=(const NetworkDatagramSource&) = delete;

    /// Logs a failure as an error.
    [[nodiscard]] bool start(Handler handler) final;
    void stop() final;
    [[nodiscard]] std::string errorText() const final { return m_errorText; }

    /// The port that is listened on; 0 before a successful start.
    [[nodiscard]] std::uint16_t port() const noexcept { return m_port; }
    /// Datagrams, or connections, refused because their sender is not allowed. Any thread.
    [[nodiscard]] std::uint64_t refusedSenders() const noexcept { return m_refusedSenders; }
    /// Connections that never sent a packet and were closed to make room for another; always 0 for datagrams. Any thread.
    [[nodiscard]] std::uint64_t silentConnections() const noexcept { return m_silentConnections; }

protected:
    enum class Transport { Datagrams, Streams };
    /// `name`: the class, for the log; must outlive the source.
    NetworkDatagramSource(const char* name, Transport transport, NetworkSettings settings);

    /// Runs on the source's thread and returns when isWoken(). A derived class calls stop() in its destructor.
    virtual void receive() = 0;

    // For receive().
    [[nodiscard]] int listeningSocket() const noexcept { return m_socket; }
    /// Becomes readable when receive() must return.
    [[nodiscard]] int wakeDescriptor() const noexcept { return m_wakeRead; }
    [[nodiscard]] bool isWoken() const;
    /// Whether `sender` may send. If not, counts it, and logs the first with `what` it sent, such as "a datagram".
    [[nodiscard]] bool isAllowed(const SenderAddress& sender, const char* what);
    void countSilentConnection() noexcept { ++m_silentConnections; }
    /// Calls the handler; logs what it throws.
    void deliver(const Datagram& datagram) const;

private:
    bool fail(const std::string& text);
    bool readAllowedSenders();
    bool openSocket();
    bool openPipe();

    const char* m_name;
    Transport m_transport;
    NetworkSettings m_settings;
    Handler m_handler;
    std::vector<SenderAddress> m_allowed;
    std::string m_errorText;
    std::thread m_thread;
    int m_socket = -1;
    int m_wakeRead = -1;
    int m_wakeWrite = -1;
    std::uint16_t m_port = 0;
    std::atomic<std::uint64_t> m_refusedSenders{0};
    std::atomic<std::uint64_t> m_silentConnections{0};
};
}
