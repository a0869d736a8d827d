#include "detector/WidgetTesselDetectorOperator.hpp"

#include "detector/PersonalTesselDetectorWidget.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <vector>

namespace Tavola
{
namespace
{
void reportCard(Trellis::Widget& widget, std::int64_t markerId)
{
    Trellis::Application& application = *Trellis::Application::instance();
    const auto marker = application.grabManager()->findMarker(markerId, false);
    if (!marker)
        return;
    std::vector<PersonalTesselDetectorWidget*> detectors;
    for (Trellis::Widget* found : application.mainLayer()->findAllByType("PersonalTesselDetectorWidget"))
        // Any widget may have this type name; only the class counts.
        if (auto* detector = dynamic_cast<PersonalTesselDetectorWidget*>(found))
            detectors.push_back(detector);
    if (detectors.empty())
        return;
    if (detectors.size() > 1)
        Bedrock::Trace::warning("WidgetTesselDetectorOperator # Multiple PersonalTesselDetectorWidgets found, using first one");
    detectors.front()->tesselOnWidget(widget, *marker);
}

void trackingChanged(Trellis::Widget& widget, bool on)
{
    if (on) {
        widget.addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
        return;
    }
    const auto operators = widget.operators();
    for (const auto& op : operators)
        if (dynamic_cast<WidgetTesselDetectorOperator*>(op.get()))
            widget.removeOperator(*op);
}
}

WidgetTesselDetectorOperator::WidgetTesselDetectorOperator()
{
    setCSSType("WidgetTesselDetectorOperator");
}

void WidgetTesselDetectorOperator::added(Trellis::Widget& widget)
{
    m_listener = widget.eventAddListenerBd(
        "marker-down",
        [weak = Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&widget)](Bedrock::BinaryData& data) {
            if (const auto self = weak.lock())
                reportCard(*self, data.readInt64());
        },
        Facet::Node::kImmediate);
}

void WidgetTesselDetectorOperator::removed(Trellis::Widget& widget)
{
    widget.eventRemoveListener(m_listener);
}

std::unique_ptr<Facet::Attribute> createTrackTesselsAttribute(Trellis::Widget& widget, const QByteArray& name)
{
    auto attribute = std::make_unique<Facet::AttributeT<bool>>(&widget, name, false);
    // The widget owns the attribute, and the attribute its listener, which therefore never outlives either.
    attribute->addListener([&widget, tracked = attribute.get()] { trackingChanged(widget, tracked->value()); },
                           Facet::Attribute::kValueChanged);
    return attribute;
}
}
