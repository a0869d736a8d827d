#include "MailSpace.hpp"

#include <doctest/doctest.h>

// Spaces that are closed while their e-mail is on its way.

using PluginTest::analyticsOf;
using PluginTest::classesOf;
using PluginTest::emailNotSent;
using PluginTest::emailSent;
using PluginTest::expectFailedMail;
using PluginTest::Mail;
using PluginTest::SentMail;
using PluginTest::Strings;
using PluginTest::widgetInEmail;

TEST_CASE("closed: on success the stored items of the code are removed all the same, and the mail is counted")
{
    SentMail mail;
    SUBCASE("in flight")
    {
        mail.close();
        mail.host.frame();
        CHECK(mail.contents->items().size() == 1);
        mail.service->answer(0, {true, {}});
    }
    SUBCASE("between the answer and the frame")
    {
        mail.service->answer(0, {true, {}});
        mail.close();
    }
    CHECK(mail.contents->items().size() == 1);
    mail.host.frame();
    CHECK(mail.contents->items().empty());
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(71, "Ann", "ann@example.org"), emailSent("Ann", "ann@example.org")});
}

TEST_CASE("closed: on success items that were collected meanwhile are removed as well")
{
    SentMail mail;
    mail.close();
    mail.addItem("http://two");
    mail.succeed();
    CHECK(mail.contents->items().empty());
}

TEST_CASE("closed: on failure it is logged and counted, and the stored items stay")
{
    for (const bool isException : {false, true}) {
        for (const bool isClosedFirst : {false, true}) {
            CAPTURE(isException);
            CAPTURE(isClosedFirst);
            SentMail mail;
            expectFailedMail("no");
            if (isClosedFirst)
                mail.close();
            if (isException)
                mail.service->fail(0, "no");
            else
                mail.service->answer(0, {false, "no"});
            if (!isClosedFirst)
                mail.close();
            mail.host.frame();
            CHECK(mail.contents->items().size() == 1);
            CHECK(analyticsOf(mail.host).back() == emailNotSent("Ann", "ann@example.org", "no"));
            CHECK(mail.host.analytics().size() == 2);
        }
    }
}

TEST_CASE("closed: a space opened anew for the card loses its items with the success, and shows no outcome")
{
    SentMail mail;
    mail.close();
    const auto reopened = Bedrock::makeIntrusive<Tavola::PersonalSpaceWidget>();
    reopened->setCode(mail.code);
    CHECK(classesOf(*reopened) == Strings{"email-mode", "has-content", "initial-view"});
    mail.succeed();
    CHECK(classesOf(*reopened) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("closed: a space that was removed from the table and is still referenced shows the outcome")
{
    Mail mail;
    mail.tapEnvelope();
    mail.widget->removeFromParent();
    mail.host.frame();
    mail.succeed();
    CHECK(mail.hasClass("email-successful"));
}

TEST_CASE("closed: a listener may close the space while a success empties it")
{
    SentMail mail;
    mail.contents->eventAddListener("item-removed", [&] {
        if (!mail.widget)
            return;
        mail.widget->removeFromParent();
        mail.widget.reset();
    });
    mail.service->answer(0, {true, {}});
    mail.host.frames(2);
    CHECK(mail.contents->items().empty());
    CHECK(analyticsOf(mail.host).back() == emailSent("Ann", "ann@example.org"));
}
