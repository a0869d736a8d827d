#pragma once

#include "picture/ImageReading.hpp"

namespace Trellis
{
/// As readImage; a picture that Bedrock::DecodedFiles keeps is not decoded, and one that was decoded is kept there. Any thread.
[[nodiscard]] ReadImage readKeptImage(const QString& path, const ImageSize& wanted);
}
