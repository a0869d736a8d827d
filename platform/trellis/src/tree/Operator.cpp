#include <Trellis/Operator.hpp>

namespace Trellis
{
Operator::Operator() : Cascara::Styleable(static_cast<Facet::Node&>(*this), Cascara::StylePlace::Attached) {}

Operator::~Operator() = default;

void Operator::added(Widget&) {}

void Operator::removed(Widget&) {}

void Operator::update(Widget&, const FrameInfo&) {}
}
