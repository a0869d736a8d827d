#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"
#include "personalspace/PersonalSpaceContents.hpp"

#include <Tavola/FileRepresentation.hpp>

#include <doctest/doctest.h>

using PluginTest::kOffCenter;
using PluginTest::near;
using PluginTest::newCode;
using PluginTest::PersonTable;
using PluginTest::PlainContent;
using PluginTest::sameDirection;
using Tavola::EmailSendingPopupWidget;
using Tavola::PersonalSpaceContents;
using Vecta::Vector2f;
using Mode = Tavola::PersonalTesselDetectorWidget::WidgetCollectionMode;

namespace
{
std::size_t collected(unsigned long card)
{
    return PersonalSpaceContents::personalContent(card)->items().size();
}

/// Content that calls a function when its files are asked for.
class WatchedContent final : public Trellis::Widget, public Tavola::FileRepresentation
{
public:
    explicit WatchedContent(Trellis::Widget* parent) : Trellis::Widget(parent) {}
    folly::Future<FileData> files() override
    {
        whenAsked();
        FileData data;
        data.sources = QList<QString>{"https://example.org/watched"};
        return folly::makeFuture(data);
    }
    folly::Future<QString> previewFileName() override { return folly::makeFuture(QString()); }
    std::function<void()> whenAsked;
};
}

TEST_CASE("popup: its corner stands at the card under the main widget, turned, on top")
{
    PersonTable table;
    const auto content = table.content();
    SUBCASE("an upright main widget") {}
    SUBCASE("a turned and scaled one")
    {
        table.host.mainWidget().setScale(0.5f);
        table.host.mainWidget().setRotation(0.4f);
        table.host.mainWidget().setLocation({30.f, 10.f});
    }
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.75f);
    auto& popup = table.popup();
    CHECK(near(popup.location(), table.host.mainWidget().mapFromScene(kOffCenter)));
    CHECK(near(table.seen(popup), kOffCenter));
    CHECK(popup.rotation() == 0.75f);
    CHECK(table.host.mainWidget().children().back().get() == &popup);
    CHECK(table.spaces().empty());
}

TEST_CASE("popup: both coordinates of its place change at once")
{
    PersonTable table;
    table.popupRegistrant.reset();
    std::vector<Vector2f> places;
    const Tavola::FactoryRegistrant<Tavola::WidgetComponent> watched("email-widget-popup", [&places] {
        return std::make_shared<Tavola::WidgetComponent>([&places] {
            const auto popup = Bedrock::makeIntrusive<EmailSendingPopupWidget>();
            popup->postConstruct();
            auto* made = popup.get();
            made->attribute("location")->addListener([made, &places] { places.push_back(made->location()); });
            return popup;
        });
    });
    // Out of the flow, whose layout would give it a place first.
    table.host.style("EmailSendingPopupWidget { position: absolute }");
    const auto content = table.content();
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.3f);
    REQUIRE(places.size() == 1);
    CHECK(near(places[0], kOffCenter));
}

TEST_CASE("popup: it asks for a confirmation in the mode email-with-confirmation alone")
{
    for (const auto mode : {Mode::Disabled, Mode::AddToPersonalSpace, Mode::EmailWithConfirmation, Mode::DirectEmail}) {
        CAPTURE(int(mode));
        PersonTable table;
        table.collect(mode);
        const auto content = table.content();
        table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
        CHECK(table.popup().hasCSSClass("waiting-to-send") == (mode == Mode::EmailWithConfirmation));
        table.host.frames(3);
    }
}

TEST_CASE("popup: it comes to the top again after the frame")
{
    PersonTable table;
    const auto content = table.content();
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
    content->raiseToTop(false);
    CHECK(table.host.mainWidget().children().back() == content);
    table.host.frame();
    CHECK(table.host.mainWidget().children().back().get() == &table.popup());
    // Once.
    content->raiseToTop(false);
    table.host.frames(2);
    CHECK(table.host.mainWidget().children().back() == content);
}

TEST_CASE("popup: one that is closed in the same frame is not raised")
{
    PersonTable table;
    const auto content = table.content();
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
    table.popup().removeFromParent();
    table.host.frames(2);
    CHECK(table.popups().empty());
}

TEST_CASE("popup: where none can be created nothing happens")
{
    PersonTable table;
    table.popupRegistrant.reset();
    const auto content = table.content();
    const auto children = table.host.mainWidget().children().size();
    SUBCASE("no component")
    {
        TestSupport::expectWarning("UserInterface::createStockWidget # Component 'email-widget-popup' is not registered");
        table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
    }
    SUBCASE("a component of something else")
    {
        const Tavola::FactoryRegistrant<Tavola::WidgetComponent> other("email-widget-popup", [] {
            return std::make_shared<Tavola::WidgetComponent>([] { return Bedrock::makeIntrusive<Trellis::Widget>(); });
        });
        table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
    }
    table.host.frames(2);
    CHECK(table.host.mainWidget().children().size() == children);
    CHECK(table.mail->created() == 0);
}

TEST_CASE("popup: it stands in its place, raised and turned, before the content is asked for anything")
{
    PersonTable table;
    table.collect(Mode::DirectEmail);
    const Bedrock::IntrusivePtr<WatchedContent> content(new WatchedContent(&table.host.mainWidget()));
    int asked = 0;
    content->whenAsked = [&] {
        if (++asked > 1)
            return;
        CHECK(near(table.popup().location(), kOffCenter));
        CHECK(table.popup().rotation() == 0.5f);
        CHECK(table.host.mainWidget().children().back().get() == &table.popup());
    };
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.5f);
    table.host.frames(3);
    CHECK(asked > 0);
}

TEST_CASE("collection mode email-with-confirmation: the popup asks, and nothing is sent by itself")
{
    PersonTable table;
    table.collect(Mode::EmailWithConfirmation);
    const auto content = table.content();
    table.putOn(*content, table.code, 1.f);
    CHECK(table.popup().hasCSSClass("waiting-to-send"));
    CHECK(near(table.seen(table.popup()), kOffCenter));
    table.host.frames(10);
    CHECK(table.popup().hasCSSClass("waiting-to-send"));
    CHECK(table.mail->sent().empty());
    CHECK(table.spaces().empty());
    CHECK(collected(table.code) == 0);
}

TEST_CASE("collection mode direct-email: the content is sent to the card's owner at once")
{
    PersonTable table;
    table.collect(Mode::DirectEmail);
    table.mail->setTemplate("Dear <name>,\n<links>");
    const auto content = table.content();
    table.putOn(*content, table.code);
    CHECK_FALSE(table.popup().hasCSSClass("waiting-to-send"));
    CHECK(table.host.frameUntil([&] { return !table.mail->sent().empty(); }));
    const auto sent = table.mail->sent();
    REQUIRE(sent.size() == 1);
    REQUIRE(sent[0].recipients.size() == 1);
    CHECK(sent[0].recipients[0].address.address == "ann@example.org");
    CHECK(sent[0].content.contains("https://example.org/page"));
    table.host.frames(3);
    CHECK(table.popup().hasCSSClass("email-successful"));
    CHECK(table.spaces().empty());
}

TEST_CASE("collection modes: each collects the cards of its kinds, into a space or by e-mail")
{
    struct Row
    {
        const char* mode;
        bool withAddress; ///< that card opens a popup
        bool others;      ///< cards without an address and allowed unregistered cards are added to a space
        bool withAddressToSpace;
    };
    const Row rows[] = {{"disabled", false, false, false},
                        {"add-to-personal-space", false, true, true},
                        {"email-with-confirmation", true, true, false},
                        {"direct-email", true, true, false}};
    for (const Row& row : rows) {
        CAPTURE(row.mode);
        PersonTable table;
        table.host.style(
            QString("PersonalTesselDetectorWidget { allow-unregistered-markers: true; collection-mode: %1 }").arg(row.mode));
        const auto withAddress = newCode();
        const auto without = newCode();
        const auto unregistered = newCode();
        const auto keyed = newCode();
        table.host.addPerson(withAddress, "Eve", "eve@example.org");
        table.host.addPerson(without, "Dora");
        table.host.addCard(unregistered, 3);
        table.host.addPerson(keyed, "Cleo", "cleo@example.org", "folder-1");
        const auto content = table.content();
        for (const auto card : {withAddress, without, unregistered, keyed, newCode()})
            table.putOn(*content, card);
        CHECK(table.popups().size() == (row.withAddress ? 1u : 0u));
        CHECK(collected(withAddress) == (row.withAddressToSpace ? 1u : 0u));
        CHECK(collected(without) == (row.others ? 1u : 0u));
        CHECK(collected(unregistered) == (row.others ? 1u : 0u));
        CHECK(collected(keyed) == 0);
        CHECK(table.spaces().size() == (row.others ? 2u : 0u) + (row.withAddressToSpace ? 1u : 0u));
        table.host.frames(5);
    }
}

TEST_CASE("collection modes: an unregistered card with an address on record is e-mailed to where it is allowed")
{
    PersonTable table;
    table.collect(Mode::DirectEmail);
    const auto odd = newCode();
    using Tavola::TesselServiceAPI;
    table.host.cache().insert(
        odd,
        TesselServiceAPI::MarkerProperties(3, TesselServiceAPI::PersonalMarkerProperties{"Odd", "odd@example.org", "folder"}));
    const auto content = table.content();
    table.putOn(*content, odd);
    CHECK(table.popups().empty());
    table.attribute<bool>("allow-unregistered-markers").setValue(true);
    table.putOn(*content, odd);
    CHECK(table.popups().size() == 1);
    table.host.frames(3);
}

TEST_CASE("collection modes: the popup is turned to the hand where the detector is, upright elsewhere")
{
    PersonTable table;
    const auto content = table.content();
    table.putOn(*content, table.code, 1.25f);
    CHECK(table.popup().rotation() == 0.f);
    table.popup().removeFromParent();
    table.attribute<bool>("rotate-towards-hand").setValue(true);
    table.putOn(*content, table.code, 1.25f);
    CHECK(sameDirection(table.popup().rotation(), 1.25 + PluginTest::kPi / 2));
    table.popup().removeFromParent();
    table.attribute<float>("rotation-offset").setValue(-30.f);
    table.putOn(*content, table.code, 1.25f);
    CHECK(sameDirection(table.popup().rotation(), 1.25 - PluginTest::kPi / 6));
}

TEST_CASE("collection modes: content that cannot be collected is not e-mailed either")
{
    PersonTable table;
    table.collect(Mode::DirectEmail);
    const Bedrock::IntrusivePtr<Trellis::Widget> bare(new Trellis::Widget(&table.host.mainWidget()));
    table.putOn(*bare, table.code);
    CHECK(table.popups().empty());
}
