#include "care/CloseHandle.hpp"

#include "CareTable.hpp"
#include "care/CareStyles.hpp"

#include <doctest/doctest.h>

namespace
{
Host::CloseHandle* handleOf(const Trellis::Widget& widget)
{
    return dynamic_cast<Host::CloseHandle*>(widget.findByType("CloseHandle"));
}
}

TEST_CASE("close handle: a tap closes what opened at the card at once, and only that")
{
    CareTable table;
    table.host.style(Host::careStyleSheet(0.55f));
    table.open(1001, {500.f, 540.f});
    Trellis::Widget& other = table.open(1002, {1400.f, 540.f});
    table.host.frames(30);
    REQUIRE(handleOf(other));
    table.host.tap(CareTable::center(*handleOf(other)));
    table.host.frames(40);
    REQUIRE(table.host.mainWidget().children().size() == 2);
    CHECK(handleOf(*table.host.mainWidget().children()[1]));
}

TEST_CASE("close handle: a second tap does not delay the end")
{
    CareTable table;
    table.host.style(Host::careStyleSheet(0.55f));
    Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    table.host.frames(30);
    const auto tap = [&] { handleOf(opened)->eventSend("single-tap"); };
    tap();
    table.host.frames(20);
    tap();
    table.host.frames(20);
    CHECK(table.host.mainWidget().children().size() == 1);
}

TEST_CASE("close handle: is at least 12 mm wide, whatever the table's pixels")
{
    for (const float pitch : {0.2f, 0.55f, 1.f}) {
        CareTable table;
        table.host.style(Host::careStyleSheet(pitch));
        const auto* const handle = handleOf(table.open(1001, {960.f, 540.f}));
        REQUIRE(handle);
        CHECK(handle->width() * pitch >= 12.f);
        CHECK(handle->height() * pitch >= 12.f);
    }
}

TEST_CASE("close handle: shows a ring that gets shorter only while it is about to close")
{
    Host::CareSettings settings;
    settings.closeAfterSeconds = 40.f;
    CareTable table(settings);
    const auto* const handle = handleOf(table.open(1001, {960.f, 540.f}));
    REQUIRE(handle);
    table.host.frames(20, 1.0);
    CHECK(handle->remaining() < 0.f);
    table.host.frames(7, 1.0);
    const float early = handle->remaining();
    CHECK(early > 0.f);
    table.host.frames(5, 1.0);
    CHECK(handle->remaining() < early);
    CHECK(handle->remaining() > 0.f);
}

TEST_CASE("close handle: its ring is what is left, clockwise from the top")
{
    CareTable table;
    table.host.style(Host::careStyleSheet(0.55f));
    auto* const handle = handleOf(table.open(1001, {960.f, 540.f}));
    REQUIRE(handle);
    handle->setRemaining(0.25f);
    const QImage picture = table.host.app().renderWidgetToImage(*handle, 96);
    const auto isRing = [&picture](float angle) {
        const float middle = float(picture.width()) / 2.f;
        const float radius = middle * 0.91f;
        const QColor color = picture.pixelColor(int(middle + radius * std::sin(angle)), int(middle - radius * std::cos(angle)));
        return color.alpha() > 128 && color.red() > color.blue() + 80;
    };
    CHECK(isRing(0.785f));
    CHECK_FALSE(isRing(2.356f));
    CHECK_FALSE(isRing(3.927f));
    CHECK_FALSE(isRing(5.498f));
}

TEST_CASE("close handle: its ring goes in steps, so that it is not drawn anew in each frame")
{
    CareTable table;
    const auto handle = Host::CloseHandle::addTo(table.open(1001, {960.f, 540.f}));
    handle->setRemaining(0.999f);
    CHECK(handle->remaining() == 1.f);
    handle->setRemaining(0.981f);
    CHECK(handle->remaining() == doctest::Approx(59.f / 60.f));
    handle->setRemaining(-0.5f);
    CHECK(handle->remaining() == -1.f);
}
