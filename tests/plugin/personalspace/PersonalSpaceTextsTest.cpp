#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <QImage>
#include <QTemporaryDir>

#include <doctest/doctest.h>

// The texts of a personal space about its owner (greeting, information, user page), and the pseudo-classes for unknown data.

using PluginTest::OpenSpace;
using PluginTest::Strings;
using Mode = OpenSpace::Mode;

TEST_CASE("title: the owner is greeted by name")
{
    OpenSpace space(false);
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Hi, Ann");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
    space.text("title").setValue("Hello %1, %1!");
    CHECK(space.shown("title") == "Hello Ann, Ann!");
}

TEST_CASE("title: it is rebuilt when the space is marked as registered or not")
{
    OpenSpace space;
    std::vector<bool> unregistered;
    space.textChild("title").attribute("text")->addListener(
        [&] { unregistered.push_back(space.widget->hasPseudoClass("unregistered-user")); });
    space.widget->setProperties({"Ann", "", ""});
    space.widget->setProperties({"", "", ""});
    CHECK(unregistered == std::vector<bool>{false, true});
}

TEST_CASE("title: another greeting judges anew whether the owner is known")
{
    OpenSpace space;
    space.widget->setPseudoClass("unregistered-user", false);
    space.text("title").setValue("Hello, %1");
    CHECK(space.widget->hasPseudoClass("unregistered-user"));
    space.widget->setProperties({"Ann", "", ""});
    space.widget->setPseudoClass("unregistered-user", true);
    space.text("title").setValue("Moin, %1");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
}

TEST_CASE("title: a space title is shown as it stands, whatever the name")
{
    OpenSpace space(false);
    space.text("space-title").setValue("Museum %1");
    CHECK(space.shown("title") == "Museum %1");
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Museum %1");
    space.text("space-title").clearValue(Facet::kUserLayer);
    CHECK(space.shown("title") == "Hi, Ann");
}

TEST_CASE("title: without a name the style sheet's text shows again")
{
    OpenSpace space(false);
    space.host.style(".title { text: \"Who are you?\" }");
    CHECK(space.shown("title") == "Who are you?");
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Hi, Ann");
    space.widget->setProperties({"", "", ""});
    CHECK(space.shown("title") == "Who are you?");
    CHECK(space.widget->hasPseudoClass("unregistered-user"));
}

TEST_CASE("title: a name from the style sheet counts, and a format from it is applied")
{
    OpenSpace space(false);
    space.host.style("PersonalSpaceWidget { title: \"Moin, %1\"; user-name: \"Uwe\" }");
    CHECK(space.shown("title") == "Moin, Uwe");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
    space.host.style("PersonalSpaceWidget { space-title: \"Ours\" }");
    CHECK(space.shown("title") == "Ours");
}

TEST_CASE("properties: they are set above the style sheet")
{
    OpenSpace space(false);
    space.host.style("PersonalSpaceWidget { user-name: \"Style\"; user-email: \"style@example.org\" }");
    space.widget->setProperties({"Ann", "ann@example.org", "key"});
    CHECK(space.text("user-name").value(Facet::kUserLayer) == "Ann");
    CHECK(space.text("user-email").value(Facet::kUserLayer) == "ann@example.org");
    CHECK_FALSE(space.widget->hasPseudoClass("no-email"));
    space.text("user-name").clearValue(Facet::kUserLayer);
    CHECK(space.shown("title") == "Hi, Style");
}

TEST_CASE("properties: the name is set before the address")
{
    OpenSpace space(false);
    Strings changes;
    for (const char* name : {"user-name", "user-email"})
        space.text(name).addListener([&changes, name] { changes.emplace_back(name); });
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    CHECK(changes == Strings{"user-name", "user-email"});
}

TEST_CASE("info: the link is the owner's address in e-mail mode, breaks are lines")
{
    OpenSpace space(false);
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    CHECK_FALSE(space.widget->hasPseudoClass("has-custom-info"));
    space.text("space-info").setValue("Mail: <link><br>Bye");
    CHECK(space.shown("custom-info") == "Mail: ann@example.org\nBye");
    CHECK(space.widget->hasPseudoClass("has-custom-info"));
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("custom-info") == "Mail: \nBye");
    CHECK(space.widget->hasPseudoClass("no-email"));
}

TEST_CASE("info: every mark is replaced, exactly as it is spelled")
{
    OpenSpace space(false);
    space.widget->setProperties({"", "a@b", ""});
    space.text("space-info").setValue("<link> <link><br><br><LINK><BR>");
    CHECK(space.shown("custom-info") == "a@b a@b\n\n<LINK><BR>");
}

TEST_CASE("info: it is rebuilt when the space is marked as having an address or none")
{
    OpenSpace space;
    space.text("space-info").setValue("To <link>");
    std::vector<bool> noEmail;
    space.textChild("custom-info").attribute("text")->addListener([&] {
        noEmail.push_back(space.widget->hasPseudoClass("no-email"));
    });
    space.widget->setProperties({"", "ann@example.org", ""});
    space.widget->setProperties({"", "", ""});
    CHECK(noEmail == std::vector<bool>{false, true});
}

TEST_CASE("info: an empty one is an empty text, above the style sheet's")
{
    OpenSpace space;
    space.host.style(".custom-info { text: \"of the style sheet\" }");
    CHECK(space.shown("custom-info").isEmpty());
    space.text("space-info").setValue("ours");
    CHECK(space.shown("custom-info") == "ours");
    space.text("space-info").setValue("");
    CHECK(space.shown("custom-info").isEmpty());
    CHECK(space.textChild("custom-info").attribute("text")->hasValue(Facet::kUserLayer));
}

TEST_CASE("info: the pseudo-class for custom info depends on the attribute, not on the text made from it")
{
    OpenSpace space(false);
    space.text("space-info").setValue("<link>");
    CHECK(space.shown("custom-info").isEmpty());
    CHECK(space.widget->hasPseudoClass("has-custom-info"));
    space.text("space-info").setValue("");
    CHECK_FALSE(space.widget->hasPseudoClass("has-custom-info"));
}

TEST_CASE("info: in upload mode the link is the page's address, and a change of that address alone does not rebuild the text")
{
    OpenSpace space;
    space.mode().setValue(Mode::Upload);
    space.text("space-info").setValue("At <link>");
    CHECK(space.shown("custom-info") == "At ");
    space.text("user-page-url").setValue("http://pages/1");
    CHECK_FALSE(space.widget->hasPseudoClass("no-user-page"));
    CHECK(space.shown("custom-info") == "At ");
    space.contents->setUserPage({"http://pages/2", ""});
    CHECK(space.shown("custom-info") == "At http://pages/2");
    space.mode().setValue(Mode::Email);
    CHECK(space.shown("custom-info") == "At ");
}

TEST_CASE("user page: a known one shows link and QR picture")
{
    OpenSpace space;
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(space.shown("user-page-link") == "http://pages/1");
    CHECK(space.qrIcon().source().isEmpty());
    CHECK(space.text("user-page-url").value(Facet::kUserLayer) == "http://pages/1");
    CHECK_FALSE(space.widget->hasPseudoClass("no-user-page"));
    CHECK_FALSE(space.widget->hasPseudoClass("user-page-failed"));
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image "); // there is no such picture
    space.contents->setUserPage({"http://pages/1", "/none/qr.png"});
    CHECK(space.qrIcon().source() == "/none/qr.png");
    CHECK(space.host.frameUntil([] { return !TestSupport::loggedLines().empty(); }));
}

TEST_CASE("user page: an empty one is marked as failed, and the style sheet's link and picture show again")
{
    OpenSpace space(false);
    space.host.style(".user-page-link { text: \"no page\" }");
    space.widget->setCode(space.code);
    space.contents->setUserPage({"http://pages/1", "/none/qr.png"});
    space.contents->setUserPage({"", ""});
    CHECK(space.widget->hasPseudoClass("user-page-failed"));
    CHECK(space.widget->hasPseudoClass("no-user-page"));
    CHECK(space.shown("user-page-link") == "no page");
    CHECK(space.qrIcon().source().isEmpty());
    CHECK_FALSE(space.qrIcon().attribute("source")->hasValue(Facet::kUserLayer));
    CHECK(space.text("user-page-url").hasValue(Facet::kUserLayer));
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK_FALSE(space.widget->hasPseudoClass("user-page-failed"));
    CHECK(space.shown("user-page-link") == "http://pages/1");
}

TEST_CASE("user page: one that was known before the space opened shows with its next change")
{
    OpenSpace space(false);
    space.contents->setUserPage({"http://pages/1", ""});
    space.widget->setCode(space.code);
    CHECK(space.shown("user-page-link").isEmpty());
    CHECK(space.widget->hasPseudoClass("no-user-page"));
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(space.shown("user-page-link") == "http://pages/1");
}

TEST_CASE("user page: one without a QR picture keeps the picture that shows")
{
    OpenSpace space;
    const QTemporaryDir folder;
    const QString picture = folder.filePath("qr.png");
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::white);
    REQUIRE(image.save(picture));
    const auto& icon = space.qrIcon();
    space.contents->setUserPage({"http://pages/1", picture});
    CHECK(icon.source() == picture);
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(icon.source() == picture);
    space.contents->setUserPage({"http://pages/2", ""});
    CHECK(icon.source() == picture);
    CHECK(space.textChild("user-page-link").text() == "http://pages/2");
}

TEST_CASE("info: marks that an address contains are replaced as well")
{
    OpenSpace space;
    space.text("space-info").setValue("<link>!");
    space.widget->setProperties({"Ann", "ann<br>example", ""});
    CHECK(space.textChild("custom-info").text() == "ann\nexample!");
    space.mode().setValue(OpenSpace::Mode::Upload);
    space.contents->setUserPage({"http://pages/<br>1", ""});
    CHECK(space.textChild("custom-info").text() == "http://pages/\n1!");
}
