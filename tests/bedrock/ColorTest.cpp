#include <Bedrock/Color.hpp>

#include <QString>

#include <doctest/doctest.h>

using Bedrock::Color;

TEST_CASE("color: hexadecimal notations are read with alpha last")
{
    struct Row
    {
        const char* text;
        int red, green, blue, alpha;
    };
    const Row rows[] = {
        {"#fff", 255, 255, 255, 255},
        {"#1234", 0x11, 0x22, 0x33, 0x44},
        {"#A0B1c2", 0xA0, 0xB1, 0xC2, 255},
        {"#000000AA", 0, 0, 0, 170},
        {"#80402010", 0x80, 0x40, 0x20, 0x10},
        {"  #F00  ", 255, 0, 0, 255},
        {"transparent", 0, 0, 0, 0},
        {"red", 255, 0, 0, 255},
        {"Navy", 0, 0, 128, 255},
        {"GRAY", 128, 128, 128, 255},
        {"grey", 128, 128, 128, 255},
        {"orange", 255, 165, 0, 255},
        {"aliceblue", 240, 248, 255, 255},
        {"yellowgreen", 154, 205, 50, 255},
        {"rebeccapurple", 102, 51, 153, 255},
        {"LightGoldenrodYellow", 250, 250, 210, 255},
        {"transparent", 0, 0, 0, 0},
        {"tomato", 255, 99, 71, 255},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text);
        const auto color = Color::parse(QString::fromLatin1(row.text));
        REQUIRE(color.has_value());
        CHECK(color->red * 255.f == doctest::Approx(row.red));
        CHECK(color->green * 255.f == doctest::Approx(row.green));
        CHECK(color->blue * 255.f == doctest::Approx(row.blue));
        CHECK(color->alpha * 255.f == doctest::Approx(row.alpha));
    }
}

TEST_CASE("color: anything else is no color")
{
    for (const char* text :
         {"", "#", "#12", "#12345", "#1234567", "#123456789", "#GGG", "#12 456", "123456", "reddish", "# fff"}) {
        CAPTURE(text);
        CHECK_FALSE(Color::parse(QString::fromLatin1(text)).has_value());
        CHECK(Color::fromString(QString::fromLatin1(text)) == Color{0.f, 0.f, 0.f, 1.f});
    }
    // A digit of another script has a digit value and still is not hexadecimal.
    CHECK_FALSE(Color::parse(QStringLiteral("#\u0661\u0662\u0663")).has_value());
}

TEST_CASE("color: premultiplied multiplies the components by alpha")
{
    const Color color = Color::fromString(QStringLiteral("#FF8000AA"));
    const Color premultiplied = color.premultiplied();
    CHECK(premultiplied.red == doctest::Approx(170.0 / 255.0));
    CHECK(premultiplied.green == doctest::Approx(128.0 / 255.0 * 170.0 / 255.0));
    CHECK(premultiplied.blue == 0.f);
    CHECK(premultiplied.alpha == doctest::Approx(170.0 / 255.0));
}

TEST_CASE("color: a color written as text reads back the same")
{
    for (const char* text : {"#000000", "#0A0B0C", "#FFFFFF", "#12345678", "#00000000"}) {
        const Color color = Color::fromString(QString::fromLatin1(text));
        CHECK(color.toString() == QString::fromLatin1(text));
        CHECK(Color::parse(color.toString()) == color);
    }
}

TEST_CASE("color: components outside 0..1 are cut when written")
{
    CHECK((Color{2.f, -1.f, 0.f, 1.f}).toString() == QStringLiteral("#FF0000"));
}
