#pragma once

#include <Tactile/DatagramSource.hpp>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace Tactile
{
struct UdpSettings
{
    /// Numeric IPv4 or IPv6 address, or "localhost". UDP knows no senders' names: whoever reaches this address can put
    /// cards on the table, so it is this machine only unless told otherwise.
    std::string address = "127.0.0.1";
    std::uint16_t port = 3333; ///< 0: the system chooses, see UdpDatagramSource::port
    /// Numeric addresses from which datagrams are taken; empty: from everywhere that reaches `address`.
    std::vector<std::string> allowedSenders;
};

/// Receives UDP datagrams on a thread of its own, which calls the handler. The functions here: the thread that owns the
/// source, except the counter.
class TAVOLA_EXPORT UdpDatagramSource final : public DatagramSource
{
public:
    explicit UdpDatagramSource(UdpSettings settings);
    ~UdpDatagramSource() override;

    /// A failure is logged as an error too.
    [[nodiscard]] bool start(Handler handler) override;
    void stop() override;
    [[nodiscard]] std::string errorText() const override { return m_errorText; }

    /// The port that is listened on; 0 before a start that went well.
    [[nodiscard]] std::uint16_t port() const noexcept { return m_port; }
    /// Datagrams thrown away because their sender is not allowed. Any thread.
    [[nodiscard]] std::uint64_t refusedSenders() const noexcept { return m_refusedSenders; }

private:
    bool fail(std::string text);
    bool readAllowedSenders();
    bool openSocket();
    void run();
    void receiveAll(std::vector<char>& buffer);
    [[nodiscard]] bool isAllowed(const SenderAddress& sender) const noexcept;

    UdpSettings m_settings;
    Handler m_handler;
    std::vector<SenderAddress> m_allowed;
    std::string m_errorText;
    std::thread m_thread;
    int m_socket = -1;
    int m_wakeRead = -1;
    int m_wakeWrite = -1;
    std::uint16_t m_port = 0;
    std::atomic<std::uint64_t> m_refusedSenders{0};
};
}
