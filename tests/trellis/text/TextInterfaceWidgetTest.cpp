#include <doctest/doctest.h>

#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <Trellis/TextWidget.hpp>

#include <vector>

using namespace TestSupport;
using namespace TrellisTest;
using Call = RecordingContext::Call;
using Trellis::TextWidget;

namespace
{
TextWidget& textWidget(Scene& scene, const QString& text)
{
    auto widget = Bedrock::makeIntrusive<TextWidget>();
    scene.root().addChild(widget);
    set(*widget, "color", kWhite);
    widget->setText(text);
    return *widget;
}

void setWord(Trellis::Widget& widget, const char* attribute, const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QString::fromLatin1(word), 0.0, {}});
    QString error;
    REQUIRE_MESSAGE(widget.attribute(attribute)->setStyleValue(value, Facet::kUserLayer, &error), error.toStdString());
}

void setNumber(Trellis::Widget& widget, const char* attribute, double number)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Number, QString::number(number), number, {}});
    QString error;
    REQUIRE_MESSAGE(widget.attribute(attribute)->setStyleValue(value, Facet::kUserLayer, &error), error.toStdString());
}

/// The text and its lines as drawn.
Call drawn(Scene& scene)
{
    RecordingContext context;
    scene.app.render(context);
    REQUIRE(context.count(Call::Kind::Text) == 1);
    for (const Call& call : context.calls())
        if (call.kind == Call::Kind::Text)
            return call;
    return {};
}
const QString kLong = QStringLiteral("A long text of many short words that must be broken into several lines to fit here");
}

TEST_CASE("text interface: the height follows the lines, which follow the width")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    set(widget, "width", Trellis::Length::pixels(150));
    const float one = widget.height();
    CHECK(one > 10.f);
    widget.setText(kLong);
    const float several = widget.height();
    CHECK(several > 2.5f * one);
    set(widget, "width", Trellis::Length::pixels(75));
    CHECK(widget.height() > several);
    widget.setText(QString());
    CHECK(widget.height() == 0.f);
}

TEST_CASE("text interface: the text as made of two halves has the height of both")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("a"));
    const float one = widget.height();
    widget.setText(QStringLiteral("a\nb\r\nc"));
    CHECK(widget.height() == doctest::Approx(3 * one).epsilon(0.06));
}

TEST_CASE("text interface: an inline text is as wide as its line and does not wrap")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Hi, Ann"));
    const float one = widget.height();
    setWord(widget, "display", "inline");
    CHECK(widget.width() < 150.f);
    CHECK(widget.width() > 20.f);
    CHECK(widget.height() == one);
}

TEST_CASE("text interface: line height is a multiple of the font size")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("a\nb"));
    setNumber(widget, "font-size", 20);
    setNumber(widget, "line-height", 2);
    CHECK(widget.height() == 80.f);
    setNumber(widget, "line-height", 1);
    CHECK(widget.height() == 40.f);
}

TEST_CASE("text interface: a left, centred and right text stand at their places")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("I"));
    place(widget, {0, 0, 200, 40});
    const auto x = [&](const char* align) {
        setWord(widget, "text-align", align);
        return litBounds(scene.picture()).center().x();
    };
    CHECK(x("left") < 20);
    CHECK(std::abs(x("center") - 100) < 5);
    CHECK(x("right") > 180);
    CHECK(x("start") < 20);
    CHECK(x("end") > 180);
}

TEST_CASE("text interface: align is another name of text-align where nothing says that")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("I"));
    place(widget, {0, 0, 200, 40});
    const auto x = [&] { return litBounds(scene.picture()).center().x(); };
    setWord(widget, "align", "right");
    CHECK(x() > 180);
    setWord(widget, "align", "center");
    CHECK(std::abs(x() - 100) < 5);
    setWord(widget, "text-align", "left");
    CHECK(x() < 20);
    widget.attribute("text-align")->clearValue(Facet::kUserLayer);
    CHECK(std::abs(x() - 100) < 5);
    setWord(widget, "align", "left");
    CHECK(x() < 20);
}

TEST_CASE("text interface: letters stand apart by the letter spacing")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("IIII"));
    setWord(widget, "display", "inline");
    const float before = widget.width();
    setNumber(widget, "letter-spacing", 5);
    CHECK(widget.width() == doctest::Approx(before + 4 * 5).epsilon(0.02));
    setWord(widget, "letter-spacing", "normal");
    CHECK(widget.width() == before);
}

TEST_CASE("text interface: a line height is pixels, a share of the font size, or what the font wants")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("a\nb"));
    setNumber(widget, "font-size", 20);
    const float natural = widget.height();
    const auto height = [&](Facet::StyleTerm::Kind kind, double number) {
        Facet::StyleValue value;
        value.terms.append({kind, {}, number, "px"});
        REQUIRE(widget.attribute("line-height")->setStyleValue(value, Facet::kUserLayer, nullptr));
        return widget.height();
    };
    CHECK(height(Facet::StyleTerm::Kind::Dimension, 50) == 100.f);
    CHECK(height(Facet::StyleTerm::Kind::Percentage, 150) == 60.f);
    setWord(widget, "line-height", "normal");
    CHECK(widget.height() == natural);
    QString error;
    const Facet::StyleValue negative{{{Facet::StyleTerm::Kind::Number, {}, -1, {}}}};
    CHECK_FALSE(widget.attribute("line-height")->setStyleValue(negative, Facet::kUserLayer, &error));
    CHECK(error == "expected a number that is not negative, a percentage, a length in px or normal");
}

TEST_CASE("text interface: white-space says what becomes of blanks and line ends, and whether lines wrap")
{
    struct Row
    {
        const char* value;
        const char* same; ///< the text that looks the same with all blanks kept
        bool wraps;
    };
    const Row rows[] = {
        {"pre-wrap", " a  b \n\nc", true}, {"pre-line", "a b\n\nc", true}, {"normal", "a b c", true},
        {"pre", " a  b \n\nc", false},     {"nowrap", "a b c", false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.value);
        const auto picture = [](const QString& text, const char* whiteSpace) {
            return pictureOf([&](Scene& scene) {
                TextWidget& widget = textWidget(scene, text);
                place(widget, {0, 0, 200, 150});
                setWord(widget, "white-space", whiteSpace);
            });
        };
        CHECK_PICTURE(picture(QStringLiteral(" a  b \n\nc"), row.value), picture(QString::fromLatin1(row.same), "pre-wrap"), 0);
        Scene scene(kSmall);
        TextWidget& widget = textWidget(scene, QStringLiteral("I"));
        setWord(widget, "white-space", row.value);
        const float one = widget.height();
        widget.setText(kLong);
        CHECK((widget.height() > 1.5f * one) == row.wraps);
    }
}

TEST_CASE("text interface: a line that does not wrap is cut off, or ends with an ellipsis")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, kLong);
    set(widget, "width", Trellis::Length::pixels(100));
    setWord(widget, "white-space", "nowrap");
    CHECK(drawn(scene).text == kLong);
    setWord(widget, "text-overflow", "ellipsis");
    const QString cut = drawn(scene).text;
    CHECK(cut.endsWith(QChar(0x2026)));
    CHECK(kLong.startsWith(cut.left(cut.size() - 1)));
    setWord(widget, "white-space", "pre-wrap");
    CHECK_FALSE(drawn(scene).text.contains(QChar(0x2026)));
}

TEST_CASE("text interface: a text can be underlined, overlined and struck out")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("xxxx"));
    place(widget, {0, 0, 200, 60});
    setNumber(widget, "font-size", 30);
    const QRect plain = litBounds(scene.picture());
    setWord(widget, "text-decoration", "underline");
    CHECK(litBounds(scene.picture()).bottom() > plain.bottom());
    CHECK(litBounds(scene.picture()).top() == plain.top());
    setWord(widget, "text-decoration", "overline");
    CHECK(litBounds(scene.picture()).top() < plain.top());
    const QImage over = scene.picture();
    setWord(widget, "text-decoration", "line-through");
    CHECK(litBounds(scene.picture()).top() >= plain.top());
    CHECK(scene.picture() != over);
    setWord(widget, "text-decoration", "none");
    CHECK(litBounds(scene.picture()) == plain);
}

TEST_CASE("text interface: a Hebrew text starts at the right unless it is told otherwise")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QString::fromUtf8("שלום"));
    place(widget, {0, 0, 200, 40});
    CHECK(litBounds(scene.picture()).right() > 180);
    setWord(widget, "text-align", "left");
    CHECK(litBounds(scene.picture()).left() < 20);
    setWord(widget, "text-align", "right");
    CHECK(litBounds(scene.picture()).right() > 180);
    setWord(widget, "text-align", "end");
    CHECK(litBounds(scene.picture()).left() < 20);
}

TEST_CASE("text interface: Latin letters among Hebrew ones keep their own direction")
{
    const auto picture = [](const char* text) {
        return pictureOf([text](Scene& scene) {
            TextWidget& widget = textWidget(scene, QString::fromUtf8(text));
            place(widget, {0, 0, 200, 40});
            setWord(widget, "text-align", "left");
        });
    };
    // In a text from right to left what comes last stands leftmost, and reads from left to right all the same.
    const QImage latin = picture("LR");
    const QRect ink = litBounds(latin);
    const QImage mixed = picture("\u05d0LR");
    CHECK(litBounds(mixed).right() > ink.right() + 3);
    CHECK_PICTURE(mixed.copy(ink), latin.copy(ink), 0);
    CHECK(difference(picture("\u05d0RL").copy(ink), latin.copy(ink)) > 100);
}

TEST_CASE("text interface: Chinese and Japanese have letters, and break between any two")
{
    const auto picture = [](const char* text) {
        return pictureOf([text](Scene& scene) { place(textWidget(scene, QString::fromUtf8(text)), {0, 0, 200, 40}); });
    };
    // Letters that no font has would all be the same box.
    CHECK(difference(picture("\u5c71"), picture("\u7530")) > 100);
    CHECK(difference(picture("\u3042"), picture("\u3044")) > 100);

    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QString::fromUtf8("\u5c71\u7530"));
    set(widget, "width", Trellis::Length::pixels(100));
    const float one = widget.height();
    widget.setText(QString(20, QChar(0x5c71)));
    CHECK(widget.height() > 1.9f * one);
    CHECK(litBounds(scene.picture()).right() < 100);
    // A full stop never begins a line: the letter before it comes along.
    int fits = 1;
    while (widget.setText(QString(fits + 1, QChar(0x5c71))), widget.height() < 1.5f * one)
        REQUIRE(++fits < 100);
    widget.setText(QString(fits, QChar(0x5c71)) + QChar(0x3002));
    const QImage wrapped = scene.picture();
    const QRect secondLine(0, int(one), 100, int(one));
    CHECK(litBounds(wrapped.copy(secondLine)).width() > 10);
}

TEST_CASE("text interface: the text stands at the top, the middle or the bottom of its box")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    place(widget, {0, 0, 100, 200});
    const auto y = [&](const char* align) {
        setWord(widget, "vertical-align", align);
        return litBounds(scene.picture()).center().y();
    };
    CHECK(y("top") < 25);
    CHECK(std::abs(y("middle") - 100) < 8);
    CHECK(y("bottom") > 175);
}

TEST_CASE("text interface: a text stands inside the padding")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    place(widget, {0, 0, 100, 100});
    const QRect before = litBounds(scene.picture());
    set(widget, "padding", Trellis::Edges{Trellis::Length::pixels(30), {}, {}, Trellis::Length::pixels(20)});
    CHECK(litBounds(scene.picture()) == before.translated(20, 30));
}

TEST_CASE("text interface: more lines than allowed end in an ellipsis")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, kLong);
    set(widget, "width", Trellis::Length::pixels(100));
    const float all = widget.height();
    setNumber(widget, "max-lines", 1);
    const float one = widget.height();
    setNumber(widget, "max-lines", 2);
    CHECK(widget.height() == doctest::Approx(2 * one).epsilon(0.06));
    CHECK(widget.height() < all);
    const QString text = drawn(scene).text;
    CHECK(text.endsWith(QChar(0x2026)));
    CHECK(text.startsWith(QStringLiteral("A long")));
    CHECK(text.size() < kLong.size());
    CHECK(widget.text() == kLong);
    setNumber(widget, "max-lines", 100);
    CHECK(widget.height() == all);
    CHECK(drawn(scene).text == kLong);
}

TEST_CASE("text interface: a word longer than the line is broken, and elided in one line")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QString(200, QLatin1Char('m')));
    set(widget, "width", Trellis::Length::pixels(100));
    const float all = widget.height();
    setNumber(widget, "max-lines", 1);
    CHECK(all > 5 * widget.height());
    CHECK(drawn(scene).text.endsWith(QChar(0x2026)));
    CHECK(drawn(scene).rect.width <= 101.f);
}

TEST_CASE("text interface: an ellipsis also stands where a line end cuts the text")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("one\ntwo\nthree"));
    setNumber(widget, "max-lines", 2);
    CHECK(drawn(scene).text == QStringLiteral("one\u2028two\u2026"));
}

TEST_CASE("text interface: the text of a turned widget is the turned text")
{
    const auto withRotation = [](float radians) {
        return pictureOf([radians](Scene& scene) {
            place(textWidget(scene, QStringLiteral("Ann and Bob")), {0, 0, 200, 200}).setRotationAboutCenter(radians);
        });
    };
    const QImage expected = withRotation(0.f).mirrored(true, true);
    const QImage actual = withRotation(kPi);
    // Letters are drawn by other means when they are turned: their edges may differ, their places not.
    CHECK(std::abs(litBounds(expected).left() - litBounds(actual).left()) <= 2);
    CHECK(std::abs(litBounds(expected).top() - litBounds(actual).top()) <= 2);
    CHECK(std::abs(litBounds(expected).width() - litBounds(actual).width()) <= 3);
    CHECK(std::abs(litBounds(expected).height() - litBounds(actual).height()) <= 3);
}

TEST_CASE("text interface: an enlarged text breaks where the small one does and is as large as one set large")
{
    const auto withFont = [](float fontSize, float scale) {
        return litBounds(pictureOf(
            [&](Scene& scene) {
                TextWidget& widget = place(textWidget(scene, kLong), {0, 0, 400 / scale, 400 / scale});
                setNumber(widget, "font-size", double(fontSize));
                setNumber(widget, "line-height", 1.5);
                widget.setScale(scale);
            },
            {400, 400}));
    };
    const QRect first = withFont(10.f, 4.f), second = withFont(40.f, 1.f);
    CHECK(std::abs(first.width() - second.width()) <= 8);
    CHECK(std::abs(first.height() - second.height()) <= 8);
}

TEST_CASE("text interface: font size, weight and style change the look, and unknown families are replaced")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    place(widget, {0, 0, 200, 100});
    const QImage plain = scene.picture();
    setWord(widget, "font-weight", "bold");
    CHECK(difference(scene.picture(), plain) > 50);
    setNumber(widget, "font-weight", 400);
    CHECK_PICTURE(scene.picture(), plain, 0);
    setWord(widget, "font-style", "italic");
    CHECK(difference(scene.picture(), plain) > 50);
    setWord(widget, "font-style", "normal");
    setNumber(widget, "font-size", 60);
    CHECK(litBounds(scene.picture()).height() > 2 * litBounds(plain).height());
    setWord(widget, "font-family", "no-such-family-anywhere");
    CHECK(litBounds(scene.picture()).height() > 2 * litBounds(plain).height());
}

TEST_CASE("text interface: a weight that is none is refused")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QStringLiteral("heavyish"), 0.0, {}});
    QString error;
    CHECK_FALSE(widget.attribute("font-weight")->setStyleValue(value, Facet::kStyleLayer, &error));
    CHECK(error == QStringLiteral("expected a number from 100 to 900, normal or bold"));
}

TEST_CASE("text interface: the colour is the attribute's, and a change of it lays nothing out")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    scene.frame();
    scene.picture();
    const long before = scene.app.counters().textsLaidOut;
    set(widget, "color", Bedrock::Color{1.f, 0.f, 0.f, 0.5f});
    CHECK(drawn(scene).color == Bedrock::Color{0.5f, 0.f, 0.f, 0.5f});
    CHECK(scene.app.counters().textsLaidOut == before);
}

TEST_CASE("text interface: a text that stays is laid out once, however often it is drawn or moved")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, kLong);
    set(widget, "width", Trellis::Length::pixels(100));
    scene.frame();
    scene.picture();
    const long before = scene.app.counters().textsLaidOut;
    for (int i = 0; i < 10; ++i) {
        widget.setLocation({float(i), 0});
        widget.setRotation(float(i));
        scene.frame();
        scene.picture();
    }
    CHECK(scene.app.counters().textsLaidOut == before);
}

TEST_CASE("text interface: a layout that measures a text again breaks none of its lines anew")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    set(widget, "display", Trellis::Display::Inline);
    scene.frame();
    scene.picture();
    const long before = scene.app.counters().textsLaidOut;
    for (int i = 0; i < 5; ++i) {
        widget.requestLayout();
        scene.frame();
        scene.picture();
    }
    CHECK(scene.app.counters().textsLaidOut == before);
    widget.setText(QStringLiteral("Bob"));
    scene.frame();
    scene.picture();
    CHECK(scene.app.counters().textsLaidOut == before + 2);
}

TEST_CASE("text interface: lines are kept of the 256 texts that needed theirs last, and those of others are broken anew")
{
    Scene scene(kSmall);
    std::vector<TextWidget*> texts;
    for (int i = 0; i < 257; ++i) {
        texts.push_back(&textWidget(scene, QString::number(i)));
        texts.back()->setLocation({0, 0});
        set(*texts.back(), "width", Trellis::Length::pixels(40));
        set(*texts.back(), "height", Trellis::Length::pixels(20));
    }
    const auto laidOutByDrawing = [&scene] {
        const long before = scene.app.counters().textsLaidOut;
        RecordingContext context;
        scene.app.render(context);
        return scene.app.counters().textsLaidOut - before;
    };
    scene.frame();
    CHECK(laidOutByDrawing() == 257);
    CHECK(laidOutByDrawing() == 257);
    texts.back()->removeFromParent();
    scene.frame();
    CHECK(laidOutByDrawing() == 1);
    CHECK(laidOutByDrawing() == 0);
    texts.front()->setText(QStringLiteral("other"));
    CHECK(laidOutByDrawing() == 1);
}

TEST_CASE("text interface: a text that is larger than its box is cut off at the widget's edge")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, kLong);
    place(widget, {10, 10, 100, 30});
    const QRect lit = litBounds(scene.picture());
    CHECK(QRect(10, 10, 100, 30).contains(lit));
    CHECK(lit.height() > 20);
}

TEST_CASE("text interface: a run-time text covers the styled one until it is cleared")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("run time"));
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::String, QStringLiteral("styled"), 0.0, {}});
    REQUIRE(widget.textAttribute().setStyleValue(value, Facet::kStyleLayer, nullptr));
    CHECK(widget.text() == QStringLiteral("run time"));
    widget.textAttribute().clearValue(Facet::kUserLayer);
    CHECK(widget.text() == QStringLiteral("styled"));
    CHECK(drawn(scene).text == QStringLiteral("styled"));
}

TEST_CASE("text interface: setting a text writes the run-time layer, and the same one again changes nothing")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    CHECK(widget.textAttribute().hasValue(Facet::kUserLayer));
    CHECK(widget.attribute("text") == &widget.textAttribute());
    int changes = 0;
    widget.textAttribute().addListener([&] { ++changes; });
    widget.setText(QStringLiteral("Ann"));
    CHECK(changes == 0);
    widget.setText(QStringLiteral("Bob"));
    CHECK(changes == 1);
    widget.setText(QString());
    CHECK(changes == 2);
    CHECK(widget.textAttribute().hasValue(Facet::kUserLayer)); // an empty text covers a styled one as well
}

TEST_CASE("text interface: an empty text takes no room and draws nothing")
{
    Scene scene(kSmall);
    TextWidget& widget = textWidget(scene, QString());
    setNumber(widget, "font-size", 50);
    CHECK(widget.height() == 0.f);
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.count(Call::Kind::Text) == 0);
    set(widget, "padding", Trellis::Edges{Trellis::Length::pixels(7), {}, Trellis::Length::pixels(8), {}});
    CHECK(widget.height() == 15.f);
}

TEST_CASE("text interface: percentages of padding count for the drawing as they do for the layout")
{
    Scene scene(kSmall);
    auto& container = box(scene.root(), {0, 0, 200, 200}, {0.f, 0.f, 0.f, 1.f});
    const auto fifty = Trellis::Length::pixels(50);
    set(container, "padding", Trellis::Edges{{}, fifty, {}, fifty});
    TextWidget& widget = textWidget(scene, QStringLiteral("Ann"));
    container.addChild(widget);
    const float bare = widget.height();
    Trellis::Length tenth;
    tenth.value = 10.f;
    tenth.unit = Trellis::Length::Unit::Percent;
    set(widget, "padding", Trellis::Edges{tenth, tenth, tenth, tenth});
    CHECK(widget.height() == doctest::Approx(bare + 20.f)); // a tenth of the 100 between the container's paddings
    CHECK(drawn(scene).sceneBounds.x == doctest::Approx(60.f));
    CHECK(drawn(scene).sceneBounds.y == doctest::Approx(10.f));
}
