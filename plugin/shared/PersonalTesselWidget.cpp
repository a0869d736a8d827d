#include "shared/PersonalTesselWidget.hpp"

namespace Tavola
{
PersonalTesselWidget::PersonalTesselWidget(Trellis::Widget* parent) : Trellis::Widget(parent) {}

PersonalTesselWidget::~PersonalTesselWidget() = default;
}
