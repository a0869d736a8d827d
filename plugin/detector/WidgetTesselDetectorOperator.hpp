#pragma once

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Facet/Node.hpp>
#include <Trellis/Operator.hpp>

#include <QByteArray>

#include <memory>

namespace Facet
{
class Attribute;
}
namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Passes each card that is put on its widget to the first personal marker detector of the table, which collects the widget.
/// Attached by the attribute "track-tessels-on-widget". CSS type "WidgetTesselDetectorOperator". Main thread only.
class WidgetTesselDetectorOperator final : public Trellis::Operator
{
public:
    WidgetTesselDetectorOperator();

    void added(Trellis::Widget& widget) override;
    void removed(Trellis::Widget& widget) override;

private:
    Facet::Node::ListenerId m_listener = 0;
};

/// Creates the attribute "track-tessels-on-widget" (bool, false) of a widget: true attaches an operator, false removes all of
/// them. The style engine calls this when a style first names the attribute for the widget.
[[nodiscard]] std::unique_ptr<Facet::Attribute> createTrackTesselsAttribute(Trellis::Widget& widget, const QByteArray& name);
}
