#include "tree/MotionRecord.hpp"

#include <Trellis/Widget.hpp>

namespace Trellis
{
namespace
{
const Facet::AttributeName kMovable("movable");
const Facet::AttributeName kRotatable("rotatable");
const Facet::AttributeName kScalable("scalable");
const Facet::AttributeName kInertia("inertia");
const Facet::AttributeName kMinScale("min-scale");
const Facet::AttributeName kMaxScale("max-scale");
}

Handling::Handling(Widget* host)
    : movable(host, kMovable, false), rotatable(host, kRotatable, false), scalable(host, kScalable, false),
      inertia(host, kInertia, true), minScale(host, kMinScale, 0.1f), maxScale(host, kMaxScale, 10.f)
{
}

bool Handling::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kMovable, kRotatable, kScalable, kInertia, kMinScale, kMaxScale});
}
}
