#include "OpenSpace.hpp"

#include <Trellis/ImageWidget.hpp>

#include <QImage>
#include <QJsonObject>
#include <QTemporaryDir>

#include <doctest/doctest.h>

// A space that is open when its card, its owner or the owner's page change.

using PluginTest::addEmailService;
using PluginTest::childOfClass;
using PluginTest::classesOf;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using Tavola::PersonalSpaceContents;
using ItemStatus = PersonalSpaceContents::ItemStatus;

namespace
{
struct Changing : OpenSpace
{
    using OpenSpace::OpenSpace;

    /// What the media server was asked since the last time: the command, the card, and the address of an item.
    Strings asked()
    {
        Strings lines;
        const auto& commands = host.mediaServer().commands();
        for (; m_seen < commands.size(); ++m_seen) {
            const QJsonObject& command = commands[m_seen];
            QString text =
                command.value("command").toString() + " " + QString::number(command.value("tessel").toDouble(), 'f', 0);
            if (command.contains("url"))
                text += " " + command.value("url").toString();
            lines.push_back(text.toStdString());
        }
        return lines;
    }

private:
    std::size_t m_seen = 0;
};

std::string command(const char* name, unsigned long code, const char* address = "")
{
    return std::string(name) + " " + std::to_string(code) + address;
}

void collect(unsigned long code, const char* address, ItemStatus status = ItemStatus::Ready)
{
    PersonalSpaceContents::Item item;
    item.files.sources = QList<QString>{address};
    item.status = status;
    PersonalSpaceContents::personalContent(code)->addItem(item);
}
}

// ---- The card --------------------------------------------------------------------------------------------------------

TEST_CASE("first code: what its owner collected before is uploaded in upload mode, after the page was asked for")
{
    Changing space(false);
    space.host.style("PersonalSpaceWidget { collection-mode: upload }");
    (void)space.asked();
    for (const char* address : {"http://one", "http://two", "http://three"})
        collect(space.code, address);
    space.widget->setCode(space.code);
    CHECK(space.asked()
          == Strings{command("getuserpage", space.code), command("additem", space.code, " http://one"),
                     command("additem", space.code, " http://two"), command("additem", space.code, " http://three")});
    CHECK(space.hasClass("upload-mode"));
}

TEST_CASE("another code: in upload mode its page is asked for and its items are uploaded")
{
    Changing space;
    space.mode().setValue(OpenSpace::Mode::Upload);
    (void)space.asked();
    const auto other = newCode();
    collect(other, "http://one");
    collect(other, "http://two", ItemStatus::Uploaded);
    collect(other, "http://three", ItemStatus::Failed);
    space.widget->setCode(other);
    CHECK(space.asked()
          == Strings{command("getuserpage", other), command("additem", other, " http://one"),
                     command("additem", other, " http://three")});
    CHECK(classesOf(*space.widget) == Strings{"has-content", "initial-view", "upload-mode"});
}

TEST_CASE("another code: the class of the mode is there again, whoever took it away")
{
    Changing space;
    space.widget->removeCSSClass("email-mode");
    space.widget->addCSSClass("upload-mode");
    space.widget->setCode(newCode());
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("the same code again: the space takes another content widget, and the mode is applied to what is there")
{
    Changing space;
    space.mode().setValue(OpenSpace::Mode::Upload);
    const Bedrock::IntrusivePtr<Trellis::Widget> before(space.contentWidget());
    collect(space.code, "http://one");
    (void)space.asked();
    space.widget->setCode(space.code);
    CHECK(space.contentWidget() != before.get());
    CHECK_FALSE(before->parent());
    CHECK(space.contentWidget()->contents() == space.contents);
    CHECK(space.asked() == Strings{command("getuserpage", space.code), command("additem", space.code, " http://one")});
}

// ---- The page --------------------------------------------------------------------------------------------------------

TEST_CASE("user page: without a QR picture the one that shows stays")
{
    Changing space;
    const QTemporaryDir folder;
    const QString picture = folder.filePath("qr.png");
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::white);
    REQUIRE(image.save(picture));
    const auto& icon = childOfClass<Trellis::ImageWidget>(*space.widget, "qr-icon");
    space.contents->setUserPage({"http://pages/1", picture});
    CHECK(icon.source() == picture);
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(icon.source() == picture);
    space.contents->setUserPage({"http://pages/2", ""});
    CHECK(icon.source() == picture);
    CHECK(space.textChild("user-page-link").text() == "http://pages/2");
}

TEST_CASE("info: marks that come in with an address count as well")
{
    Changing space;
    space.text("space-info").setValue("<link>!");
    space.widget->setProperties({"Ann", "ann<br>example", ""});
    CHECK(space.textChild("custom-info").text() == "ann\nexample!");
    space.mode().setValue(OpenSpace::Mode::Upload);
    space.contents->setUserPage({"http://pages/<br>1", ""});
    CHECK(space.textChild("custom-info").text() == "http://pages/\n1!");
}

// ---- The owner -------------------------------------------------------------------------------------------------------

TEST_CASE("envelope: an address that becomes known while it is asked for is sent to, whatever is written")
{
    Changing space;
    const auto service = addEmailService<TestSupport::FakeEmailService>(space.host);
    const PluginTest::AnswerAtEnd answerAtEnd{service};
    service->holdAnswers(true);
    space.tapEnvelope();
    REQUIRE(space.hasClass("waiting-to-send-email"));
    const char* written = "";
    SUBCASE("nothing") {}
    SUBCASE("no address")
    {
        written = "ann@";
    }
    SUBCASE("another address")
    {
        written = "written@example.org";
    }
    space.write(written);
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    space.tapEnvelope();
    REQUIRE(service->sent().size() == 1);
    CHECK(service->sent()[0].recipients[0].address.address == "ann@example.org");
    CHECK(space.hasClass("sending-email"));
    CHECK(space.field().isValid());
    CHECK_FALSE(space.field().hasPseudoClass("invalid"));
    CHECK(space.field().text() == written);
    CHECK(space.text("user-email").value() == "ann@example.org");
}
