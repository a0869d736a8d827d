#pragma once

#include <Tavola/KeyboardRequest.hpp>

#include <optional>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Keeps a keyboard beside a widget as the widget moves, turns and is scaled, at its own size on the table. Owned by the
/// keyboard; main thread only.
class KeyboardStand
{
public:
    /// Puts `keyboard`, a child of `carrier`, beside `anchor`, as the user interface says; all are on the table. Does nothing
    /// while nothing has changed since the last call.
    void follow(Trellis::Widget& keyboard, const Trellis::Widget& carrier, const Trellis::Widget& anchor,
                const Trellis::Widget& field);

private:
    std::optional<KeyboardRequest> m_last;
};
}
