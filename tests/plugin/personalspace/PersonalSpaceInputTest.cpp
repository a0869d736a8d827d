#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <Bedrock/BGThread.hpp>

#include <doctest/doctest.h>

// What becomes of the words that visitors write into a personal space.

using PluginTest::addEmailService;
using PluginTest::classesOf;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using TestSupport::FakeEmailService;

namespace
{
/// A space whose mails are sent at once.
struct Writing : OpenSpace
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);

    /// The input asks for a name once an e-mail was sent.
    void askForName()
    {
        widget->setProperties({"", "ann@example.org", ""});
        tapEnvelope();
        host.frame();
        tapCancel();
        REQUIRE(service->sent().size() == 1);
    }
    bool showsErrors() const { return field().hasPseudoClass("invalid"); }
};
}

TEST_CASE("written address: it is kept and sent to as it was written, blanks and all")
{
    Writing space;
    space.tapEnvelope();
    space.write("  ann@example.org\t ");
    SUBCASE("by the envelope")
    {
        space.tapEnvelope();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
    CHECK(space.text("user-email").value() == "  ann@example.org\t ");
    REQUIRE(space.service->sent().size() == 1);
    CHECK(space.service->sent()[0].recipients[0].address.address == "  ann@example.org\t ");
}

TEST_CASE("written name: it is kept and registered as it was written, blanks and all")
{
    Writing space;
    space.askForName();
    space.write(" Ann  Lee\t");
    SUBCASE("by the button")
    {
        space.tapSave();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
    CHECK(space.text("user-name").value() == " Ann  Lee\t");
    CHECK(space.textChild("title").text() == "Hi,  Ann  Lee\t");
    Bedrock::BGThread::instance()->waitUntilIdle();
    const auto registrations = space.host.tesselService().registrations();
    REQUIRE(registrations.size() == 1);
    CHECK(registrations[0].name == " Ann  Lee\t");
}

TEST_CASE("cancel: errors that the input shows go, also where there is no text to empty")
{
    Writing space;
    SUBCASE("for a name")
    {
        space.askForName();
        SUBCASE("an empty one")
        {
            space.write("");
        }
        SUBCASE("blanks")
        {
            space.write("   ");
        }
        space.tapSave();
    }
    SUBCASE("for an address")
    {
        space.tapEnvelope();
        SUBCASE("an empty one")
        {
            space.write("");
        }
        SUBCASE("a wrong one")
        {
            space.write("ann@example");
        }
        space.tapEnvelope();
    }
    REQUIRE(space.showsErrors());
    REQUIRE_FALSE(space.field().isValid());
    space.tapCancel();
    CHECK_FALSE(space.showsErrors());
    CHECK(space.field().isValid());
    CHECK(space.field().text().isEmpty());
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}
