#pragma once

#include <Bedrock/Export.hpp>

namespace Facet
{
class Node;
}

namespace Trellis
{
class Widget;

/// Holds fingers and markers for a widget, which owns it; each widget has one.
class TAVOLA_EXPORT InputGrabber
{
public:
    explicit InputGrabber(Widget& host) : m_host(host) {}
    InputGrabber(const InputGrabber&) = delete;
    InputGrabber& operator=(const InputGrabber&) = delete;

    /// The node that the input goes to.
    [[nodiscard]] Facet::Node* host() const noexcept;
    [[nodiscard]] Widget& widget() const noexcept { return m_host; }

private:
    Widget& m_host;
};
}
