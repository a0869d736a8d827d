#pragma once

#include "care/CardOpenings.hpp"
#include "care/CareSettings.hpp"

#include <Facet/Node.hpp>

#include <optional>
#include <vector>

namespace Tactile
{
struct Sample;
}

namespace Host
{
class CloseHandle;

/// Closes what visitors opened and left: children of a layer with the class of temporary content, which everything gets that a
/// card opened. Each of these has a clock of its own that any use restarts: a finger anywhere inside its outline, a move or turn
/// of the widget or its card, putting down or lifting that card, typing, and work in it ("in-use", for at most
/// `kLongestWorkSeconds` more than it would stay without). For the last `kClosingSeconds` it has the pseudo-class "closing"; then
/// it fades out. What opened at a card has a CloseHandle. Once its card is lifted the time until it closes is a setting of its
/// own. All time is frame time. Main thread only.
class UseClock
{
public:
    static constexpr float kClosingSeconds = 15.f;
    static constexpr float kLongestWorkSeconds = 60.f;

    explicit UseClock(const CareSettings& settings) : m_settings(settings) {}
    ~UseClock();
    UseClock(const UseClock&) = delete;
    UseClock& operator=(const UseClock&) = delete;

    /// What opened at a card in this frame. It gets the class of temporary content, and its handle; what was launched, such as a
    /// folder's content, neither.
    void add(const CardOpening& opening);
    /// Once a frame, after the input.
    void update(const Trellis::Widget& layer, const Tactile::Sample& sample, float dtSeconds);
    /// Whether anything is open.
    [[nodiscard]] bool isAnyOpen() const noexcept { return !m_entries.empty(); }

private:
    struct Entry
    {
        long widgetId = 0;
        bool isPresent = true; ///< in this frame
        std::optional<Tactile::Marker> card;
        bool isCardLying = true;
        Bedrock::IntrusiveWeakPtr<Trellis::Widget> handle;
        float unusedSeconds = 0.f;    ///< the clock
        float untouchedSeconds = 0.f; ///< the same, without restarts by work
        double fingerIdleSeconds = 0.0;
        Vecta::Vector2f center;
        float rotation = 0.f;
    };

    void watchTyping(Trellis::Widget* focus);
    Entry& entryOf(const Trellis::Widget& widget);
    bool isUsed(Entry& entry, const Trellis::Widget& widget, const Tactile::Sample& sample, float dtSeconds) const;
    bool isCardUsed(Entry& entry, const Tactile::Sample& sample) const;
    void pass(Entry& entry, Trellis::Widget& widget, bool isUsed, float dtSeconds);
    [[nodiscard]] float limitOf(const Entry& entry) const;

    CareSettings m_settings;
    float m_sinceWorkCheckSeconds = 0.f;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_focus; ///< the text that is typed into
    std::optional<Facet::Node::ListenerId> m_typing;
    bool m_isTyped = false; ///< since the last update
    std::vector<Entry> m_entries;
};
}
