#pragma once

#include <QString>

namespace Tavola
{
/// An accent that is pending until the next letter joins it. An accent and a text that cannot join are typed one after the
/// other, so that no press is lost.
class DeadKeys
{
public:
    /// Whether the text is one of ´ ` ^ ¨ ~.
    [[nodiscard]] static bool isAccent(const QString& text);

    [[nodiscard]] bool isPending() const noexcept { return !m_pending.isEmpty(); }
    [[nodiscard]] const QString& pending() const noexcept { return m_pending; }

    /// For the press of an accent key. Returns what is typed now: the accent itself when it is pressed twice, otherwise the one
    /// that was pending before, if any.
    [[nodiscard]] QString press(const QString& accent);
    /// Returns what is typed for `text` after a pending accent: é for ´ and e, the accent itself for a blank.
    [[nodiscard]] QString join(const QString& text);
    /// Returns the pending accent as a character of its own; none is pending afterwards.
    [[nodiscard]] QString release();
    void forget() { m_pending.clear(); }

private:
    QString m_pending;
};
}
