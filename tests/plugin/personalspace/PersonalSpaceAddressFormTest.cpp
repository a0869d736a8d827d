#include "LogCapture.hpp"
#include "MailSpace.hpp"
#include "SpaceForms.hpp"

#include <doctest/doctest.h>

// The form in which visitors type an address, before an e-mail is sent to it.

using PluginTest::addEmailService;
using PluginTest::AddressForm;
using PluginTest::analyticsOf;
using PluginTest::classesOf;
using PluginTest::confirmAddress;
using PluginTest::emailSent;
using PluginTest::Mail;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using PluginTest::widgetInEmail;

TEST_CASE("address: what counts as an e-mail address")
{
    AddressForm form;
    const char* const accepted[] = {"ann@example.org",
                                    "  ann@example.org\t",
                                    "\n ann@example.org \n",
                                    "Ann.Lee@Example.ORG",
                                    "a+b@c.de",
                                    "a%b@c.de",
                                    "a_b-c.d@e-f.gh",
                                    "1@2.co",
                                    "a@b.info",
                                    "a@very.many.dotted.parts.eu",
                                    ".@-.xy",
                                    "a@b..org"};
    for (const char* address : accepted) {
        CAPTURE(address);
        CHECK(form.accepts(address));
    }
}

TEST_CASE("address: what does not count as one")
{
    AddressForm form;
    const char* const refused[] = {"",
                                   "   ",
                                   "ann",
                                   "ann@example",
                                   "@example.org",
                                   "ann@.org",
                                   "ann@example.",
                                   "ann@example.c",
                                   "ann@example.abcde",
                                   "ann@example.museum",
                                   "ann@example.org.",
                                   "ann lee@example.org",
                                   "ann@exam ple.org",
                                   "ann@example.org bob@example.org",
                                   "ann@example.org,bob@example.org",
                                   "ann@@example.org",
                                   "a@b@c.de",
                                   "än@example.org",
                                   "ann@exämple.org",
                                   "ann@example.o1",
                                   "ann@ex_ample.org",
                                   "<ann@example.org>",
                                   "Ann <ann@example.org>",
                                   "mailto:ann@example.org",
                                   "ann@example.org\nx",
                                   "ann!@example.org"};
    for (const char* address : refused) {
        CAPTURE(address);
        CHECK_FALSE(form.accepts(address));
    }
}

TEST_CASE("confirming an address: a wrong one shows the field's errors, nothing else changes")
{
    AddressForm form;
    form.write("ann@example");
    confirmAddress(form);
    CHECK(form.field().hasPseudoClass("invalid"));
    CHECK(form.field().text() == "ann@example");
    CHECK_FALSE(form.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "waiting-to-send-email"});
    CHECK(form.service->created() == 0);
    CHECK(form.registrations().empty());
    CHECK(form.host.analytics().empty());
}

TEST_CASE("confirming an address: a right one is stored above the style sheet and sent to, and the field is emptied")
{
    AddressForm form;
    form.host.style("PersonalSpaceWidget { space-info: \"To <link>\" }");
    CHECK(form.widget->hasPseudoClass("no-email"));
    form.write("ann@example.org");
    confirmAddress(form);
    CHECK(form.text("user-email").value(Facet::kUserLayer) == "ann@example.org");
    CHECK_FALSE(form.widget->hasPseudoClass("no-email"));
    CHECK(form.textChild("custom-info").text() == "To ann@example.org");
    CHECK(form.field().text().isEmpty());
    CHECK(form.service->sent().size() == 1);
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "sending-email"});
    CHECK(form.registrations().empty());
}

TEST_CASE("confirming an address: blanks around it are accepted")
{
    AddressForm form;
    form.write("  ann@example.org ");
    form.finishEditing();
    REQUIRE(form.service->sent().size() == 1);
    CHECK(form.service->sent()[0].recipients[0].address.address.trimmed() == "ann@example.org");
}

TEST_CASE("confirming an address: the address is known when sending starts, the field is emptied after")
{
    AddressForm form;
    QString fieldWhileSending;
    QString addressWhileSending;
    form.host.tavola().services()->removeService(form.service);
    const auto hooked = addEmailService<PluginTest::HookedEmailService>(form.host);
    hooked->onCreate = [&] {
        fieldWhileSending = form.field().text();
        addressWhileSending = form.text("user-email").value();
        return Tavola::EmailMessage();
    };
    form.write("ann@example.org");
    form.tapEnvelope();
    CHECK(fieldWhileSending == "ann@example.org");
    CHECK(addressWhileSending == "ann@example.org");
    CHECK(form.field().text().isEmpty());
}

TEST_CASE("confirming an address: without an e-mail service it is kept all the same")
{
    OpenSpace space;
    space.tapEnvelope();
    space.write("ann@example.org");
    TestSupport::expectError(
        "PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (No email service configured)");
    space.tapEnvelope();
    CHECK(space.text("user-email").value() == "ann@example.org");
    CHECK(classesOf(*space.widget) == Strings{"email-failed", "email-mode", "sending-email"});
    CHECK(space.field().text().isEmpty());
}

TEST_CASE("written address: it is kept and sent to as it was written, blanks and all")
{
    AddressForm form;
    form.write("  ann@example.org\t ");
    confirmAddress(form);
    CHECK(form.text("user-email").value() == "  ann@example.org\t ");
    REQUIRE(form.service->sent().size() == 1);
    CHECK(form.service->sent()[0].recipients[0].address.address == "  ann@example.org\t ");
}

TEST_CASE("address: without one the envelope opens the form and sends nothing")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.write("left over");
    mail.tapEnvelope();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "waiting-to-send-email"});
    CHECK(mail.field().text().isEmpty());
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
}

TEST_CASE("address: the form shows when the input is emptied for it")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.write("half a name");
    std::vector<Strings> classes;
    mail.field().editor()->eventAddListener("text-changed", [&] { classes.push_back(classesOf(*mail.widget)); });
    mail.tapEnvelope();
    CHECK(classes == std::vector<Strings>{{"email-mode", "waiting-to-send-email"}});
}

TEST_CASE("address: the envelope sends once it is written, and the form closes")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.addItem("http://one", 71);
    mail.tapEnvelope();
    mail.write("new@example.org");
    mail.tapEnvelope();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "has-content", "sending-email"});
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent()[0].recipients[0].address.address == "new@example.org");
    CHECK(mail.text("user-email").value(Facet::kUserLayer) == "new@example.org");
    CHECK(mail.field().text().isEmpty());
    mail.succeed();
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(71, "Ann", "new@example.org"), emailSent("Ann", "new@example.org")});
}

TEST_CASE("address: a cancel closes the form, and the next tap opens it again")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.tapEnvelope();
    mail.write("new@example.org");
    mail.tapCancel();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "initial-view"});
    CHECK(mail.field().text().isEmpty());
    mail.tapEnvelope();
    CHECK(mail.hasClass("waiting-to-send-email"));
    CHECK(mail.service->sent().empty());
}

TEST_CASE("address: one that becomes known while the form is open is sent to, whatever is written")
{
    for (const char* written : {"", "ann@", "written@example.org"}) {
        CAPTURE(written);
        Mail space;
        space.widget->setProperties({"Ann", "", ""});
        space.tapEnvelope();
        REQUIRE(space.hasClass("waiting-to-send-email"));
        space.write(written);
        space.widget->setProperties({"Ann", "ann@example.org", ""});
        space.tapEnvelope();
        REQUIRE(space.service->sent().size() == 1);
        CHECK(space.service->sent()[0].recipients[0].address.address == "ann@example.org");
        CHECK(space.hasClass("sending-email"));
        CHECK(space.field().isValid());
        CHECK_FALSE(space.field().hasPseudoClass("invalid"));
        CHECK(space.field().text() == written);
        CHECK(space.text("user-email").value() == "ann@example.org");
    }
}
