#include <doctest/doctest.h>

#include <Facet/StyleConversion.hpp>

#include <cmath>
#include <string>

using Facet::StyleConversion;
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
StyleTerm identTerm(const char* text)
{
    return {Kind::Ident, text, 0, {}};
}
StyleTerm string(const char* text)
{
    return {Kind::String, text, 0, {}};
}
StyleTerm numberTerm(double value)
{
    return {Kind::Number, QString::number(value), value, {}};
}
StyleTerm dimension(double value, const char* unit)
{
    return {Kind::Dimension, {}, value, unit};
}
StyleTerm percentage(double value)
{
    return {Kind::Percentage, {}, value, {}};
}
StyleTerm hash(const char* text)
{
    return {Kind::Hash, text, 0, {}};
}
StyleTerm comma()
{
    return {Kind::Delimiter, ",", 0, {}};
}
StyleTerm slash()
{
    return {Kind::Delimiter, "/", 0, {}};
}
StyleTerm function(const char* name, int arguments)
{
    return {Kind::Function, name, double(arguments), {}};
}

/// The value read and written again, or the error in brackets.
template <class T>
std::string convert(QVector<StyleTerm> terms)
{
    T value{};
    QString error;
    if (!StyleConversion<T>::read(StyleValue{std::move(terms)}, value, &error))
        return "[" + error.toStdString() + "]";
    CHECK(error.isEmpty());
    return StyleConversion<T>::write(value).toStdString();
}
}

TEST_CASE("style conversion: a truth value is one of two words, in any case")
{
    CHECK(convert<bool>({identTerm("true")}) == "true");
    CHECK(convert<bool>({identTerm("FALSE")}) == "false");
    CHECK(convert<bool>({identTerm("yes")}) == "[expected true or false]");
    CHECK(convert<bool>({numberTerm(1)}) == "[expected true or false]");
    CHECK(convert<bool>({identTerm("true"), identTerm("true")}) == "[expected true or false]");
    CHECK(convert<bool>({}) == "[expected true or false]");
}

TEST_CASE("style conversion: numbers with the units that mean the number itself, and milliseconds")
{
    CHECK(convert<float>({numberTerm(1.5)}) == "1.5");
    CHECK(convert<float>({numberTerm(-3)}) == "-3");
    CHECK(convert<float>({dimension(10, "px")}) == "10");
    CHECK(convert<float>({dimension(2, "s")}) == "2");
    CHECK(convert<float>({dimension(45, "deg")}) == "45");
    CHECK(convert<float>({dimension(250, "ms")}) == "0.25");
    CHECK(convert<float>({dimension(1, "em")}) == "[expected a number]");
    CHECK(convert<float>({percentage(50)}) == "[expected a number]");
    CHECK(convert<float>({identTerm("abc")}) == "[expected a number]");
    CHECK(convert<float>({numberTerm(1), numberTerm(2)}) == "[expected a number]");
    CHECK(convert<float>({numberTerm(1e9)}) == "1e+09");
    for (const double large : {1.1e9, -1e39, 1e300, double(INFINITY), double(NAN)})
        CHECK(convert<float>({numberTerm(large)}) == "[expected a number of at most 1000000000]");
    CHECK(convert<float>({dimension(1e39, "ms")}) == "[expected a number of at most 1000000000]");
    CHECK(convert<Vecta::Vector2f>({numberTerm(1), numberTerm(1e39)}) == "[expected a number of at most 1000000000]");
}

TEST_CASE("style conversion: a whole number has no fraction, and no more than 32 bits")
{
    CHECK(convert<int>({numberTerm(7)}) == "7");
    CHECK(convert<int>({dimension(-7, "px")}) == "-7");
    CHECK(convert<int>({numberTerm(7.5)}) == "[expected a whole number]");
    CHECK(convert<int>({numberTerm(3e9)}) == "[expected a whole number]");
    CHECK(convert<int>({identTerm("seven")}) == "[expected a whole number]");
}

TEST_CASE("style conversion: a text is quoted, a single word or a file")
{
    CHECK(convert<QString>({string("Hi, Ann")}) == "Hi, Ann");
    CHECK(convert<QString>({string("")}) == "");
    CHECK(convert<QString>({identTerm("Sans")}) == "Sans");
    CHECK(convert<QString>({{Kind::Url, "/a.png", 0, {}}}) == "/a.png");
    CHECK(convert<QString>({dimension(1, "px")}) == "[expected a quoted text]");
    CHECK(convert<QString>({numberTerm(1), identTerm("Sans")}) == "[expected a quoted text]");
    CHECK(convert<QString>({identTerm("DejaVu"), identTerm("Sans")}) == "[expected a quoted text]");
}

TEST_CASE("style conversion: a run of numbers is the text that stands in the style sheet")
{
    QString text;
    StyleValue value{{numberTerm(20), numberTerm(-25)}};
    value.source = QStringLiteral("20-25");
    REQUIRE(StyleConversion<QString>::read(value, text, nullptr));
    CHECK(text == QStringLiteral("20-25"));
    // A value that does not come from a style sheet has its terms only.
    CHECK(convert<QString>({numberTerm(10)}) == "10");
    CHECK(convert<QString>({{Kind::Number, "9007199254740993", 9007199254740992.0, {}}}) == "9007199254740993");
}

TEST_CASE("style conversion: a list of texts has commas or blanks between them")
{
    CHECK(convert<QStringList>({string("a b"), comma(), identTerm("c")}) == "a b, c");
    CHECK(convert<QStringList>({identTerm("a"), identTerm("b")}) == "a, b");
    CHECK(convert<QStringList>({numberTerm(1001), comma(), numberTerm(7)}) == "1001, 7");
    CHECK(convert<QStringList>({identTerm("None")}) == "none");
    CHECK(convert<QStringList>({string("none"), comma(), string("b")}) == "none, b");
    CHECK(convert<QStringList>({identTerm("a"), comma()}) == "[expected texts separated by commas]");
    CHECK(convert<QStringList>({comma(), identTerm("a")}) == "[expected texts separated by commas]");
    CHECK(convert<QStringList>({identTerm("a"), comma(), comma(), identTerm("b")}) == "[expected texts separated by commas]");
    CHECK(convert<QStringList>({identTerm("a"), slash(), identTerm("b")}) == "[expected texts separated by commas]");
    CHECK(convert<QStringList>({}) == "[expected texts separated by commas]");
}

TEST_CASE("style conversion: a vector is two numbers with blanks between them")
{
    CHECK(convert<Vecta::Vector2f>({numberTerm(1), dimension(2.5, "px")}) == "1 2.5");
    CHECK(convert<Vecta::Vector2f>({numberTerm(1)}) == "[expected two numbers]");
    CHECK(convert<Vecta::Vector2f>({numberTerm(1), comma(), numberTerm(2)}) == "[expected two numbers]");
    CHECK(convert<Vecta::Vector2f>({numberTerm(1), dimension(2, "s")}) == "[expected two numbers]");
}

TEST_CASE("style conversion: a colour is written in digits, by its name or as its parts")
{
    CHECK(convert<Bedrock::Color>({hash("000000AA")}) == Bedrock::Color::fromString("#000000AA").toString().toStdString());
    CHECK(convert<Bedrock::Color>({hash("f00")}) == convert<Bedrock::Color>({hash("FF0000")}));
    CHECK(convert<Bedrock::Color>({identTerm("red")}) == convert<Bedrock::Color>({hash("ff0000")}));
    CHECK(convert<Bedrock::Color>({identTerm("transparent")}) == convert<Bedrock::Color>({hash("00000000")}));
    const std::string orange = convert<Bedrock::Color>({hash("ff8000")});
    CHECK(convert<Bedrock::Color>({function("rgb", 5), numberTerm(255), comma(), numberTerm(128), comma(), numberTerm(0)})
          == orange);
    CHECK(convert<Bedrock::Color>({function("RGB", 3), numberTerm(300), numberTerm(128), numberTerm(-5)}) == orange);
    CHECK(convert<Bedrock::Color>(
              {function("rgba", 7), numberTerm(255), comma(), numberTerm(128), comma(), numberTerm(0), comma(), percentage(100)})
          == orange);
    CHECK(convert<Bedrock::Color>({function("rgb", 5), numberTerm(0), numberTerm(0), numberTerm(0), slash(), numberTerm(0)})
          == convert<Bedrock::Color>({hash("00000000")}));
    const std::string no = "[expected a colour]";
    CHECK(convert<Bedrock::Color>({hash("12345")}) == no);
    CHECK(convert<Bedrock::Color>({identTerm("reddish")}) == no);
    CHECK(convert<Bedrock::Color>({numberTerm(5)}) == no);
    CHECK(convert<Bedrock::Color>({function("rgb", 2), numberTerm(1), numberTerm(2)}) == no);
    CHECK(convert<Bedrock::Color>({function("rgb", 4), numberTerm(1), numberTerm(2), numberTerm(3), comma()}) == no);
    CHECK(convert<Bedrock::Color>({function("rgb", 4), numberTerm(1), slash(), numberTerm(2), numberTerm(3)}) == no);
    CHECK(convert<Bedrock::Color>({function("hsl", 2), numberTerm(1), numberTerm(2)}) == no);
    CHECK(convert<Bedrock::Color>({function("rgb", 3), numberTerm(1), numberTerm(2), numberTerm(3), identTerm("red")}) == no);
    CHECK(convert<Bedrock::Color>({}) == no);
}

TEST_CASE("style conversion: functions of colours take commas or blanks, and all units")
{
    const auto color = [](std::initializer_list<StyleTerm> terms) { return convert<Bedrock::Color>(QVector<StyleTerm>(terms)); };
    const auto turn = [](double turns) { return dimension(turns, "turn"); };
    CHECK(color({function("hsl", 5), numberTerm(120), comma(), percentage(100), comma(), percentage(50)}) == "#00FF00");
    CHECK(color({function("hsl", 3), numberTerm(0), percentage(100), percentage(50)}) == "#FF0000");
    CHECK(color({function("hsl", 3), numberTerm(-120), percentage(100), percentage(50)}) == "#0000FF");
    CHECK(color({function("hsl", 3), turn(1.5), percentage(100), percentage(25)}) == "#008080");
    CHECK(color({function("hsl", 3), dimension(200, "grad"), numberTerm(100), numberTerm(50)}) == "#00FFFF");
    CHECK(color({function("hsl", 3), dimension(3.14159265, "rad"), numberTerm(100), numberTerm(50)}) == "#00FFFF");
    CHECK(color({function("HSLA", 5), numberTerm(60), percentage(100), percentage(50), slash(), percentage(50)}) == "#FFFF0080");
    CHECK(color({function("hsla", 7), numberTerm(60), comma(), percentage(0), comma(), percentage(50), comma(), numberTerm(0.5)})
          == "#80808080");
    CHECK(color({function("hsl", 3), identTerm("none"), percentage(0), percentage(100)}) == "#FFFFFF");
    CHECK(color({function("rgb", 5), percentage(100), percentage(50), numberTerm(0), slash(), percentage(50)}) == "#FF800080");
    CHECK(color({function("rgb", 5), identTerm("none"), numberTerm(0), numberTerm(0), slash(), identTerm("none")})
          == "#00000000");
    const std::string no = "[expected a colour]";
    CHECK(color({function("rgb", 5), percentage(100), comma(), percentage(50), comma(), numberTerm(0)}) == no);
    CHECK(color({function("rgb", 5), identTerm("none"), comma(), numberTerm(0), comma(), numberTerm(0)}) == no);
    CHECK(color({function("rgb", 7), numberTerm(1), comma(), numberTerm(0), comma(), numberTerm(0), slash(), numberTerm(1)})
          == no);
    CHECK(color({function("rgb", 4), numberTerm(1), numberTerm(0), numberTerm(0), numberTerm(1)}) == no);
    CHECK(color({function("rgb", 4), numberTerm(1), numberTerm(0), numberTerm(0), slash()}) == no);
    CHECK(color({function("hsl", 5), numberTerm(1), comma(), numberTerm(2), comma(), numberTerm(3)}) == no);
    CHECK(color({function("hsl", 3), percentage(1), percentage(2), percentage(3)}) == no);
    CHECK(color({function("cmyk", 3), numberTerm(1), percentage(2), percentage(3)}) == no);
    CHECK(color({function("rgb", 3), numberTerm(1), numberTerm(2), numberTerm(3), identTerm("red")}) == no);
}

TEST_CASE("style conversion: a word that is a slip away from another is reported with it")
{
    CHECK(convert<Bedrock::Color>({identTerm("darkgren")}) == "[expected a colour (did you mean 'darkgreen'?)]");
    CHECK(convert<Bedrock::Color>({function("rgbb", 3), numberTerm(1), numberTerm(2), numberTerm(3)})
          == "[expected a colour (did you mean 'rgb'?)]");
    CHECK(convert<bool>({identTerm("ture")}) == "[expected true or false (did you mean 'true'?)]");
}

TEST_CASE("style conversion: a null error is allowed")
{
    float result = 4.f;
    CHECK_FALSE(StyleConversion<float>::read(StyleValue{}, result, nullptr));
    CHECK(result == 4.f);
}

TEST_CASE("style conversion: a single word is one identifier or text")
{
    CHECK(Facet::singleWord({{identTerm("Upload")}}) == QStringLiteral("Upload"));
    CHECK(Facet::singleWord({{string("two words")}}) == QStringLiteral("two words"));
    CHECK(Facet::singleWord({{numberTerm(1)}}).isEmpty());
    CHECK(Facet::singleWord({{identTerm("a"), identTerm("b")}}).isEmpty());
}
