#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

#include <cctype>
#include <functional>
#include <map>
#include <sstream>

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
    /// By its class.
    void open(const std::string& name) { name == "help" ? tapHelp() : tapInfo(); }
    bool isFadingOut() const { return FadeAnimator::isFadingOut(tooltip()); }
    QString textOf(const std::string& name)
    {
        open(name);
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
    for (const char* name : {"help", "email"}) {
        CAPTURE(name);
        Help help;
        help.open(name);
        CHECK(classesOf(help.tooltip()) == Strings{name});
        CHECK(help.widget->children().back() == &help.tooltip());
        CHECK(classesOf(*help.widget) == Strings{"email-mode", "initial-view"});
    }
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

TEST_CASE("tooltip: the address is explained where the text was tapped, also where space or text are turned and larger")
{
    for (const float turn : {0.f, 1.f}) {
        CAPTURE(turn);
        Help help;
        help.widget->setRotation(turn);
        help.tapInfo({30.f, 10.f});
        CHECK(help.tooltip().location() == Vecta::Vector2f{130.f, 60.f});
    }
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

// ---- What happens in the course of time ---------------------------------------------------------------------------------

namespace
{
/// A space with an item and an e-mail service, on which scripts are played.
struct ScriptedHelp : Help
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);
    PluginTest::AnswerAtEnd answerAtEnd{service};
    long item = addItem("http://one");
    long keptId = 0;
    float keptOpacity = 0.f;

    ScriptedHelp() { service->holdAnswers(true); }

    /// Plays words parted by blanks: what a visitor does, a time in seconds ("+0.5": in one frame), or what is expected then.
    void play(const std::string& script)
    {
        std::istringstream words(script);
        std::string played;
        for (std::string word; words >> word;) {
            played += word + ' ';
            CAPTURE(played);
            REQUIRE_MESSAGE((actAsAsked(word) || passTime(word) || checkState(word) || checkOpacity(word)), "no such word");
        }
    }

private:
    bool actAsAsked(const std::string& word)
    {
        const std::map<std::string, std::function<void()>> acts = {
            {"help", [this] { tapHelp(); }},
            {"info", [this] { tapInfo(); }},
            {"cancel", [this] { tapCancel(); }},
            {"envelope", [this] { tapEnvelope(); }},
            {"add", [this] { item = addItem("http://two"); }},
            {"remove", [this] { contents->removeItem(item); }},
            {"touch",
             [this] {
                 host.tap(tooltip().mapToScene({60.f, 30.f}));
             }},
            {"down",
             [this] {
                 host.input.fingerDown(1, tooltip().mapToScene({60.f, 30.f}));
             }},
            {"up", [this] { host.input.fingerUp(1); }},
            {"elsewhere",
             [this] {
                 host.tap({1500.f, 900.f});
                 host.tap(widget->mapToScene({5.f, 290.f}));
             }},
            {"timeout=0.2", [this] { timeout().setValue(0.2f); }},
            {"timeout=1", [this] { timeout().setValue(1.f); }},
            {"sheet:timeout=8", [this] { host.style("PersonalSpaceWidget { tooltip-timeout: 8 }"); }},
            {"keep",
             [this] {
                 keptId = tooltip().id();
                 keptOpacity = tooltip().opacity();
             }},
        };
        const auto act = acts.find(word);
        if (act != acts.end())
            act->second();
        return act != acts.end();
    }
    bool passTime(const std::string& word)
    {
        if (word[0] == '+')
            host.frame(std::stod(word.substr(1)));
        else if (std::isdigit(static_cast<unsigned char>(word[0])))
            pass(std::stod(word));
        else
            return false;
        return true;
    }
    bool checkState(const std::string& word)
    {
        const std::string state = word.substr(0, word.find(':'));
        if (word == "gone")
            CHECK(tooltips().empty());
        else if (word == "listed")
            CHECK(widget->stylableWidgets().size() == 10);
        else if (state == "open" || state == "fading")
            CHECK(isFadingOut() == (state == "fading"));
        else
            return false;
        if (word != state)
            CHECK(classesOf(tooltip()) == Strings{word.substr(state.size() + 1)});
        return true;
    }
    bool checkOpacity(const std::string& word)
    {
        const bool isComparedToKept = word == "unchanged" || word == "fainter";
        if (isComparedToKept)
            CHECK(tooltip().id() == keptId);
        if (word == "unchanged")
            CHECK(tooltip().opacity() == doctest::Approx(keptOpacity));
        else if (word == "fainter")
            CHECK(tooltip().opacity() < keptOpacity);
        else if (word == "half")
            CHECK(tooltip().opacity() == doctest::Approx(0.5f).epsilon(0.05));
        else if (word == "below-half")
            CHECK(tooltip().opacity() < 0.5f);
        else if (word == "unseen" || word == "whole")
            CHECK(tooltip().opacity() == (word == "whole" ? 1.f : 0.f));
        else if (word == "not-whole")
            CHECK(tooltip().opacity() < 1.f);
        else
            return false;
        return true;
    }
};

struct Visit
{
    const char* what;
    const char* script;
};

template <std::size_t count>
void playEach(const Visit (&visits)[count])
{
    for (const Visit& visit : visits) {
        CAPTURE(visit.what);
        ScriptedHelp().play(visit.script);
    }
}
}

TEST_CASE("fade: it shows within a fifth of a second and goes within half a second")
{
    playEach({
        {"opened", "help unseen +0.1 half +0.09 not-whole +0.02 whole"},
        {"closed by a tap", "help 1 help whole +0.25 half +0.24 fading +0.02 gone"},
        {"a tap while it fades out asks for its fade again and opens nothing",
         "help 1 help +0.4 keep help unchanged +0.4 fainter +0.12 gone"},
        {"so does one on the information text", "help 1 help +0.4 keep info unchanged +0.4 fainter +0.12 gone"},
        {"a tap while it still fades in closes it", "help +0.1 help fading +0.1 below-half +0.45 gone"},
    });
}

TEST_CASE("toggle: a tap with one tooltip open only closes it, whichever it is")
{
    playEach({
        {"two taps on the help button within the idle time", "help 4 open help fading 0.6 gone help open"},
        {"help, then information", "help 1 info fading:help 0.6 gone info open:email"},
        {"information, then help", "info 1 help fading:email 0.6 gone info open:email"},
    });
}

TEST_CASE("closing: a cancel, a change of the contents and sending close it within half a second, and no other opens beside it")
{
    playEach({
        {"cancel", "help 1 cancel fading +0.49 fading +0.02 gone help open"},
        {"an item added", "help 1 add fading +0.49 fading +0.02 gone help open"},
        {"an item removed", "help 1 remove fading +0.49 fading +0.02 gone help open"},
        {"sending", "help 1 envelope fading +0.49 fading +0.02 gone help open"},
        {"with none open nothing happens", "cancel add remove gone help help 0.6 cancel gone"},
        {"on its way out it is still the space's", "help 1 cancel +0.3 listed help fading:help 0.6 gone"},
        {"also for the information text", "help 1 cancel +0.3 listed info fading:help 0.6 gone"},
    });
}

TEST_CASE("closing: other attributes, views and cards leave it open")
{
    Help help;
    help.tapHelp();
    help.text("space-info").setValue("new");
    help.widget->setProperties({"Bob", "bob@example.org", ""});
    help.mode().setValue(OpenSpace::Mode::Upload);
    help.write("half");
    help.widget->setCode(PluginTest::newCode());
    help.pass(1);
    CHECK_FALSE(help.isFadingOut());
    CHECK(help.tooltip().text() == "Help for ann@example.org");
}

TEST_CASE("idle: it starts to fade out five seconds after it opened or was touched")
{
    playEach({
        {"without touches", "help 4.95 open whole 0.1 fading 0.4 fading 0.15 gone"},
        {"a time that is shorter than the fade starts one fade, which comes to its end",
         "timeout=0.2 help 0.25 fading 0.4 fading 0.1 gone"},
        {"a touch of the tooltip restarts the time", "help 4 touch open 4.9 open 0.2 fading"},
        {"a finger that stays on the tooltip keeps it open", "help 4 down 8 open up 4.9 open 0.2 fading"},
        {"touches elsewhere do not",
         "help 0.98 elsewhere 0.98 elsewhere 0.98 elsewhere 0.98 elsewhere 0.98 elsewhere 0.2 fading"},
        {"a shorter time is for tooltips opened afterwards",
         "help timeout=1 4.9 open 0.2 fading 0.6 gone help 0.95 open 0.1 fading"},
        {"so is a longer one of the style sheet", "help sheet:timeout=8 5.1 fading 0.6 gone help 7.9 open 0.2 fading"},
    });
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
            CHECK(space.textOf(isHelp ? "help" : "email") == QString::fromStdString(expected));
            // A text that was not filled follows the style sheet.
            const bool isStyled = expected == "Help for %1" || expected == "We write to %1";
            CHECK(space.tooltip().attribute("text")->hasValue(Facet::kUserLayer) != isStyled);
            space.host.style("TooltipWidget.help, TooltipWidget.email { text: \"Later\" }");
            CHECK(space.tooltip().text() == QString::fromStdString(isStyled ? "Later" : expected));
        }
    }
}

TEST_CASE("text: the placeholder is filled wherever it stands, as it is; a style sheet may choose the text by the view")
{
    {
        Help help;
        help.host.style("TooltipWidget.help { text: \"%2 %1 or %1\" }");
        CHECK(help.textOf("help") == "%2 ann@example.org or ann@example.org");
    }
    Help help;
    help.host.style(".waiting-to-send-email TooltipWidget.help { text: \"Write your address\" }");
    help.widget->setProperties({"Ann", "", ""});
    help.tapEnvelope();
    CHECK(help.textOf("help") == "Write your address");
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
