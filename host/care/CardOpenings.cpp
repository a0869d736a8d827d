#include "care/CardOpenings.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Host
{
namespace
{
/// Table pixels; the plug-ins put what they open exactly there.
constexpr float kSamePlacePx = 1.f;

bool opensByItself(const Trellis::Widget& widget)
{
    const auto& operators = widget.operators();
    return std::any_of(operators.begin(), operators.end(),
                       [](const auto& op) { return dynamic_cast<const Tavola::LaunchedContentOperator*>(op.get()) != nullptr; });
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
        if (opensByItself(*child))
            continue;
        for (const Tactile::InputChange& change : sample.changes)
            if (change.kind == Tactile::InputChange::Kind::Down && change.object.isMarker()
                && isAt(*child, change.object.centerLocation())) {
                found.push_back({Bedrock::IntrusiveWeakPtr<Trellis::Widget>(child), Tactile::Marker(change.object)});
                break;
            }
    }
    m_open.erase(std::remove_if(m_open.begin(), m_open.end(), [](const CardOpening& opening) { return !opening.widget.lock(); }),
                 m_open.end());
    m_open.insert(m_open.end(), found.begin(), found.end());
    return found;
}

std::optional<std::uint64_t> CardOpenings::codeOf(const Trellis::Widget& widget) const
{
    for (const CardOpening& opening : m_open)
        if (opening.widget.lock().get() == &widget)
            return opening.card.code();
    return std::nullopt;
}
}
