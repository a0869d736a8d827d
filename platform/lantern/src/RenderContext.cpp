#include <Lantern/RenderContext.hpp>

namespace Lantern
{
RenderContext::~RenderContext() = default;
}
