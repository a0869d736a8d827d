#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

class QIODevice;

namespace Bedrock
{
/// Why a picture is not given to a decoder, whatever its size in pixels: a reason with its remedy, parts of a sentence; empty
/// when it may be. Found without decoding anything:
///
/// - PNG: compressed texts and profiles, of which a decoder keeps 8 MB each, already when it is asked for the size;
/// - JPEG: scans, each of which is a pass over all of the picture;
/// - icons: the pictures inside.
///
/// Reads from the beginning of an open device with random access, which it leaves there. Any thread; reads a JPEG to its end.
[[nodiscard]] TAVOLA_EXPORT QString excessivePictureCost(QIODevice& device);
}
