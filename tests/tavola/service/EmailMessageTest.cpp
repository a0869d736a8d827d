#include <Tavola/EmailMessage.hpp>

#include <FakeEmailService.hpp>
#include <TestHost.hpp>

#include <doctest/doctest.h>

#include <QBuffer>

#include <type_traits>

using Tavola::EmailMessage;
using TestSupport::FakeEmailService;

namespace
{
std::unique_ptr<QBuffer> bytes(const QByteArray& data)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(data);
    buffer->open(QIODevice::ReadOnly);
    return buffer;
}
}

TEST_CASE("e-mail message: it moves with everything in it, and is not copied")
{
    static_assert(!std::is_copy_constructible_v<EmailMessage> && !std::is_copy_assignable_v<EmailMessage>);
    static_assert(EmailMessage::To == 0);
    EmailMessage message;
    message.setContent("Hello");
    message.addRecipient({"ann@example.org", "Ann"}, EmailMessage::To);
    message.addRecipient({"bob@example.org", ""}, EmailMessage::Bcc);
    message.addAttachment("a.txt", bytes("a"), "text/plain");
    message.addAttachment("none", nullptr, "text/plain");
    message.setSubject("S");
    message.setSender({"museum@example.org", "M"});
    const EmailMessage moved = std::move(message);
    CHECK(moved.content == "Hello");
    CHECK(moved.subject() == "S");
    CHECK(moved.sender().name == "M");
    REQUIRE(moved.recipients().size() == 2);
    CHECK(moved.recipients()[0].address.address == "ann@example.org");
    CHECK(moved.recipients()[0].address.name == "Ann");
    CHECK(moved.recipients()[1].type == EmailMessage::Bcc);
    REQUIRE(moved.attachments().size() == 1);
    CHECK(moved.attachments()[0].fileName == "a.txt");
    CHECK(moved.attachments()[0].mimeType == "text/plain");
    CHECK(moved.attachments()[0].device->readAll() == "a");
}

TEST_CASE("e-mail service: it is found by its name, without one the first is meant, and there may be none")
{
    TestSupport::TestHost host;
    auto& services = *host.tavola().services();
    CHECK(services.emailService("") == nullptr);
    const auto first = std::make_shared<FakeEmailService>();
    const auto second = std::make_shared<FakeEmailService>();
    services.addService("email-service", "first", first);
    services.addService("email-service", "second", second);
    CHECK(services.emailService("") == first);
    CHECK(services.emailService("second") == second);
    CHECK(services.emailService("third") == nullptr);
}

TEST_CASE("e-mail service: a service of another kind under that type is none")
{
    TestSupport::TestHost host;
    host.tavola().services()->addService("email-service", "", std::make_shared<TestSupport::FakeMediaServer>());
    CHECK(host.tavola().services()->emailService("") == nullptr);
}

TEST_CASE("fake e-mail service: messages are recorded, and answered when the test does")
{
    FakeEmailService mail;
    mail.setTemplate("T");
    auto message = mail.createMessage();
    CHECK(message.content == "T");
    message.addRecipient({"ann@example.org", "Ann"}, EmailMessage::To);
    message.addAttachment("a.txt", bytes("a"), "text/plain");
    CHECK(mail.send(message).value().success);
    mail.setAnswer({false, "no"});
    CHECK(mail.send(message).value().error == "no");
    mail.holdAnswers(true);
    auto held = mail.send(message);
    auto failing = mail.send(message);
    CHECK_FALSE(held.isReady());
    mail.answerFromThread(2, {true, {}});
    mail.failFromThread(3, "broken");
    CHECK(held.value().success);
    CHECK(failing.hasException());
    REQUIRE(mail.sent().size() == 4);
    CHECK(mail.created() == 1);
    CHECK(mail.sent()[0].attachments.at(0).bytes == "a");
    CHECK(mail.sent()[0].recipients.at(0).address.address == "ann@example.org");
}

TEST_CASE("data gathering: events of e-mails name the owner and the outcome")
{
    namespace DataGathering = Tavola::DataGathering;
    const auto widget = DataGathering::widgetInEmailEvent(7, "Ann", "ann@example.org");
    CHECK(widget.type == "widget-in-email");
    CHECK(widget.data == QJsonObject{{"widget", 7}, {"name", "Ann"}, {"email", "ann@example.org"}});
    const auto sent = DataGathering::emailEvent("Ann", "ann@example.org", true, "");
    CHECK(sent.type == "email");
    CHECK(sent.data == QJsonObject{{"name", "Ann"}, {"email", "ann@example.org"}, {"success", true}});
    const auto failed = DataGathering::emailEvent("Ann", "ann@example.org", false, "550 no");
    CHECK(failed.data == QJsonObject{{"name", "Ann"}, {"email", "ann@example.org"}, {"success", false}, {"error", "550 no"}});
}
