#include "care/CardOpenings.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <iterator>

namespace Host
{
namespace
{
/// Table pixels; the plug-ins put what they open exactly there.
constexpr float kSamePlacePx = 1.f;

/// The point of the layer at which content or a menu opens by itself; nothing for other widgets.
std::optional<Vecta::Vector2f> launchPoint(const Trellis::Widget& widget)
{
    for (const auto& op : widget.operators())
        if (const auto* const opening = dynamic_cast<const Tavola::LaunchedContentOperator*>(op.get()))
            return opening->point();
    if (dynamic_cast<const Tavola::ContentMenuWidget*>(&widget) && !widget.children().empty())
        return widget.children().front()->mapToScene(widget.children().front()->size() / 2.f);
    return std::nullopt;
}

/// The card that came or went nearest to a point in this frame; null when none did.
const Tactile::TrackedObject* nearestCard(const Tactile::Sample& sample, Vecta::Vector2f point)
{
    const Tactile::TrackedObject* nearest = nullptr;
    for (const Tactile::InputChange& change : sample.changes) {
        if (change.kind == Tactile::InputChange::Kind::Move || !change.object.isMarker())
            continue;
        if (!nearest || (change.object.centerLocation() - point).length() < (nearest->centerLocation() - point).length())
            nearest = &change.object;
    }
    return nearest;
}

bool isAt(const Trellis::Widget& widget, Vecta::Vector2f point)
{
    return (widget.mapToScene(widget.size() / 2.f) - point).length() < kSamePlacePx
        || (widget.mapToScene({}) - point).length() < kSamePlacePx;
}
}

std::vector<CardOpening> CardOpenings::find(const Trellis::Widget& layer, const Tactile::Sample& sample)
{
    std::vector<CardOpening> found;
    const long newestBefore = m_newestChild;
    for (const auto& child : layer.children()) {
        if (child->id() <= newestBefore)
            continue;
        m_newestChild = std::max(m_newestChild, child->id());
        if (const auto point = launchPoint(*child)) {
            if (const auto* const card = nearestCard(sample, *point))
                found.push_back({Bedrock::IntrusiveWeakPtr<Trellis::Widget>(child), Tactile::Marker(*card), true});
            continue;
        }
        // A detector that opens later takes cards that have lain there before.
        for (const Tactile::Marker& card : sample.markers)
            if (isAt(*child, card.centerLocation())) {
                found.push_back({Bedrock::IntrusiveWeakPtr<Trellis::Widget>(child), card, false});
                break;
            }
    }
    m_open.erase(std::remove_if(m_open.begin(), m_open.end(), [](const CardOpening& opening) { return !opening.widget.lock(); }),
                 m_open.end());
    std::copy_if(found.begin(), found.end(), std::back_inserter(m_open),
                 [](const CardOpening& opening) { return !opening.isLaunched; });
    return found;
}

std::optional<std::uint64_t> CardOpenings::codeOf(const Trellis::Widget& widget) const
{
    for (const CardOpening& opening : m_open)
        if (opening.widget.lock().get() == &widget)
            return opening.card.code();
    return std::nullopt;
}

bool CardOpenings::isOpen(std::uint64_t code) const
{
    return std::any_of(m_open.begin(), m_open.end(), [code](const CardOpening& opening) { return opening.card.code() == code; });
}
}
