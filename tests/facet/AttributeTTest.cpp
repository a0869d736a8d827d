#include <doctest/doctest.h>

#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <QString>

using Facet::AttributeT;
using Facet::StyleTerm;
using Facet::StyleValue;

namespace
{
enum class Mode { Email = 0, Upload = 1 };

StyleValue ident(const char* text)
{
    StyleTerm term;
    term.text = QString::fromUtf8(text);
    return {{term}};
}

[[maybe_unused]] int whichOverload(float)
{
    return 1;
}
[[maybe_unused]] int whichOverload(double)
{
    return 2;
}
[[maybe_unused]] int whichOverload(int)
{
    return 3;
}
[[maybe_unused]] int whichOverload(const QString&)
{
    return 4;
}
}

TEST_CASE("typed attribute: reads like its value")
{
    Facet::Node node;
    AttributeT<bool> flag(&node, "flag", true);
    AttributeT<float> width(&node, "width", 2.5f);
    AttributeT<QString> text(&node, "text", QStringLiteral("Hi"));
    AttributeT<Vecta::Vector2f> location(&node, "location", {1.f, 2.f});
    AttributeT<QStringList> list(&node, "list");
    AttributeT<Mode> mode(&node, "mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email);
    if (!flag)
        FAIL("an attribute of a truth value is not false");
    CHECK(width * 2.f == 5.f);
    CHECK(width > 2);
    CHECK(whichOverload(width) == 1);
    CHECK(whichOverload(text) == 4);
    CHECK(text == QStringLiteral("Hi"));
    CHECK(text != QString());
    CHECK(text->size() == 2);
    CHECK(QStringLiteral("%1").arg(text) == QStringLiteral("Hi"));
    CHECK(location + Vecta::Vector2f(1.f, 1.f) == Vecta::Vector2f(2.f, 3.f));
    CHECK(list->isEmpty());
    CHECK(mode == Mode::Email);
    const QString copy = text;
    CHECK(copy == *text);
    mode = Mode::Upload;
    CHECK(mode == Mode::Upload);
    location = {3.f, 4.f};
    CHECK(location->length() == 5.f);
}

TEST_CASE("typed attribute: both coordinates of a vector change with one notification")
{
    Facet::Node node;
    AttributeT<Vecta::Vector2f> location(&node, "location");
    int heard = 0;
    location.addListener([&heard] { ++heard; });
    location = {3.f, 4.f};
    CHECK(heard == 1);
}

TEST_CASE("typed attribute: a style value that does not fit changes nothing and says what was expected")
{
    Facet::Node node;
    AttributeT<float> width(&node, "width", 2.f);
    QString error;
    CHECK_FALSE(width.setStyleValue(ident("wide"), Facet::kStyleLayer, &error));
    CHECK(error == QStringLiteral("expected a number"));
    CHECK_FALSE(width.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(width.setStyleValue(ident("wide"), Facet::kStyleLayer, nullptr));
    CHECK(width.value() == 2.f);
}

TEST_CASE("typed attribute: a number that takes percentages takes them wherever a value is tried")
{
    Facet::Node node;
    using Notation = Facet::ValueNotation<float>;
    AttributeT<float> opacity(&node, "opacity", {Notation::Percentages::Taken}, 1.f);
    AttributeT<float> width(&node, "width", 2.f);
    Facet::StyleValue share;
    share.terms.append({Facet::StyleTerm::Kind::Percentage, QStringLiteral("30%"), 30.0, {}});
    QString text;
    CHECK(opacity.accepts(share, nullptr));
    CHECK(opacity.textOf(share, text, nullptr));
    CHECK(text == "0.3");
    CHECK(Facet::AttributeDeclaration::anyAccepts("opacity", share, nullptr));
    CHECK(opacity.setStyleValue(share, Facet::kStyleLayer, nullptr));
    CHECK(opacity.value() == 0.3f);
    QString error;
    CHECK_FALSE(opacity.accepts(ident("faint"), &error));
    CHECK(error == "expected a number or a percentage");
    CHECK_FALSE(opacity.accepts(ident("faint"), nullptr));
    share.terms.first().number = 1e30;
    CHECK_FALSE(opacity.accepts(share, &error));
    CHECK(error == "expected a number of at most 1000000000");
    CHECK_FALSE(width.accepts(share, &error));
    CHECK(error == "expected a number");
}

TEST_CASE("typed attribute: an enumeration is written by name, in any case of letters")
{
    Facet::Node node;
    AttributeT<Mode> mode(&node, "collection-mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email);
    QString error;
    CHECK(mode.setStyleValue(ident("UpLoad"), Facet::kStyleLayer, &error));
    CHECK(mode == Mode::Upload);
    CHECK(mode.toText() == QStringLiteral("upload"));
    CHECK_FALSE(mode.setStyleValue(ident("uploads"), Facet::kStyleLayer, &error));
    CHECK(error == QStringLiteral("expected one of email, upload (did you mean 'upload'?)"));
    CHECK(mode == Mode::Upload);
    mode.clearValue(Facet::kStyleLayer);
    CHECK(mode == Mode::Email);
}

TEST_CASE("typed attribute: a style value can be read without being set, and each layer by itself")
{
    Facet::Node node;
    AttributeT<Mode> mode(&node, "collection-mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email);
    QString text;
    QString error;
    CHECK(mode.textOf(ident("UPLOAD"), text, &error));
    CHECK(text == QStringLiteral("upload"));
    CHECK_FALSE(mode.textOf(ident("nowhere"), text, &error));
    CHECK(error == QStringLiteral("expected one of email, upload"));
    CHECK(mode == Mode::Email);
    AttributeT<float> width(&node, "width", 1.f);
    CHECK(width.layerText(Facet::kUserLayer) == QStringLiteral("1"));
    width.setValue(2.f, Facet::kStyleLayer);
    width.setValue(3.f);
    CHECK(width.layerText(Facet::kDefaultLayer) == QStringLiteral("1"));
    CHECK(width.layerText(Facet::kStyleLayer) == QStringLiteral("2"));
    CHECK(width.layerText(Facet::kUserLayer) == QStringLiteral("3"));
    width.clearValue(Facet::kStyleLayer);
    CHECK(width.layerText(Facet::kStyleLayer) == QStringLiteral("1"));
}

TEST_CASE("typed attribute: an enumeration notifies on a change of the visible value only")
{
    Facet::Node node;
    AttributeT<Mode> mode(&node, "collection-mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email);
    int heard = 0;
    mode.addListener([&heard] { ++heard; });
    mode = Mode::Email;
    CHECK(heard == 0);
    mode = Mode::Upload;
    CHECK(heard == 1);
    mode.setValue(Mode::Upload, Facet::kStyleLayer);
    mode.clearValue(Facet::kUserLayer);
    CHECK(heard == 1);
    mode.clearValue(Facet::kStyleLayer);
    CHECK(heard == 2);
}

TEST_CASE("typed attribute: is found by name and type, also as a base of its class")
{
    struct Gap final : AttributeT<float>
    {
        using AttributeT::AttributeT;
    };
    Facet::Node node;
    AttributeT<float> width(&node, "width", 1.f);
    AttributeT<QString> title(&node, "title");
    Gap gap(&node, "gap", 2.f);
    CHECK(Facet::findAttribute<float>(node, "width") == &width);
    CHECK(Facet::findAttribute<float>(node, "gap") == &gap);
    CHECK(Facet::findAttribute<QString>(node, "title") == &title);
    CHECK(Facet::findAttribute<QString>(node, "width") == nullptr);
    CHECK(Facet::findAttribute<float>(node, "title") == nullptr);
    CHECK(Facet::findAttribute<float>(node, "height") == nullptr);
}
