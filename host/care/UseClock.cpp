#include "care/UseClock.hpp"

#include "care/CareAttributes.hpp"
#include "care/CloseHandle.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using Vecta::Vector2f;

/// More than the tremor of a tracker.
constexpr float kMovedPx = 3.f;
constexpr float kTurnedRadians = 0.05f;
constexpr float kWorkCheckSeconds = 1.f;

bool hasTurned(float before, float now)
{
    return std::abs(std::sin((now - before) / 2.f)) * 2.f > kTurnedRadians;
}

bool hasFingerInside(const Trellis::Widget& widget, const Tactile::Sample& sample)
{
    const auto isInside = [&widget](const Tactile::TrackedObject& object) {
        return object.isFinger() && widget.isInside(widget.mapFromScene(object.centerLocation()));
    };
    return std::any_of(sample.fingers.begin(), sample.fingers.end(), isInside)
        || std::any_of(sample.changes.begin(), sample.changes.end(),
                       [&isInside](const Tactile::InputChange& change) { return isInside(change.object); });
}
}

UseClock::~UseClock()
{
    watchTyping(nullptr);
}

void UseClock::watchTyping(Trellis::Widget* focus)
{
    const auto before = m_focus.lock();
    if (before.get() == focus)
        return;
    if (before && m_typing)
        before->eventRemoveListener(*m_typing);
    m_focus = Bedrock::IntrusiveWeakPtr<Trellis::Widget>(focus);
    m_typing.reset();
    if (focus)
        m_typing = focus->eventAddListener("text-changed", [this] { m_isTyped = true; });
}

void UseClock::add(const CardOpening& opening)
{
    const auto widget = opening.widget.lock();
    if (!widget)
        return;
    Entry& entry = entryOf(*widget);
    entry.card = opening.card;
    if (opening.isLaunched)
        return;
    // A popup that waits for an answer has no such class of its own; it shows a person's address, and that person may have gone.
    widget->addCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
    entry.handle = CloseHandle::addTo(*widget);
}

UseClock::Entry& UseClock::entryOf(const Trellis::Widget& widget)
{
    const auto known =
        std::find_if(m_entries.begin(), m_entries.end(), [&widget](const Entry& entry) { return entry.widgetId == widget.id(); });
    if (known != m_entries.end())
        return *known;
    Entry& entry = m_entries.emplace_back();
    entry.widgetId = widget.id();
    return entry;
}

void UseClock::update(const Trellis::Widget& layer, const Tactile::Sample& sample, float dtSeconds)
{
    m_sinceWorkCheckSeconds += dtSeconds;
    const bool isWorkChecked = m_sinceWorkCheckSeconds >= kWorkCheckSeconds;
    if (isWorkChecked)
        m_sinceWorkCheckSeconds = 0.f;
    for (Entry& entry : m_entries)
        entry.isPresent = false;
    watchTyping(Trellis::Application::instance()->focusWidget());
    const QByteArray temporary = Tavola::Utils::temporaryWidgetCSSClass();
    for (const auto& child : layer.children()) {
        if (!child->hasCSSClass(temporary) || Trellis::FadeAnimator::isFadingOut(*child))
            continue;
        Entry& entry = entryOf(*child);
        entry.isPresent = true;
        const bool used = isUsed(entry, *child, sample, dtSeconds);
        if (isWorkChecked && entry.untouchedSeconds < limitOf(entry) + kLongestWorkSeconds && CareAttributes::isInUse(*child))
            entry.unusedSeconds = 0.f;
        pass(entry, *child, used, dtSeconds);
    }
    m_isTyped = false;
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return !entry.isPresent; }),
                    m_entries.end());
}

bool UseClock::isUsed(Entry& entry, const Trellis::Widget& widget, const Tactile::Sample& sample, float dtSeconds) const
{
    bool used = isCardUsed(entry, sample) || hasFingerInside(widget, sample);
    // A finger on a part that lies outside of the outline, such as a keyboard.
    const double idle = widget.idleSeconds();
    used |= idle < entry.fingerIdleSeconds + double(dtSeconds) / 2.0;
    entry.fingerIdleSeconds = idle;
    const Vector2f center = widget.mapToScene(widget.size() / 2.f);
    if ((center - entry.center).length() > kMovedPx || hasTurned(entry.rotation, widget.rotation())) {
        entry.center = center;
        entry.rotation = widget.rotation();
        used = true;
    }
    const auto focus = m_isTyped ? m_focus.lock() : nullptr;
    return used || (focus && widget.isAncestorOf(*focus));
}

bool UseClock::isCardUsed(Entry& entry, const Tactile::Sample& sample) const
{
    if (!entry.card)
        return false;
    const auto found = std::find_if(sample.markers.begin(), sample.markers.end(),
                                    [&entry](const Tactile::Marker& marker) { return marker.id() == entry.card->id(); });
    const bool wasLying = entry.isCardLying;
    entry.isCardLying = found != sample.markers.end();
    if (entry.isCardLying != wasLying)
        return true;
    if (!entry.isCardLying)
        return false;
    const bool isMoved = (found->centerLocation() - entry.card->centerLocation()).length() > kMovedPx
        || hasTurned(entry.card->rotation(), found->rotation());
    if (isMoved)
        entry.card = *found;
    return isMoved;
}

float UseClock::limitOf(const Entry& entry) const
{
    return entry.card && !entry.isCardLying ? m_settings.closeLiftedAfterSeconds : m_settings.closeAfterSeconds;
}

void UseClock::pass(Entry& entry, Trellis::Widget& widget, bool isUsed, float dtSeconds)
{
    entry.unusedSeconds = isUsed ? 0.f : entry.unusedSeconds + dtSeconds;
    entry.untouchedSeconds = isUsed ? 0.f : entry.untouchedSeconds + dtSeconds;
    const float limit = limitOf(entry);
    const float closing = std::min(kClosingSeconds, limit / 2.f);
    const float left = limit - entry.unusedSeconds;
    widget.setPseudoClass("closing", left <= closing);
    if (const auto handle = entry.handle.lock())
        static_cast<CloseHandle&>(*handle).setRemaining(left <= closing ? std::max(0.f, left / closing) : -1.f);
    if (left <= 0.f)
        Trellis::FadeAnimator::fadeOutAndDelete(widget, CloseHandle::kFadeSeconds, 0.f);
}
}
