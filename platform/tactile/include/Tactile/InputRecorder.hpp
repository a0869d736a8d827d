#pragma once

#include <Vecta/Rect.hpp>

#include <cstdint>
#include <vector>

namespace Tactile
{
struct Datagram;
struct SurfaceArea;
struct TuioSettings;

/// Receives everything that a TuioInput is given, in order; a DatagramRecorder writes it to a file. All functions are called
/// on the input thread or the main thread, one at a time (under the input's lock), and must return soon.
class InputRecorder
{
public:
    virtual ~InputRecorder() = default;

    /// The settings of the input. Comes first, once.
    virtual void settings(const TuioSettings& settings) = 0;
    /// Datagrams of the `index`th source map to `tableRect` (scene pixels) from here on.
    virtual void listener(std::uint16_t index, const Vecta::Rect& tableRect) = 0;
    /// Contacts of the `index`th source that appear in `areas` are ignored from here on. Comes after its listener().
    virtual void ignoredAreas(std::uint16_t index, const std::vector<SurfaceArea>& areas) = 0;
    virtual void datagram(std::uint16_t listener, const Datagram& datagram) = 0;
    /// A sample was taken: a frame used what came before.
    virtual void frameTaken(double nowSeconds) = 0;
};
}
