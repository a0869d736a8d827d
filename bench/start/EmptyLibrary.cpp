#include "EmptyLibrary.hpp"

namespace
{
const Bench::Nothing kNothing;
}
