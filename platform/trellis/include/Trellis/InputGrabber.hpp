#pragma once

#include <Bedrock/Export.hpp>

namespace Facet
{
class Node;
}

namespace Trellis
{
class Widget;

/// What holds a finger or marker: each widget has one. Belongs to its widget.
class TAVOLA_EXPORT InputGrabber
{
public:
    explicit InputGrabber(Widget& host) : m_host(host) {}
    InputGrabber(const InputGrabber&) = delete;
    InputGrabber& operator=(const InputGrabber&) = delete;

    /// The node that the input goes to.
    [[nodiscard]] Facet::Node* host() const noexcept;

private:
    friend class GrabManager;
    Widget& m_host;
};
}
