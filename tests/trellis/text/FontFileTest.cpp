#include "text/FontFile.hpp"

#include "FontFaceScene.hpp"

#include <QPainterPath>

using Trellis::FontNaming;
using Trellis::renamedFont;
using namespace TrellisTest;

TEST_CASE("font file: a font keeps its letters and gets another family, weight and style")
{
    QString error;
    const auto renamed = renamedFont(fontBytes(), {QStringLiteral("Houses"), 800, true}, error);
    REQUIRE(renamed);
    CHECK(error.isEmpty());
    const QRawFont font(*renamed, 20.0);
    REQUIRE(font.isValid());
    CHECK(font.familyName() == QStringLiteral("Houses"));
    CHECK(font.style() == QFont::StyleItalic);
    const QByteArray os2 = font.fontTable("OS/2");
    CHECK(qFromBigEndian<quint16>(os2.constData() + 4) == 800);
    const QRawFont original(fontBytes(), 20.0);
    CHECK(font.glyphIndexesForString(QStringLiteral("Ann")) == original.glyphIndexesForString(QStringLiteral("Ann")));
    const bool isSameOutline = font.pathForGlyph(font.glyphIndexesForString(QStringLiteral("A")).first())
        == original.pathForGlyph(original.glyphIndexesForString(QStringLiteral("A")).first());
    CHECK(isSameOutline);
}

TEST_CASE("font file: without weight and style they are those of the font")
{
    QString error;
    const auto renamed = renamedFont(fontBytes(), {QStringLiteral("Plain"), 0, false}, error);
    REQUIRE(renamed);
    const QRawFont font(*renamed, 20.0);
    CHECK(font.fontTable("OS/2") == QRawFont(fontBytes(), 20.0).fontTable("OS/2"));
    CHECK(font.style() == QFont::StyleNormal);
}

TEST_CASE("font file: what is no font, or is cut off, is refused with the reason")
{
    const QByteArray whole = fontBytes();
    QByteArray wild = whole;
    wild[12 + 8] = '\x7f'; // the place of the first table
    for (const QByteArray& bytes : {QByteArray(), QByteArray("OTTO"), QByteArray("no font at all, but long enough"),
                                    whole.left(300), whole.left(whole.size() - 4000), wild}) {
        CAPTURE(bytes.size());
        QString error;
        CHECK_FALSE(renamedFont(bytes, {QStringLiteral("X"), 0, false}, error));
        CHECK(error == QStringLiteral("it is no TrueType or OpenType font, or a damaged one"));
    }
    const std::pair<const char*, const char*> others[] = {
        {"wOFF", "it is a WOFF font, which is for the web: save it as TrueType or OpenType (.ttf, .otf)"},
        {"wOF2", "it is a WOFF font, which is for the web: save it as TrueType or OpenType (.ttf, .otf)"},
        {"ttcf", "it is a collection of fonts: save the one as TrueType or OpenType (.ttf, .otf)"}};
    for (const auto& [signature, reason] : others) {
        QString error;
        CHECK_FALSE(renamedFont(signature + whole.mid(4), {}, error));
        CHECK(error.toStdString() == reason);
    }
}
