#include <Bedrock/PictureCost.hpp>

#include <doctest/doctest.h>

#include <QBuffer>
#include <QtEndian>

namespace
{
QByteArray chunk(const char* kind, quint32 length)
{
    QByteArray bytes(8, 0);
    qToBigEndian(length, bytes.data());
    bytes.replace(4, 4, kind);
    return bytes + QByteArray(int(length) + 4, 'x'); // a check sum is not looked at
}

QByteArray png(const QByteArray& chunks)
{
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", 13) + chunks + chunk("IEND", 0);
}

QByteArray jpeg(int scans)
{
    return QByteArray("\xff\xd8\xff\xe0\0\4ab", 8) + QByteArray("\xff\xda\0\2data\xff\0\xda", 11).repeated(scans) + "\xff\xd9";
}

QByteArray little(quint32 number)
{
    QByteArray bytes(4, 0);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

/// An icon with these pictures behind one another.
QByteArray icon(const QList<QByteArray>& pictures)
{
    QByteArray head("\0\0\1\0", 4);
    head += little(quint32(pictures.size())).left(2);
    QByteArray bodies;
    for (const QByteArray& picture : pictures) {
        head += QByteArray(8, 0) + little(quint32(picture.size())) + little(quint32(6 + 16 * pictures.size() + bodies.size()));
        bodies += picture;
    }
    return head + bodies;
}

std::string excess(const QByteArray& file)
{
    QBuffer device;
    device.setData(file);
    REQUIRE(device.open(QIODevice::ReadOnly));
    device.seek(3);
    const std::string found = Bedrock::excessivePictureCost(device).toStdString();
    CHECK(device.pos() == 0);
    return found;
}
}

TEST_CASE("picture cost: compressed texts in a PNG have a bound, ahead of the pixels and behind them")
{
    const std::string refused = "the texts in it may take more than 128 MB of memory; save it without them";
    CHECK(excess(png({})) == "");
    for (const char* kind : {"zTXt", "iTXt", "iCCP"}) {
        CAPTURE(kind);
        // What takes 24 MB each, and what cannot take as much.
        CHECK(excess(png(chunk(kind, 8000).repeated(5))) == "");
        CHECK(excess(png(chunk(kind, 8000).repeated(6))) == refused);
        CHECK(excess(png(chunk(kind, 100).repeated(400))) == "");
        CHECK(excess(png(chunk(kind, 100).repeated(500))) == refused);
        CHECK(excess(png(chunk("IDAT", 50) + chunk(kind, 8000).repeated(6))) == refused);
    }
    CHECK(excess(png(chunk("tEXt", 1 << 20).repeated(40))) == "");
    CHECK(excess(png(chunk("tEXt", 1 << 20).repeated(43))) == refused);
    CHECK(excess(png(chunk("IDAT", 1 << 20).repeated(50))) == "");
}

TEST_CASE("picture cost: a PNG of very many chunks is refused, and one that is cut off is left to the decoder")
{
    CHECK(excess(png(chunk("IDAT", 0).repeated(199998))) == "");
    CHECK(excess(png(chunk("IDAT", 0).repeated(200001))) == "it has more than 200000 chunks; save it anew");
    const QByteArray whole = png(chunk("zTXt", 8000).repeated(2));
    for (const int size : {8, 9, 20, 4000, 8100})
        CHECK(excess(whole.left(size)) == "");
    QByteArray wrong = png({});
    wrong.replace(8, 4, "\xff\xff\xff\xff");
    CHECK(excess(wrong) == "");
}

TEST_CASE("picture cost: a JPEG has a bounded number of scans, wherever in the file they begin")
{
    CHECK(excess(jpeg(64)) == "");
    CHECK(excess(jpeg(65)) == "it has more than 64 scans; save it as a JPEG that is not progressive");
    // A mark may lie across two of the pieces that are read.
    for (int fill = 65520; fill < 65540; ++fill)
        CHECK(excess("\xff\xd8\xff" + QByteArray(fill, 'x') + QByteArray("\xff\xda").repeated(65)) != "");
}

TEST_CASE("picture cost: the pictures inside of an icon count, the first as well as a later one")
{
    const QByteArray good = png({});
    const QByteArray bad = png(chunk("zTXt", 8000).repeated(6));
    CHECK(excess(icon({good, "no PNG", good})) == "");
    CHECK(excess(icon({bad})) != "");
    CHECK(excess(icon({"no PNG", good, bad})) != "");
    CHECK(excess(QByteArray("\0\0\2\0", 4) + icon({bad}).mid(4)) != "");
    CHECK(excess(icon({good}).left(10)) == "");
}

TEST_CASE("picture cost: anything else costs nothing here")
{
    for (const char* file : {"", "GIF89a", "BM", "\xff\xd8", "\x89PNG", "zTXt"})
        CHECK(excess(file) == "");
}
