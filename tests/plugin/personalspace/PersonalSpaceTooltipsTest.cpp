#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

using PluginTest::addEmailService;
using PluginTest::classesOf;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using Tavola::TooltipWidget;
using TestSupport::FakeEmailService;
using Trellis::FadeAnimator;

namespace
{
/// Ann's space, with places and default texts from the style sheet.
struct Help : OpenSpace
{
    Help()
    {
        host.style("PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
                   "PersonalSpaceWidget > * { position: absolute; width: 10px; height: 10px }"
                   "PersonalSpaceWidget > .help-button { left: 300px; top: 200px; width: 40px; height: 20px }"
                   "PersonalSpaceWidget > .info { left: 100px; top: 50px; width: 150px; height: 30px }"
                   "PersonalSpaceWidget > TooltipWidget { width: 120px; height: 60px }"
                   "TooltipWidget.help { text: \"Help for %1\" }"
                   "TooltipWidget.email { text: \"We write to %1\" }");
        widget->setProperties({"Ann", "ann@example.org", ""});
        widget->setLocation({100.f, 100.f});
        host.frame(0);
    }
    /// The only tooltip, also one that is fading out.
    TooltipWidget& tooltip() const
    {
        const auto found = tooltips();
        REQUIRE(found.size() == 1);
        return *found.front();
    }
    bool isFadingOut() const { return FadeAnimator::isFadingOut(tooltip()); }
    QString helpText()
    {
        tapHelp();
        return tooltip().text();
    }
    QString emailText()
    {
        tapInfo();
        return tooltip().text();
    }
    Facet::AttributeT<float>& timeout() const { return attribute<float>("tooltip-timeout"); }
};
}

// ---- Opening -----------------------------------------------------------------------------------------------------------

TEST_CASE("tooltip: none is there at first")
{
    Help help;
    CHECK(help.tooltips().empty());
    CHECK(help.widget->stylableWidgets().size() == 9);
}

TEST_CASE("tooltip: it is a child with the class of its name, on top of its siblings, and takes no other class")
{
    Help help;
    SUBCASE("help")
    {
        help.tapHelp();
        CHECK(classesOf(help.tooltip()) == Strings{"help"});
    }
    SUBCASE("email")
    {
        help.tapInfo();
        CHECK(classesOf(help.tooltip()) == Strings{"email"});
    }
    CHECK(help.widget->children().back() == &help.tooltip());
    CHECK(classesOf(*help.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("tooltip: the help stands at the centre of the help button, wherever and however that lies")
{
    Help help;
    SUBCASE("upright")
    {
        help.tapHelp();
        CHECK(help.tooltip().location() == Vecta::Vector2f{320.f, 210.f});
    }
    SUBCASE("turned and larger, in a space that is turned itself")
    {
        help.host.style("PersonalSpaceWidget > .help-button { scale: 2; rotation: 90deg }");
        help.widget->setRotation(1.f);
        help.tapHelp();
        CHECK(help.tooltip().location().x == doctest::Approx(280.f));
        CHECK(help.tooltip().location().y == doctest::Approx(240.f));
    }
    CHECK(help.tooltip().attribute("location")->hasValue(Facet::kUserLayer));
}

TEST_CASE("tooltip: the address is explained where the text was tapped")
{
    Help help;
    SUBCASE("upright") {}
    SUBCASE("in a space that is turned")
    {
        help.widget->setRotation(1.f);
    }
    help.tapInfo({30.f, 10.f});
    CHECK(help.tooltip().location() == Vecta::Vector2f{130.f, 60.f});
}

TEST_CASE("tooltip: the address is explained where the text was tapped, also where the text is turned and larger")
{
    Help help;
    help.host.style("PersonalSpaceWidget > .info { rotation: 90deg; scale: 2 }");
    help.tapInfo({30.f, 10.f});
    CHECK(PluginTest::near(help.tooltip().location(), {80.f, 110.f}));
}

TEST_CASE("tooltip: its place is set in one change")
{
    // The style sheet gives each tooltip an attribute whose listener records every change of the place.
    std::vector<Vecta::Vector2f> places;
    const auto watch = [&](Cascara::Styleable& styleable, const QByteArray& name) {
        auto& tooltip = dynamic_cast<TooltipWidget&>(styleable);
        tooltip.attribute("location")->addListener([&] { places.push_back(tooltip.location()); });
        return std::make_unique<Facet::AttributeT<float>>(&tooltip, name);
    };
    const Cascara::LazyAttributeManager::Registrant watcher("watched-place", watch);
    Help help;
    help.host.style("TooltipWidget.help, TooltipWidget.email { watched-place: 1 }");
    SUBCASE("help")
    {
        help.tapHelp();
        CHECK(places == std::vector<Vecta::Vector2f>{{320.f, 210.f}});
    }
    SUBCASE("email")
    {
        help.tapInfo({30.f, 10.f});
        CHECK(places == std::vector<Vecta::Vector2f>{{130.f, 60.f}});
    }
}

TEST_CASE("tooltip: it comes to the top of the space, not the space to the top of the table")
{
    Help help;
    const Bedrock::IntrusivePtr<Trellis::Widget> above(new Trellis::Widget(&help.host.mainWidget()));
    const auto layers = help.host.mainWidget().parent()->children();
    REQUIRE(layers.back() != &help.host.mainWidget());
    help.tapHelp();
    CHECK(help.widget->children().back() == &help.tooltip());
    CHECK(help.host.mainWidget().children().back() == above);
    CHECK(help.host.mainWidget().parent()->children() == layers);
}

TEST_CASE("tooltip: a finger on the help button opens it there, a second one closes it")
{
    Help help;
    help.host.tap({420.f, 310.f});
    CHECK(classesOf(help.tooltip()) == Strings{"help"});
    CHECK(help.tooltip().location() == Vecta::Vector2f{320.f, 210.f});
    help.pass(1);
    // The tooltip lies over the button from its centre on.
    help.host.tap({405.f, 305.f});
    CHECK(help.isFadingOut());
    help.pass(0.6);
    CHECK(help.tooltips().empty());
}

TEST_CASE("tooltip: a finger on the information text opens the one for the address at the finger")
{
    Help help;
    help.widget->setRotation(0.5f);
    const auto point = help.widget->mapToScene({130.f, 60.f});
    help.host.tap(point);
    CHECK(classesOf(help.tooltip()) == Strings{"email"});
    CHECK(help.tooltip().location().x == doctest::Approx(130.f));
    CHECK(help.tooltip().location().y == doctest::Approx(60.f));
}

TEST_CASE("tooltip: \"stylable-widget-added\" carries its text widget, and is sent when the tooltip is complete")
{
    Help help;
    int announced = 0;
    help.widget->eventAddListenerBd("stylable-widget-added", [&](Bedrock::BinaryData& payload) {
        ++announced;
        const auto id = payload.readInt64();
        CHECK_FALSE(payload.hasFailed());
        CHECK(payload.isAtEnd());
        const auto textWidget = help.tooltip().textWidget();
        CHECK(id == textWidget->id());
        CHECK(help.widget->stylableWidgets().back() == textWidget);
        CHECK(help.tooltip().text() == "Help for ann@example.org");
        CHECK(help.tooltip().hasCSSClass("help"));
        CHECK(help.tooltip().location() == Vecta::Vector2f{320.f, 210.f});
        CHECK(help.tooltip().operators().size() >= 1);
    });
    help.tapHelp();
    CHECK(announced == 1);
    help.tapHelp();
    help.pass(1);
    CHECK(announced == 1);
    CHECK(help.tooltips().empty());
    help.tapHelp();
    CHECK(announced == 2);
}

TEST_CASE("tooltip: its text widget is the last stylable one as long as it is alive")
{
    Help help;
    const auto before = help.widget->stylableWidgets();
    REQUIRE(before.size() == 9);
    help.tapHelp();
    const auto open = [&] {
        auto list = help.widget->stylableWidgets();
        REQUIRE(list.size() == 10);
        CHECK(list.back() == help.tooltip().textWidget());
        list.pop_back();
        CHECK(list == before);
    };
    open();
    help.pass(1);
    open();
    help.tapHelp();
    open();
    help.pass(0.4);
    open();
    help.pass(0.2);
    CHECK(help.widget->stylableWidgets() == before);
}

// ---- Fades -------------------------------------------------------------------------------------------------------------

TEST_CASE("fade: it shows within a fifth of a second")
{
    Help help;
    help.tapHelp();
    CHECK(help.tooltip().opacity() == 0.f);
    help.host.frame(0.1);
    CHECK(help.tooltip().opacity() == doctest::Approx(0.5f).epsilon(0.05));
    help.host.frame(0.09);
    CHECK(help.tooltip().opacity() < 1.f);
    help.host.frame(0.02);
    CHECK(help.tooltip().opacity() == 1.f);
}

TEST_CASE("fade: closed by a tap it goes within half a second")
{
    Help help;
    help.tapHelp();
    help.pass(1);
    help.tapHelp();
    CHECK(help.tooltip().opacity() == 1.f);
    help.host.frame(0.25);
    CHECK(help.tooltip().opacity() == doctest::Approx(0.5f).epsilon(0.05));
    help.host.frame(0.24);
    CHECK(help.tooltips().size() == 1);
    help.host.frame(0.02);
    CHECK(help.tooltips().empty());
}

TEST_CASE("fade: a tap while it fades out asks for its fade again and opens nothing")
{
    Help help;
    help.tapHelp();
    help.pass(1);
    const long id = help.tooltip().id();
    help.tapHelp();
    help.host.frame(0.4);
    const float opacity = help.tooltip().opacity();
    SUBCASE("the help button")
    {
        help.tapHelp();
    }
    SUBCASE("the information text")
    {
        help.tapInfo();
    }
    CHECK(help.tooltip().id() == id);
    CHECK(help.tooltip().opacity() == doctest::Approx(opacity));
    help.host.frame(0.4);
    CHECK(help.tooltip().id() == id);
    CHECK(help.tooltip().opacity() < opacity);
    help.host.frame(0.12);
    CHECK(help.tooltips().empty());
}

TEST_CASE("fade: a tap while it still fades in closes it")
{
    Help help;
    help.tapHelp();
    help.host.frame(0.1);
    help.tapHelp();
    CHECK(help.isFadingOut());
    help.host.frame(0.1);
    CHECK(help.tooltip().opacity() < 0.5f);
    help.host.frame(0.45);
    CHECK(help.tooltips().empty());
}

// ---- Toggling ----------------------------------------------------------------------------------------------------------

TEST_CASE("toggle: two taps on the help button within the idle time open and close the help")
{
    Help help;
    help.tapHelp();
    help.pass(4);
    CHECK_FALSE(help.isFadingOut());
    help.tapHelp();
    CHECK(help.isFadingOut());
    help.pass(0.6);
    CHECK(help.tooltips().empty());
    help.tapHelp();
    CHECK(help.tooltips().size() == 1);
    CHECK_FALSE(help.isFadingOut());
}

TEST_CASE("toggle: with one tooltip open a tap for the other only closes it")
{
    Help help;
    SUBCASE("help, then information")
    {
        help.tapHelp();
        help.pass(1);
        help.tapInfo();
        CHECK(classesOf(help.tooltip()) == Strings{"help"});
    }
    SUBCASE("information, then help")
    {
        help.tapInfo();
        help.pass(1);
        help.tapHelp();
        CHECK(classesOf(help.tooltip()) == Strings{"email"});
    }
    CHECK(help.isFadingOut());
    help.pass(0.6);
    CHECK(help.tooltips().empty());
    help.tapInfo();
    CHECK(classesOf(help.tooltip()) == Strings{"email"});
}

// ---- Closing -----------------------------------------------------------------------------------------------------------

TEST_CASE("closing: a cancel, a change of the contents and sending close it within half a second")
{
    Help help;
    const auto service = addEmailService<FakeEmailService>(help.host);
    service->holdAnswers(true);
    const PluginTest::AnswerAtEnd answerAtEnd(service);
    const long item = help.addItem("http://one");
    SUBCASE("cancel")
    {
        help.tapHelp();
        help.pass(1);
        help.tapCancel();
    }
    SUBCASE("an item added")
    {
        help.tapHelp();
        help.pass(1);
        help.addItem("http://two");
    }
    SUBCASE("an item removed")
    {
        help.tapHelp();
        help.pass(1);
        help.contents->removeItem(item);
    }
    SUBCASE("sending")
    {
        help.tapHelp();
        help.pass(1);
        help.tapEnvelope();
    }
    CHECK(help.isFadingOut());
    help.host.frame(0.49);
    CHECK(help.tooltips().size() == 1);
    help.host.frame(0.02);
    CHECK(help.tooltips().empty());
    help.tapHelp();
    CHECK(help.tooltips().size() == 1);
    CHECK_FALSE(help.isFadingOut());
}

TEST_CASE("closing: with none open nothing happens")
{
    Help help;
    help.tapCancel();
    help.contents->removeItem(help.addItem("http://one"));
    CHECK(help.tooltips().empty());
    help.tapHelp();
    help.tapHelp();
    help.pass(0.6);
    help.tapCancel();
    CHECK(help.tooltips().empty());
}

TEST_CASE("closing: a tooltip on its way out is still the space's, and no other opens beside it")
{
    Help help;
    help.tapHelp();
    help.pass(1);
    help.tapCancel();
    help.host.frame(0.3);
    CHECK(help.widget->stylableWidgets().size() == 10);
    SUBCASE("the help button")
    {
        help.tapHelp();
    }
    SUBCASE("the information text")
    {
        help.tapInfo();
    }
    CHECK(classesOf(help.tooltip()) == Strings{"help"});
    CHECK(help.isFadingOut());
    help.pass(0.6);
    CHECK(help.tooltips().empty());
}

TEST_CASE("closing: other attributes and views leave it open")
{
    Help help;
    help.tapHelp();
    help.text("space-info").setValue("new");
    help.widget->setProperties({"Bob", "bob@example.org", ""});
    help.mode().setValue(OpenSpace::Mode::Upload);
    help.write("half");
    help.pass(1);
    CHECK_FALSE(help.isFadingOut());
    CHECK(help.tooltip().text() == "Help for ann@example.org");
}

// ---- Idle time -----------------------------------------------------------------------------------------------------------

TEST_CASE("idle: without touches it starts to fade out five seconds after it opened")
{
    Help help;
    help.tapHelp();
    help.pass(4.95);
    CHECK_FALSE(help.isFadingOut());
    CHECK(help.tooltip().opacity() == 1.f);
    help.pass(0.1);
    CHECK(help.isFadingOut());
    help.pass(0.4);
    CHECK(help.tooltips().size() == 1);
    help.pass(0.15);
    CHECK(help.tooltips().empty());
}

TEST_CASE("idle: an idle time that is shorter than the fade starts one fade, which comes to its end")
{
    Help help;
    help.timeout().setValue(0.2f);
    help.tapHelp();
    help.pass(0.25);
    CHECK(help.isFadingOut());
    help.pass(0.4);
    CHECK(help.tooltips().size() == 1);
    help.pass(0.1);
    CHECK(help.tooltips().empty());
}

TEST_CASE("idle: a touch of the tooltip restarts the time")
{
    Help help;
    help.tapHelp();
    help.pass(4);
    help.host.tap(help.tooltip().mapToScene({60.f, 30.f}));
    CHECK_FALSE(help.isFadingOut());
    help.pass(4.9);
    CHECK_FALSE(help.isFadingOut());
    help.pass(0.2);
    CHECK(help.isFadingOut());
}

TEST_CASE("idle: a finger that stays on the tooltip keeps it open")
{
    Help help;
    help.tapHelp();
    help.pass(4);
    help.host.input.fingerDown(1, help.tooltip().mapToScene({60.f, 30.f}));
    help.pass(8);
    CHECK_FALSE(help.isFadingOut());
    help.host.input.fingerUp(1);
    help.pass(4.9);
    CHECK_FALSE(help.isFadingOut());
    help.pass(0.2);
    CHECK(help.isFadingOut());
}

TEST_CASE("idle: touches elsewhere do not keep it open")
{
    Help help;
    help.tapHelp();
    for (int i = 0; i < 5; ++i) {
        help.pass(0.98);
        help.host.tap({1500.f, 900.f});
        help.host.tap(help.widget->mapToScene({5.f, 290.f}));
    }
    help.pass(0.2);
    CHECK(help.isFadingOut());
}

TEST_CASE("idle: changing the time affects only tooltips opened afterwards")
{
    Help help;
    help.tapHelp();
    SUBCASE("shorter")
    {
        help.timeout().setValue(1.f);
        help.pass(4.9);
        CHECK_FALSE(help.isFadingOut());
        help.pass(0.2);
        CHECK(help.isFadingOut());
        help.pass(0.6);
        help.tapHelp();
        help.pass(0.95);
        CHECK_FALSE(help.isFadingOut());
        help.pass(0.1);
        CHECK(help.isFadingOut());
    }
    SUBCASE("longer, by the style sheet")
    {
        help.host.style("PersonalSpaceWidget { tooltip-timeout: 8 }");
        help.pass(5.1);
        CHECK(help.isFadingOut());
        help.pass(0.6);
        help.tapHelp();
        help.pass(7.9);
        CHECK_FALSE(help.isFadingOut());
        help.pass(0.2);
        CHECK(help.isFadingOut());
    }
}

// ---- Texts ---------------------------------------------------------------------------------------------------------------

TEST_CASE("text: the style sheet's is filled with the address of the mode, and the configured help goes before it")
{
    struct Row
    {
        const char* what;
        OpenSpace::Mode mode;
        const char* email;
        const char* page;
        const char* info;
        const char* help;  ///< the text of the help tooltip
        const char* other; ///< of the tooltip of the information text
    };
    constexpr auto kEmail = OpenSpace::Mode::Email;
    constexpr auto kUpload = OpenSpace::Mode::Upload;
    const Row rows[] = {
        {"e-mail", kEmail, "ann@example.org", "", "", "Help for ann@example.org", "We write to ann@example.org"},
        {"e-mail, the page is known, too", kEmail, "ann@example.org", "http://page/1", "", "Help for ann@example.org",
         "We write to ann@example.org"},
        {"e-mail without an address", kEmail, "", "http://page/1", "", "Help for %1", "We write to %1"},
        {"upload", kUpload, "ann@example.org", "http://page/1", "", "Help for http://page/1", "We write to http://page/1"},
        {"upload before the page is known", kUpload, "ann@example.org", "", "", "Help for %1", "We write to %1"},
        {"configured, e-mail", kEmail, "ann@example.org", "", "Mail: <link><br>Bye <link> %1",
         "Mail: ann@example.org\nBye ann@example.org %1", "We write to ann@example.org"},
        {"configured, e-mail without an address", kEmail, "", "", "Mail: <link>.", "Mail: .", "We write to %1"},
        {"configured, upload", kUpload, "ann@example.org", "http://page/1", "At <link><br>Bye <BR>", "At http://page/1\nBye <BR>",
         "We write to http://page/1"},
        {"configured, upload before the page is known", kUpload, "ann@example.org", "", "At <link><br>Bye <BR>", "At \nBye <BR>",
         "We write to %1"},
    };
    for (const Row& row : rows) {
        for (const bool isHelp : {true, false}) {
            CAPTURE(row.what);
            CAPTURE(isHelp);
            Help space;
            space.widget->setProperties({"Ann", row.email, ""});
            space.mode().setValue(row.mode);
            space.text("user-page-url").setValue(row.page);
            space.text("space-info").setValue(row.info);
            const std::string expected = isHelp ? row.help : row.other;
            CHECK((isHelp ? space.helpText() : space.emailText()) == QString::fromStdString(expected));
            // A text that was not filled follows the style sheet.
            const bool isStyled = expected == "Help for %1" || expected == "We write to %1";
            CHECK(space.tooltip().attribute("text")->hasValue(Facet::kUserLayer) != isStyled);
            space.host.style("TooltipWidget.help, TooltipWidget.email { text: \"Later\" }");
            CHECK(space.tooltip().text() == QString::fromStdString(isStyled ? "Later" : expected));
        }
    }
}

TEST_CASE("text: the placeholder is filled wherever it stands, as it is")
{
    Help help;
    help.host.style("TooltipWidget.help { text: \"%2 %1 or %1\" }");
    CHECK(help.helpText() == "%2 ann@example.org or ann@example.org");
}

TEST_CASE("text: a style sheet may choose it by the view")
{
    Help help;
    help.host.style(".waiting-to-send-email TooltipWidget.help { text: \"Write your address\" }");
    help.widget->setProperties({"Ann", "", ""});
    help.tapEnvelope();
    CHECK(help.helpText() == "Write your address");
}

// ---- Lifetime ------------------------------------------------------------------------------------------------------------

TEST_CASE("lifetime: closing a space destroys its tooltip")
{
    Help help;
    help.tapHelp();
    SUBCASE("open") {}
    SUBCASE("fading out")
    {
        help.pass(1);
        help.tapHelp();
    }
    help.close();
    help.pass(6);
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("lifetime: a listener that closes the space when a tooltip is announced")
{
    Help help;
    help.widget->eventAddListener("stylable-widget-added", [&] {
        help.widget->removeFromParent();
        help.widget.reset();
    });
    const Bedrock::IntrusivePtr<Trellis::Widget> button(&help.child("help-button"));
    button->eventSend("single-tap");
    help.host.frames(3);
    CHECK_FALSE(help.widget);
}

TEST_CASE("lifetime: after a tooltip was removed from outside the next one can open")
{
    Help help;
    help.tapHelp();
    help.tooltip().removeFromParent();
    help.host.frame();
    CHECK(help.widget->stylableWidgets().size() == 9);
    help.tapInfo();
    CHECK(classesOf(help.tooltip()) == Strings{"email"});
}
