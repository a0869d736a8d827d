#include "LogCapture.hpp"
#include "OpenSpace.hpp"
#include "SpaceForms.hpp"

#include <doctest/doctest.h>

#include <functional>
#include <stdexcept>

// What becomes of the request to register a name.

using PluginTest::AddressForm;
using PluginTest::classesOf;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::Strings;

namespace
{
/// A marker service whose registrations end with an exception.
class BrokenTesselService final : public Tavola::TesselServiceAPI
{
public:
    explicit BrokenTesselService(std::function<void()> failure) : m_failure(std::move(failure)) {}
    boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long) override
    {
        return boost::make_unexpected(QString());
    }
    bool registerPersonalMarker(unsigned long, const QString&, const QString&) override
    {
        m_failure();
        return true;
    }

private:
    std::function<void()> m_failure;
};
}

TEST_CASE("request: changes of the space while it waits do not change it")
{
    OpenSpace space;
    space.widget->setProperties({"", "ann@example.org", ""});
    space.host.tesselService().holdRegistrations();
    space.saveName("Ann"); // holds the background thread
    space.saveName("Bea");
    space.widget->setProperties({"Cleo", "cleo@example.org", ""});
    space.widget->setCode(newCode());
    space.host.tesselService().releaseRegistrations();
    space.registrationAnswered();
    const auto requests = space.registrations();
    REQUIRE(requests.size() == 2);
    CHECK(requests[0].name == "Ann");
    CHECK(requests[1].name == "Bea");
    for (const auto& request : requests) {
        CHECK(request.code == space.code);
        CHECK(request.email == "ann@example.org");
    }
}

TEST_CASE("request: an address typed earlier goes with it")
{
    AddressForm form;
    form.write("new@example.org");
    form.tapEnvelope();
    form.service->answer(0, {true, {}});
    form.host.frame();
    form.saveName("Ann");
    form.registrationAnswered();
    REQUIRE(form.registrations().size() == 1);
    CHECK(form.registrations()[0].email == "new@example.org");
}

TEST_CASE("request: while one is open it keeps the service alive, and not the application with its widgets")
{
    OpenSpace space;
    space.host.tesselService().holdRegistrations();
    space.write("Ann");
    space.tapSave();
    REQUIRE(space.host.frameUntil([&] { return space.host.tesselService().registrations().size() == 1; }));
    space.host.destroyTavola();
    CHECK(Tavola::Tavola::instance() == nullptr);
    CHECK(space.host.app().mainLayer()->children().empty());
    space.host.tesselService().releaseRegistrations();
    space.waitForRegistration();
}

TEST_CASE("answer: it takes effect after a frame's update, not on the background thread")
{
    OpenSpace space;
    space.saveName("Ann");
    space.waitForRegistration();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering"});
    space.host.frame();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "successfully-registered"});
}

TEST_CASE("answer: a refusal is shown, the name stays, nothing is logged")
{
    OpenSpace space;
    space.host.tesselService().acceptRegistrations(false);
    space.saveName("Ann");
    space.registrationAnswered();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    CHECK(space.textChild("title").text() == "Hi, Ann");
    CHECK(space.text("user-name").value() == "Ann");
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("answer: a second one is added to the first")
{
    for (const bool isFirstAccepted : {false, true}) {
        CAPTURE(isFirstAccepted);
        OpenSpace space;
        space.host.tesselService().acceptRegistrations(isFirstAccepted);
        space.saveName("Ann");
        space.registrationAnswered();
        space.host.tesselService().acceptRegistrations(!isFirstAccepted);
        space.saveName("Bea");
        CHECK(classesOf(*space.widget)
              == Strings{"email-mode", "initial-view", "registering",
                         isFirstAccepted ? "successfully-registered" : "registering-failed"});
        space.registrationAnswered();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed", "successfully-registered"});
        CHECK(space.textChild("title").text() == "Hi, Bea");
        space.tapCancel();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
    }
}

TEST_CASE("answer: after a cancel its class is added all the same")
{
    for (const bool isAccepted : {true, false}) {
        CAPTURE(isAccepted);
        OpenSpace space;
        space.host.tesselService().holdRegistrations();
        space.saveName("Ann");
        space.tapCancel();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
        space.host.tesselService().acceptRegistrations(isAccepted);
        space.host.tesselService().releaseRegistrations();
        space.registrationAnswered();
        CHECK(classesOf(*space.widget)
              == Strings{"email-mode", "initial-view", isAccepted ? "successfully-registered" : "registering-failed"});
    }
}

TEST_CASE("answer: it touches neither items nor attributes")
{
    OpenSpace space;
    space.addItem("http://one");
    space.text("user-page-url").setValue("http://page");
    space.saveName("Ann");
    space.write("Bea");
    space.registrationAnswered();
    CHECK(space.contents->items().size() == 1);
    CHECK(space.text("user-page-url").value() == "http://page");
    CHECK_FALSE(space.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(space.field().text() == "Bea");
}

TEST_CASE("answer: it is dropped after the space was destroyed, while the service is asked or before the answer's frame")
{
    for (const bool isAnswered : {false, true}) {
        CAPTURE(isAnswered);
        OpenSpace space;
        space.host.tesselService().holdRegistrations();
        space.saveName("Ann");
        if (!isAnswered)
            space.close();
        space.host.tesselService().releaseRegistrations();
        space.waitForRegistration();
        if (isAnswered)
            space.close();
        space.host.frames(2);
        CHECK(space.registrations().size() == 1);
        CHECK(TestSupport::loggedLines().empty());
    }
}

TEST_CASE("answer: two spaces get their own")
{
    OpenSpace space;
    const auto other = Bedrock::makeIntrusive<Tavola::PersonalSpaceWidget>();
    other->setCode(newCode());
    space.saveName("Ann");
    space.registrationAnswered();
    CHECK(space.hasClass("successfully-registered"));
    CHECK(classesOf(*other) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("no marker service: the space stays registering until the visitor cancels")
{
    OpenSpace space;
    space.host.removeTesselService();
    space.saveName("Ann");
    for (int i = 0; i < 5; ++i)
        space.registrationAnswered();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering"});
    CHECK(space.textChild("title").text() == "Hi, Ann");
    CHECK(TestSupport::loggedLines().empty());
    space.tapCancel();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("no marker service: one that is configured later receives no dropped request")
{
    OpenSpace space;
    space.host.removeTesselService();
    space.saveName("Ann");
    space.waitForRegistration();
    const auto later = std::make_shared<TestSupport::FakeTesselService>();
    space.host.tavola().services()->setTesselService(later);
    space.registrationAnswered();
    CHECK(later->registrations().empty());
    CHECK(space.hasClass("registering"));
}

TEST_CASE("no application any more: a waiting request is dropped")
{
    OpenSpace space;
    space.host.tesselService().holdRegistrations();
    space.saveName("Ann"); // holds the background thread
    space.saveName("Bea");
    REQUIRE(space.host.frameUntil([&] { return space.registrations().size() == 1; }));
    space.host.destroyTavola();
    space.host.tesselService().releaseRegistrations();
    space.waitForRegistration();
    CHECK(space.registrations().size() == 1);
}

TEST_CASE("marker service that throws: the visitor sees that registering failed, and the log has the reason")
{
    struct Row
    {
        void (*failure)();
        const char* reason;
    };
    const Row rows[] = {{[] { throw std::runtime_error("no database"); }, "no database"},
                        {[] { throw 42; }, "unknown exception"}};
    for (const Row& row : rows) {
        CAPTURE(row.reason);
        OpenSpace space;
        space.host.tavola().services()->setTesselService(std::make_shared<BrokenTesselService>(row.failure));
        TestSupport::expectError("PersonalSpaceWidget::registerUser # Failed to register the owner of card "
                                 + std::to_string(space.code) + " (" + row.reason + ")");
        space.saveName("Ann");
        for (int i = 0; i < 3; ++i)
            space.registrationAnswered();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    }
}
