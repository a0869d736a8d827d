#pragma once

#include "values/Shorthand.hpp"

namespace Cascara
{
/// `transition` and `animation`, which stand for the longhands of motion.
class MotionShorthand
{
public:
    [[nodiscard]] static bool isShorthand(const QByteArray& name);
    /// The longhands it stands for.
    [[nodiscard]] static std::vector<QByteArray> attributes(const QByteArray& name);
    /// A checked value for each of them, or the word that every attribute takes. False, with the reason in `error`, for what
    /// cannot be parted.
    [[nodiscard]] static bool expand(const QByteArray& name, const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts,
                                     QString& error);
};
}
