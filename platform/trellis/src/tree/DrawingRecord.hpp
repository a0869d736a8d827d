#pragma once

#include "tree/Background.hpp"
#include "tree/RareAttributes.hpp"
#include "tree/Reach.hpp"
#include "tree/ShadowList.hpp"
#include "tree/WidgetLayer.hpp"

#include <Bedrock/Color.hpp>
#include <Facet/AttributeT.hpp>
#include <Lantern/BoxFill.hpp>
#include <Lantern/RoundBox.hpp>
#include <Vecta/Rect.hpp>

#include <QImage>
#include <QSize>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace Trellis
{
class Widget;

enum class Overflow {
    Visible,
    Hidden ///< children are neither drawn nor touched outside the widget
};

struct Border
{
    explicit Border(Widget* host);
    Facet::AttributeT<Bedrock::Color> color;
    Facet::AttributeT<float> width, radius;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// A value of a side or a corner, or none: then it has that of `border-width`, `border-color` or `border-radius`. Written as that
/// type is, or as `auto`.
template <class T>
struct OwnOrCommon
{
    std::optional<T> own;
    [[nodiscard]] const T& valueOr(const T& common) const { return own ? *own : common; }
    friend bool operator==(const OwnOrCommon& a, const OwnOrCommon& b) { return a.own == b.own; }
};

struct BorderSides
{
    explicit BorderSides(Widget* host);
    Facet::AttributeT<OwnOrCommon<float>> topWidth, rightWidth, bottomWidth, leftWidth;
    Facet::AttributeT<OwnOrCommon<Bedrock::Color>> topColor, rightColor, bottomColor, leftColor;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

struct BorderCorners
{
    explicit BorderCorners(Widget* host);
    Facet::AttributeT<OwnOrCommon<float>> topLeft, topRight, bottomRight, bottomLeft;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

struct Decoration
{
    explicit Decoration(Widget* host);
    Facet::AttributeT<ShadowList> boxShadow;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

struct BackgroundAttributes
{
    explicit BackgroundAttributes(Widget* host);
    Facet::AttributeT<BackgroundImages> images;
    Facet::AttributeT<BackgroundSizes> sizes;
    Facet::AttributeT<BackgroundPositions> positions;
    Facet::AttributeT<BackgroundRepeats> repeats;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// A file of `background-image`.
struct BackgroundPicture
{
    QString file;
    QImage image;   ///< null as long as it is not read, and where it cannot be
    QSize fullSize; ///< pixels of the file
};

/// What is drawn of a widget, and what DamageTracker keeps of it.
struct DrawingRecord
{
    explicit DrawingRecord(Widget* host);

    Facet::AttributeT<float> opacity; ///< may be written as a percentage
    Facet::AttributeT<Bedrock::Color> backgroundColor;
    Facet::AttributeT<Overflow> overflow;
    RareAttributes<Border> border;
    RareAttributes<BorderSides> sides;
    RareAttributes<BorderCorners> corner;
    RareAttributes<Decoration> decoration;
    RareAttributes<BackgroundAttributes> background;
    std::unique_ptr<std::vector<BackgroundPicture>> pictures; ///< one for each of `background-image`; null for none

    Reach reach;
    // What is kept of how it was drawn is in the widget's own coordinates, so that it moves along with all around it.
    Vecta::Rect drawnBox;               ///< the area of the widget itself when last accounted for
    bool wasShown : 1;                  ///< when last accounted for: then the area of it and what was in it was `reach`
    bool redrawQueued : 1;              ///< waits to be accounted for, as are the next four
    bool ownRedrawQueued : 1;           ///< its own appearance or size changed
    bool moveQueued : 1;                ///< it changed its place, or came or left, with all that is in it
    bool scaleQueued : 1;               ///< what is in it may have another size in the scene
    bool childrenMoveQueued : 1;        ///< all that it covers is drawn anew
    bool inTree : 1;                    ///< the application's main layer or below it; written by Widget
    bool keepsChildren : 1;             ///< each child is drawn on whole pixels, and may be kept as a picture
    bool holdsKept : 1;                 ///< the same of it, or of a widget that is or once was in it
    std::unique_ptr<WidgetLayer> layer; ///< of a child of a widget that keeps its children

    /// As it is written: sides may be wider than the widget, corners rounder.
    [[nodiscard]] Lantern::BoxFrame frame() const;
    [[nodiscard]] Lantern::Corners corners() const;
    /// What the widget itself draws on, of which `box` is what it covers.
    [[nodiscard]] Vecta::Rect drawnArea(const Vecta::Rect& box) const { return decoration->boxShadow.value().reach(box); }
    [[nodiscard]] bool clips() const { return overflow.value() == Overflow::Hidden; }
};
}

namespace Facet
{
template <class T>
struct StyleConversion<Trellis::OwnOrCommon<T>>
{
    static bool read(const StyleValue& value, Trellis::OwnOrCommon<T>& result, QString* error)
    {
        result.own.reset();
        if (singleWord(value).compare(QLatin1String("auto"), Qt::CaseInsensitive) == 0)
            return true;
        T own{};
        if (!StyleConversion<T>::read(value, own, error))
            return false;
        result.own = own;
        return true;
    }
    static QString write(const Trellis::OwnOrCommon<T>& value)
    {
        return value.own ? StyleConversion<T>::write(*value.own) : QStringLiteral("auto");
    }
};
}
