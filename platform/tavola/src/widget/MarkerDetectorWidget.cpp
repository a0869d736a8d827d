#include <Tavola/MarkerDetectorWidget.hpp>

#include "shared/AttributeDefaults.hpp"

#include <Trellis/Application.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/GrabManager.hpp>

namespace Tavola
{
namespace
{
constexpr float kFadeOutSeconds = 0.2f;

constexpr AttributeDefault kMarkDefaults[] = {
    {"position", "absolute"},
    {"width", "150"},
    {"height", "150"},
    {"border-radius", "75"},
    {"border-color", "#8899aa"},
    {"border-width", "3"},
    {"input-transparent", "true"},
};
}

MarkerDetectorWidget::MarkerDetectorWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
{
    setDefaults(*this,
                {{"position", "absolute"},
                 {"left", "0"},
                 {"top", "0"},
                 {"width", "100%"},
                 {"height", "100%"},
                 {"input-transparent", "true"}});
    setCSSType("MarkerDetectorWidget");
}

MarkerDetectorWidget::~MarkerDetectorWidget() = default;

void MarkerDetectorWidget::markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager)
{
    auto& mark = m_marks[marker.id()];
    if (!mark) {
        mark = Bedrock::makeIntrusive<Trellis::Widget>(this);
        setDefaults(*mark, kMarkDefaults);
        mark->addCSSClass("unknown-card");
    }
    mark->setCenterLocation(mapFromScene(marker.centerLocation()));
    setUpdating(true);
    Widget::markerDown(marker, grabManager);
}

void MarkerDetectorWidget::markerUp(Tactile::Marker marker, Trellis::GrabManager& grabManager)
{
    const auto found = m_marks.find(marker.id());
    if (found != m_marks.end()) {
        Trellis::FadeAnimator::fadeOutAndDelete(*found->second, kFadeOutSeconds, 0.f);
        m_marks.erase(found);
    }
    setUpdating(!m_marks.empty());
    Widget::markerUp(marker, grabManager);
}

void MarkerDetectorWidget::update(const Trellis::FrameInfo& /*frame*/)
{
    const auto& grabManager = *Trellis::Application::instance()->grabManager();
    for (auto entry = m_marks.begin(); entry != m_marks.end();) {
        const auto marker = grabManager.findMarker(entry->first);
        // Another widget has grabbed the card, of which this one gets no event.
        const bool isOurs = marker && grabManager.grabber(entry->first) == &inputGrabber();
        if (isOurs) {
            const Vecta::Vector2f center = mapFromScene(marker->centerLocation());
            if (center != entry->second->centerLocation())
                entry->second->setCenterLocation(center);
            ++entry;
        } else {
            Trellis::FadeAnimator::fadeOutAndDelete(*entry->second, kFadeOutSeconds, 0.f);
            entry = m_marks.erase(entry);
        }
    }
    setUpdating(!m_marks.empty());
}
}
