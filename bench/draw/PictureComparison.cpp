#include "draw/PictureComparison.hpp"

#include <algorithm>
#include <cstdlib>

namespace Bench
{
namespace
{
const QRgb* rowOf(const QImage& picture, int y)
{
    return reinterpret_cast<const QRgb*>(picture.constScanLine(y));
}

bool differs(QRgb a, QRgb b)
{
    constexpr int kClearly = 40;
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))}) > kClearly;
}
}

PictureDifference compare(const QImage& ours, const QImage& oursBefore, const QImage& theirs, const QImage& theirsBefore)
{
    long all = 0;
    long changed = 0;
    long ofChanged = 0;
    for (int y = 0; y < ours.height(); ++y) {
        const QRgb* const our = rowOf(ours, y);
        const QRgb* const their = rowOf(theirs, y);
        const QRgb* const ourBefore = rowOf(oursBefore, y);
        const QRgb* const theirBefore = rowOf(theirsBefore, y);
        for (int x = 0; x < ours.width(); ++x) {
            if (our[x] == their[x] && our[x] == ourBefore[x] && our[x] == theirBefore[x])
                continue; // most of them
            const bool isChanged = differs(our[x], ourBefore[x]) || differs(their[x], theirBefore[x]);
            const bool isDifferent = differs(our[x], their[x]);
            all += isDifferent;
            changed += isChanged;
            ofChanged += isChanged && isDifferent;
        }
    }
    return {double(all) / (double(ours.width()) * ours.height()), double(ofChanged) / double(std::max(changed, 1L)), changed};
}
}
