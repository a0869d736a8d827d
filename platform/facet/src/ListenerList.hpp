#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Facet
{
/// The next listener id; unique in the process, so that an id can be handed to the wrong object without harm.
[[nodiscard]] long nextListenerId() noexcept;

/// Listeners in the order of registration, which may change while they are called: a listener added during a call waits
/// for the next one, a removed one is not called any more. A function in the middle of its own call stays in place
/// until the outermost call has ended. Calling allocates nothing.
template <class Function>
class ListenerList
{
public:
    void add(long id, Function function) { m_entries.push_back(std::make_unique<Entry>(Entry{id, std::move(function), false})); }

    /// Whether there was such a listener.
    bool remove(long id)
    {
        const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                        [id](const auto& entry) { return entry->id == id && !entry->isRemoved; });
        if (found == m_entries.end())
            return false;
        (*found)->isRemoved = true;
        m_needsSweep = true;
        sweep();
        return true;
    }

    [[nodiscard]] bool isEmpty() const noexcept
    {
        return std::none_of(m_entries.begin(), m_entries.end(), [](const auto& entry) { return !entry->isRemoved; });
    }

    /// Whether there is neither a listener nor a call under way.
    [[nodiscard]] bool isUnused() const noexcept { return m_entries.empty() && m_depth == 0; }

    /// Calls `call(function)` for each listener while `isAlive()` holds. `call` must not throw; the list must outlive it.
    template <class Call, class IsAlive>
    void forEach(IsAlive isAlive, Call call)
    {
        beginCall();
        callAll(isAlive, call);
        if (endCall())
            removeMarked();
    }

protected:
    /// Until `endCall` every function stays in place.
    void beginCall() noexcept { ++m_depth; }
    /// Whether the outermost call has ended and `removeMarked` is to follow.
    [[nodiscard]] bool endCall() noexcept { return --m_depth == 0 && m_needsSweep; }
    template <class Call, class IsAlive>
    void callAll(IsAlive isAlive, Call call)
    {
        const std::size_t count = m_entries.size();
        for (std::size_t i = 0; i < count && isAlive(); ++i) {
            Entry& entry = *m_entries[i];
            if (!entry.isRemoved)
                call(entry.function);
        }
    }
    [[nodiscard]] bool isBeingCalled() const noexcept { return m_depth != 0; }
    /// As if each were removed, but frees none before the outermost call has ended.
    void markAllRemoved() noexcept
    {
        for (const auto& entry : m_entries)
            entry->isRemoved = true;
        m_needsSweep = true;
    }
    /// Apart, so that a call of listeners, which mostly removes none, saves few registers.
    [[gnu::noinline]] void removeMarked()
    {
        m_needsSweep = false;
        // What a function captured may come back here when it is destroyed, so the list is put in order first.
        std::vector<std::unique_ptr<Entry>> removed;
        std::vector<std::unique_ptr<Entry>> kept;
        for (auto& entry : m_entries)
            (entry->isRemoved ? removed : kept).push_back(std::move(entry));
        m_entries = std::move(kept);
    }

private:
    struct Entry
    {
        long id;
        Function function;
        bool isRemoved;
    };

    void sweep()
    {
        if (m_depth == 0 && m_needsSweep)
            removeMarked();
    }

    std::vector<std::unique_ptr<Entry>> m_entries;
    int m_depth = 0;
    bool m_needsSweep = false;
};
}
