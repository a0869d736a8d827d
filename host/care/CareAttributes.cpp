#include "care/CareAttributes.hpp"

#include "care/FieldFocus.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
constexpr char kPlacement[] = "placement";
constexpr char kKeepClear[] = "keep-clear";
constexpr char kInUse[] = "in-use";
constexpr char kTakesFocus[] = "takes-focus";
constexpr char kStays[] = "stays";
constexpr char kOpenedClasses[] = "opened-classes";

using PlacementAttribute = Facet::AttributeT<Placement>;
using FlagAttribute = Facet::AttributeT<bool>;
using NamesAttribute = Facet::AttributeT<QStringList>;

std::unique_ptr<Facet::Attribute> makePlacement(Trellis::Widget& widget, const QByteArray& name)
{
    const PlacementAttribute::Names names{{QStringLiteral("at"), Placement::At},
                                          {QStringLiteral("beside"), Placement::Beside},
                                          {QStringLiteral("below"), Placement::Below},
                                          {QStringLiteral("above"), Placement::Above}};
    return std::make_unique<PlacementAttribute>(&widget, name, names, Placement::At);
}

std::unique_ptr<Facet::Attribute> makeFlag(Trellis::Widget& widget, const QByteArray& name)
{
    return std::make_unique<FlagAttribute>(&widget, name, false);
}

std::unique_ptr<Facet::Attribute> makeTakesFocus(Tavola::InputFieldWidget& field, const QByteArray& name)
{
    field.addOperator(Bedrock::makeIntrusive<FieldFocus>());
    return std::make_unique<FlagAttribute>(&field, name, false);
}

std::unique_ptr<Facet::Attribute> makeNames(Trellis::Widget& widget, const QByteArray& name)
{
    return std::make_unique<NamesAttribute>(&widget, name, QStringList());
}

bool hasFlag(const Trellis::Widget& widget, const char* name)
{
    const auto* const flag = dynamic_cast<const FlagAttribute*>(widget.attribute(name));
    return flag && flag->value();
}

void collect(const Trellis::Widget& widget, const Vecta::Transform& fromScene, std::vector<Vecta::Rect>& found)
{
    for (const auto& child : widget.children()) {
        if (!child->isVisible())
            continue;
        if (hasFlag(*child, kKeepClear))
            found.push_back((fromScene * child->transformToScene()).mapBounds({0.f, 0.f, child->size().x, child->size().y}));
        collect(*child, fromScene, found);
    }
}
}

CareAttributes::CareAttributes()
    : m_placement(kPlacement, makePlacement), m_keepClear(kKeepClear, makeFlag), m_inUse(kInUse, makeFlag),
      m_takesFocus(kTakesFocus, makeTakesFocus), m_openedClasses(kOpenedClasses, makeNames), m_stays(kStays, makeFlag)
{
}

Placement CareAttributes::placementOf(const Trellis::Widget& widget)
{
    const auto* const placement = dynamic_cast<const PlacementAttribute*>(widget.attribute(kPlacement));
    return placement ? placement->value() : Placement::At;
}

std::vector<Vecta::Rect> CareAttributes::keptClear(const Trellis::Widget& widget)
{
    // The widget's opacity does not count: it may be fading in.
    std::vector<Vecta::Rect> found;
    const Vecta::Transform toScene = widget.transformToScene();
    // One that comes growing has its whole size at once.
    const float growth = widget.scale() > 0.f ? widget.scaleAtRest() / widget.scale() : 1.f;
    const auto unturned = Vecta::Transform::scaling(growth) * Vecta::Transform::rotation(-std::atan2(toScene.m21, toScene.m11))
        * Vecta::Transform::translation(-widget.mapToScene({}));
    collect(widget, unturned, found);
    return found;
}

bool CareAttributes::stays(const Trellis::Widget& widget)
{
    return hasFlag(widget, kStays);
}

QStringList CareAttributes::openedClasses(const Trellis::Widget& detector)
{
    const auto* const names = dynamic_cast<const NamesAttribute*>(detector.attribute(kOpenedClasses));
    return names ? names->value() : QStringList();
}

bool CareAttributes::isInUse(const Trellis::Widget& widget)
{
    if (hasFlag(widget, kInUse))
        return true;
    const auto& children = widget.children();
    return std::any_of(children.begin(), children.end(), [](const auto& child) { return child->isVisible() && isInUse(*child); });
}
}
