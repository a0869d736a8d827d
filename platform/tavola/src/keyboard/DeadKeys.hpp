#pragma once

#include <QString>

namespace Tavola
{
/// An accent that waits for its letter. What cannot join is typed one after the other: nothing is lost.
class DeadKeys
{
public:
    /// Whether the text is one of ´ ` ^ ¨ ~.
    [[nodiscard]] static bool isAccent(const QString& text);

    [[nodiscard]] bool isPending() const noexcept { return !m_pending.isEmpty(); }
    [[nodiscard]] const QString& pending() const noexcept { return m_pending; }
    /// An accent key was pressed. Gives what is typed now: the accent itself when it is pressed twice, otherwise the one
    /// that waited before, if any.
    [[nodiscard]] QString press(const QString& accent);
    /// What is typed for `text` behind a waiting accent: é for ´ and e, the accent itself for a blank.
    [[nodiscard]] QString join(const QString& text);
    /// The waiting accent as a character of its own; nothing waits any more.
    [[nodiscard]] QString take();
    void forget() { m_pending.clear(); }

private:
    QString m_pending;
};
}
