#include <Lantern/PaintTarget.hpp>

namespace Lantern
{
PaintTarget::~PaintTarget() = default;
}
