#include "tree/WidgetEngines.hpp"

#include <cassert>

namespace Trellis
{
WidgetEngines* WidgetEngines::s_current = nullptr;

void WidgetEngines::install() noexcept
{
    assert(!s_current && "there is one application");
    s_current = this;
}

void WidgetEngines::retire() noexcept
{
    s_current = nullptr;
}
}
