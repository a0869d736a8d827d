#pragma once

#include "text/TextFormat.hpp"

#include <Vecta/Vector2T.hpp>

#include <QString>

#include <cstddef>
#include <optional>

namespace Trellis
{
/// The sizes of texts that were measured last, by text, format and width: a space that opens has the texts of the one before, and
/// breaking them into lines takes a tenth of the time in which it opens. Main thread only.
class TextMeasures
{
public:
    /// At least so many are kept, and at most twice as many.
    static constexpr std::size_t kKept = 256;

    /// Nothing for a text that was not measured, or not of late.
    [[nodiscard]] static std::optional<Vecta::Vector2f> find(const QString& text, const TextFormat::Pointer& format,
                                                             float widthPx);
    static void keep(const QString& text, const TextFormat::Pointer& format, float widthPx, Vecta::Vector2f size);
    /// Call when fonts have changed.
    static void clear();
};
}
