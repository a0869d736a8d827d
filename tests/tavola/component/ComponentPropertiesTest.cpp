#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/Component.hpp>

#include <QJsonArray>

using Bedrock::IntrusivePtr;
using TestSupport::TestHost;

namespace
{
/// A widget with a text, a list of texts, a number and a whole number.
struct Form final : Trellis::Widget
{
    Facet::AttributeT<QString> text{this, "text", QStringLiteral("default")};
    Facet::AttributeT<QStringList> texts{this, "texts"};
    Facet::AttributeT<float> number{this, "number", -1.f};
    Facet::AttributeT<int> count{this, "count", -1};
};

QJsonValue digits(const char* text)
{
    return QJsonObject{{"number", text}};
}

std::shared_ptr<Tavola::WidgetComponent> component(const QJsonObject& attributes, const QJsonArray& restrictions = {})
{
    auto made = std::make_shared<Tavola::WidgetComponent>([] { return IntrusivePtr<Trellis::Widget>(new Form); });
    made->setName("form");
    made->setSchema(Tavola::Schema({{"type", "widget"}, {"restrictions", restrictions}}));
    made->setProperties({{"attributes", attributes}});
    return made;
}

IntrusivePtr<Form> formOf(const QJsonObject& attributes)
{
    const auto widget = component(attributes)->createContentWidget();
    REQUIRE(widget);
    return IntrusivePtr<Form>(dynamic_cast<Form*>(widget.get()));
}
}

TEST_CASE("component properties: a number reaches a text attribute digit for digit")
{
    TestHost host;
    for (const char* number : {"10", "10.50", "1e3", "-0", "18446744073709551615"}) {
        CAPTURE(number);
        CHECK(formOf({{"text", digits(number)}})->text.value() == number);
    }
    CHECK(formOf({{"text", 10}})->text.value() == "10"); // without its digits
}

TEST_CASE("component properties: a list with numbers reaches a text attribute with commas between its elements")
{
    TestHost host;
    CHECK(formOf({{"text", QJsonArray{digits("10"), "20-25", digits("3.0")}}})->text.value() == "10,20-25,3.0");
    CHECK(formOf({{"text", QJsonArray{digits("10"), digits("20")}}})->text.value() == "10,20");
}

TEST_CASE("component properties: numbers and texts of a list reach a text list, numbers digit for digit")
{
    TestHost host;
    CHECK(formOf({{"texts", QJsonArray{digits("10"), "20-25", digits("3.0")}}})->texts.value()
          == QStringList{"10", "20-25", "3.0"});
    CHECK(formOf({{"texts", digits("1e3")}})->texts.value() == QStringList{"1e3"});
}

TEST_CASE("component properties: a number with its digits is a number for an attribute that wants one")
{
    TestHost host;
    const auto form = formOf({{"number", digits("10.50")}, {"count", digits("1e3")}});
    CHECK(form->number.value() == 10.5f);
    CHECK(form->count.value() == 1000);
}

TEST_CASE("component properties: a value that is refused is a warning and leaves the attribute as it was")
{
    TestHost host;
    for (const QJsonValue& wrong : {QJsonValue(QJsonArray{1, true}), QJsonValue(), QJsonValue(QJsonObject{{"x", 1}})}) {
        TestSupport::expectWarningStartingWith("UIComponent # Component 'form': property \"attributes.text\": expected ");
        CHECK(formOf({{"text", wrong}})->text.value() == "default");
    }
}

TEST_CASE("component properties: without its restriction a component is not made, and no widget of it is left")
{
    TestHost host; // whose end counts what is left
    for (const QJsonValue& wrong : {QJsonValue(QJsonArray{1, true}), QJsonValue(), QJsonValue(QJsonObject{{"x", 1}})}) {
        TestSupport::expectErrorStartingWith("UIComponent # Component 'form': property \"attributes.text\": expected ");
        CHECK_FALSE(component({{"text", wrong}, {"number", 3}}, {"text"})->createInstance());
    }
    // A restriction that was not asked for, and one that fits, are as always; so is another attribute.
    CHECK(component({{"number", 3}}, {"text"})->createInstance());
    CHECK(component({{"text", "10"}}, {"text"})->createInstance());
    TestSupport::expectWarningStartingWith("UIComponent # Component 'form': property \"attributes.number\": expected ");
    CHECK(component({{"number", "many"}}, {"text"})->createInstance());
}
