#pragma once

#include <Tactile/DatagramSource.hpp>

#include <string>

namespace Tactile
{
/// A source whose datagrams come from a recording, or from the caller of `play`; the handler runs inside that call.
class TAVOLA_EXPORT RecordedDatagramSource final : public DatagramSource
{
public:
    [[nodiscard]] bool start(Handler handler) override;
    void stop() override;
    [[nodiscard]] std::string errorText() const override { return {}; }

    /// Without effect when not started.
    void play(const Datagram& datagram) const;

private:
    Handler m_handler;
};
}
