#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <string>

/// Comparing pictures. One that is not as expected leaves three files behind: what was drawn, what was expected, and where
/// they differ. They lie in the folder that TAVOLA_TEST_PICTURES names, or in "tavola-test-pictures" of the temporary one,
/// and begin with the name of the test.
namespace TestSupport
{
/// The largest difference of any colour channel of any pixel; 256 for pictures of different sizes.
[[nodiscard]] int difference(const QImage& a, const QImage& b);
/// Around all pixels that are not black; null when there is none.
[[nodiscard]] QRect litBounds(const QImage& image);

/// Empty when no channel differs by more than `tolerance`; otherwise what differs, and where the three files are.
[[nodiscard]] std::string pictureComplaint(const QImage& actual, const QImage& expected, int tolerance);

/// The folder of the files, and the beginning of their names.
[[nodiscard]] QString pictureFolder();
/// Called by the test program when a test case begins.
void setCurrentTest(const char* name);
}

#define CHECK_PICTURE(actual, expected, tolerance)                                                                               \
    do {                                                                                                                         \
        const std::string pictureComplaint = TestSupport::pictureComplaint((actual), (expected), (tolerance));                   \
        CHECK_MESSAGE(pictureComplaint.empty(), pictureComplaint);                                                               \
    } while (false)
