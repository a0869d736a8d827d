#include <doctest/doctest.h>

#include <Facet/EventName.hpp>

using Facet::EventName;

TEST_CASE("event name: equal texts are equal names, from whatever text they were made")
{
    CHECK(EventName("item-added") == EventName(QByteArray("item-added")));
    CHECK(EventName("item-added").slot() == EventName("item-added").slot());
    CHECK(EventName("item-added") != EventName("item-removed"));
    CHECK(EventName("item") != EventName("item-added"));
}

TEST_CASE("event name: gives its text back, also when the text it was made from is gone")
{
    QByteArray text("short-lived");
    const EventName name(text);
    text.fill('x');
    CHECK(name.text() == "short-lived");
}
