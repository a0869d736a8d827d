#pragma once

#include <Tactile/DatagramSource.hpp>

#include <string>
#include <utility>
#include <vector>

namespace TestSupport
{
/// A datagram source that a test feeds by hand; the handler runs inside `send`, on the test's thread.
class ScriptedDatagrams final : public Tactile::DatagramSource
{
public:
    bool start(Handler handler) override
    {
        if (!m_startError.empty())
            return false;
        m_handler = std::move(handler);
        return true;
    }
    void stop() override { m_handler = nullptr; }
    [[nodiscard]] std::string errorText() const override { return m_startError; }

    void failToStart(std::string text) { m_startError = std::move(text); }
    [[nodiscard]] bool isStarted() const { return m_handler != nullptr; }

    void send(const std::vector<char>& packet,
              const Tactile::SenderAddress& sender = Tactile::SenderAddress::fromIpv4(127, 0, 0, 1, 5000))
    {
        if (m_handler)
            m_handler({packet.data(), packet.size(), sender});
    }

private:
    Handler m_handler;
    std::string m_startError;
};
}
