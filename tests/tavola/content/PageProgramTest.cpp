#include "content/PageProgram.hpp"

#include "PdfFile.hpp"

#include <doctest/doctest.h>

#include <QTemporaryDir>

#include <sys/resource.h>

using Tavola::PageLimits;
using Tavola::RenderedPage;
using Tavola::renderPage;

namespace
{
/// A compressed stream; of zlib, as PDF wants it, and Qt puts four bytes in front.
QByteArray stream(const QByteArray& dictionary, const QByteArray& bytes)
{
    return "<< " + dictionary + " /Length " + QByteArray::number(bytes.size()) + " >>\nstream\n" + bytes + "\nendstream";
}

/// A document of one page with these contents and objects from number 5 on.
QByteArray document(const QByteArray& contents, const QByteArray& object = "<< >>")
{
    return PdfFile::of({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents 4 0 R"
                        " /Resources << /XObject << /I 5 0 R >> >> >>",
                        stream("/Filter /FlateDecode", qCompress(contents).mid(4)), object});
}

struct Place
{
    QString write(const QByteArray& bytes) const
    {
        const QString path = folder.filePath(QStringLiteral("a.pdf"));
        PdfFile::writeBytes(path, bytes);
        return path;
    }
    QTemporaryDir folder;
};

bool isWanted()
{
    return false;
}
}

TEST_CASE("page program: a page that takes too long is given up, with a line that says so")
{
    const Place place;
    const QString path = place.write(document(QByteArray("0 0 m 200 100 l S\n").repeated(4000000)));
    PageLimits limits;
    limits.seconds = 0.3;
    const RenderedPage page = renderPage({path, 0, 2000}, limits, isWanted);
    CHECK(page.error == "page 1 takes more than 0.3 s to draw: make it simpler");
    CHECK(page.image.isNull());
}

TEST_CASE("page program: a request that is withdrawn ends the rendering")
{
    const Place place;
    const QString path = place.write(document(QByteArray("0 0 m 200 100 l S\n").repeated(4000000)));
    PageLimits limits;
    limits.seconds = 3600.0;
    int asked = 0;
    CHECK(renderPage({path, 0, 2000}, limits, [&] { return ++asked == 3; }).image.isNull());
    CHECK(asked == 3);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which have no limit of memory
namespace
{
QByteArray big(unsigned value, int bytes)
{
    QByteArray result;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        result += char(value >> shift);
    return result;
}

/// A JPEG 2000 picture of `side` × `side` pixels in three colours, of which few bytes are there.
QByteArray hugePicture(unsigned side)
{
    const QByteArray steps = QByteArray(1, '\x40') + QByteArray(16, '\x48');
    QByteArray codes("\xff\x4f\xff\x51", 4);
    codes += big(47, 2) + big(0, 2) + big(side, 4) + big(side, 4) + big(0, 4) + big(0, 4) + big(side, 4) + big(side, 4)
        + big(0, 4) + big(0, 4) + big(3, 2) + QByteArray("\x07\x01\x01\x07\x01\x01\x07\x01\x01", 9);
    codes += QByteArray("\xff\x52\0\x0c\0\0\0\x01\0\x05\x04\x04\0\x01", 14);
    codes += QByteArray("\xff\x5c", 2) + big(19, 2) + steps;
    codes += QByteArray("\xff\x90", 2) + big(10, 2) + big(0, 2) + big(0, 4) + QByteArray("\0\x01\xff\x93", 4);
    codes += QByteArray(2000, '\x80') + QByteArray("\xff\xd9", 2);
    const QByteArray size = QByteArray::number(side);
    return stream("/Type /XObject /Subtype /Image /Width " + size + " /Height " + size
                      + " /ColorSpace /DeviceRGB /BitsPerComponent 8 /Filter /JPXDecode",
                  codes);
}
}

TEST_CASE("page program: a small file with a huge picture in it takes the memory that is allowed and no more")
{
    const Place place;
    const QString path = place.write(document("q 200 0 0 100 0 0 cm /I Do Q", hugePicture(14000))); // 2.4 GB without a limit
    PageLimits limits;
    limits.megabytes = 500;
    const RenderedPage page = renderPage({path, 0, 400}, limits, isWanted);
    CHECK_FALSE(page.image.isNull());
    CHECK(page.error.isEmpty());
    CHECK(
        page.remark
        == "page 1 is shown without a JPEG 2000 picture that needs more than the limit of 500 MB to decode; make it smaller, or "
           "save it as JPEG");
    rusage used = {};
    REQUIRE(::getrusage(RUSAGE_CHILDREN, &used) == 0);
    CHECK(used.ru_maxrss / 1024 < 500);
    // Other documents fit.
    PdfFile::write(path, {Qt::red});
    const RenderedPage other = renderPage({path, 0, 400}, limits, isWanted);
    CHECK_FALSE(other.image.isNull());
    CHECK(other.remark.isEmpty());
    // A picture that is only odd is drawn: the first attempts of the library fail for it as well.
    place.write(document("q 200 0 0 100 0 0 cm /I Do Q", hugePicture(100)));
    CHECK(renderPage({path, 0, 400}, limits, isWanted).remark.isEmpty());
    place.write(document("q 200 0 0 100 0 0 cm /I Do Q", hugePicture(100).replace("\xff\x5c", "\xff\x00")));
    CHECK(renderPage({path, 0, 400}, limits, isWanted).remark
          == "page 1 is shown without a JPEG 2000 picture that is damaged; save the document anew");
}

TEST_CASE("page program: a page for which there is no memory is a failure")
{
    const Place place;
    PageLimits limits;
    limits.megabytes = 64;
    const QString path = place.write("");
    PdfFile::write(path, {Qt::red}, {1000.0, 1000.0});
    const RenderedPage page = renderPage({path, 0, 4096}, limits, isWanted);
    CHECK(page.image.isNull());
    CHECK_FALSE(page.error.isEmpty());
}
#endif
