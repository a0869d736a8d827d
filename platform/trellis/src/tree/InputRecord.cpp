#include "tree/InputRecord.hpp"

#include <Trellis/Widget.hpp>

namespace Trellis
{
namespace
{
const Facet::AttributeName kInputTransparent("input-transparent");
}

InputRecord::InputRecord(Widget* host) : inputTransparent(host, kInputTransparent, false), grabber(*host) {}
}
