#pragma once

#include <Facet/StyleValue.hpp>

#include <QByteArray>
#include <QString>

#include <vector>

namespace Cascara
{
/// Names that stand for several attributes: `border`, a side of it such as `border-top`, `background` and `font`; and the
/// attributes `border-width`, `border-color` and `border-radius`, which reset those of their sides or corners, or give each its
/// own.
class Shorthand
{
public:
    struct Part
    {
        QByteArray attribute;
        Facet::StyleValue value;
    };

    [[nodiscard]] static bool isShorthand(const QByteArray& name);
    /// The attributes it stands for.
    [[nodiscard]] static std::vector<QByteArray> attributes(const QByteArray& name);
    /// A value for each of them: `initial` for one that is not named. False, with the reason in `error`, for what cannot be
    /// parted.
    [[nodiscard]] static bool expand(const QByteArray& name, const Facet::StyleValue& value, std::vector<Part>& parts,
                                     QString& error);
};
}
