#pragma once

namespace Storage
{
/// Wakes a thread that polls. Any thread.
class WakeDescriptor
{
public:
    WakeDescriptor();
    ~WakeDescriptor();
    WakeDescriptor(const WakeDescriptor&) = delete;
    WakeDescriptor& operator=(const WakeDescriptor&) = delete;

    void wake() const;
    /// Waits until wake() was called, `other` is readable (-1: none) or the time is over (-1: no limit). Forgets calls of wake().
    /// Returns whether `other` is readable. One thread.
    [[nodiscard]] bool wait(int other, int milliseconds) const;

private:
    int m_descriptor;
};
}
