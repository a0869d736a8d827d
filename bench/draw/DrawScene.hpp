#pragma once

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

#include <vector>

namespace Bench
{
/// One thing on the table, in the coordinates of what it stands in. Plain data: both programs that draw it build their own
/// objects from it.
struct DrawItem
{
    QRectF rect;
    double angleRadians = 0.0; ///< about the top left corner
    QColor ground;             ///< invalid: none
    QColor border;
    double borderWidth = 0.0;
    double borderRadius = 0.0;
    QImage picture; ///< fills the rectangle; null: none
    QString text;   ///< one line from the top left corner
    std::vector<DrawItem> items;
};

/// Black ground, and what stands on it from the bottom to the top.
struct DrawScene
{
    QSize size;
    std::vector<DrawItem> items;
    int spaces = 0; ///< how many of the last items are groups that fade and grow as one
};

/// Groups, slightly turned, of 5 × 5 picture tiles each.
[[nodiscard]] DrawScene groupsScene(QSize size, int groups, unsigned seed);
/// Large pictures, and above them spaces of twelve tiles, each with a line of text, turned as visitors leave them.
[[nodiscard]] DrawScene tableScene(QSize size, int pictures, int spaces, unsigned seed);

inline constexpr int kTextPx = 16;
inline constexpr const char* kTextFamily = "DejaVu Sans";
}
