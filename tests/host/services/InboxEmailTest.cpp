#include "services/InboxEmail.hpp"

#include "ReplaySession.hpp"
#include "services/ServiceStates.hpp"

#include <Bedrock/LogText.hpp>
#include <FakeEmailService.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <thread>

using Bedrock::Inbox;
using Host::InboxEmail;
using EmailStatus = Tavola::EmailServiceAPI::EmailStatus;

namespace
{
std::string told(const folly::Future<EmailStatus>& future)
{
    return outcomeOf(
        future, [](const EmailStatus& status) { return status.success ? "sent" : "refused: " + status.error.toStdString(); });
}

std::vector<folly::Future<EmailStatus>> send(InboxEmail& service)
{
    std::vector<folly::Future<EmailStatus>> futures;
    for (int i = 0; i < 3; ++i) {
        const Tavola::EmailMessage message = service.createMessage();
        CHECK(message.content == QStringLiteral("Dear <name>"));
        futures.push_back(service.send(message));
    }
    return futures;
}
}

TEST_CASE("inbox e-mail: outcomes of any thread come in the input step, on the main thread, in the order of the answers")
{
    const auto mail = std::make_shared<TestSupport::FakeEmailService>();
    mail->setTemplate(QStringLiteral("Dear <name>"));
    mail->holdAnswers(true);
    InboxEmail service(mail);
    std::string order;
    std::thread::id thread;
    auto futures = send(service);
    auto first = std::move(futures[0]).thenValue([&](const EmailStatus&) { order += "first "; });
    auto second = std::move(futures[1]).thenValue([&](const EmailStatus&) {
        order += "second ";
        thread = std::this_thread::get_id();
    });
    mail->answerFromThread(1, {true, {}});
    mail->answer(0, {true, {}});
    CHECK(order.empty());
    CHECK(Inbox::instance().deliver() == 2);
    CHECK(order == "second first ");
    CHECK(thread == std::this_thread::get_id());
    Inbox::instance().clear();
}

TEST_CASE("inbox e-mail: recipients are shortened in lines that leave the program, whatever form their addresses have")
{
    InboxEmail service(std::make_shared<TestSupport::FakeEmailService>());
    Tavola::EmailMessage message;
    message.addRecipient({QStringLiteral("no address of Quentin"), QStringLiteral("Quentin Postman")}, Tavola::EmailMessage::To);
    (void)service.send(message);
    CHECK(Bedrock::withoutSecrets("A # 'no address of Quentin', Quentin Postman") == "A # 'n…', Q…");
    CHECK(Inbox::instance().deliver() == 1);
    Inbox::instance().clear();
}

TEST_CASE("inbox e-mail: a source reports what became of each message, and none is sent")
{
    ReplaySession session;
    const auto mail = std::make_shared<TestSupport::FakeEmailService>();
    mail->setTemplate(QStringLiteral("Dear <name>"));
    mail->holdAnswers(true);
    {
        InboxEmail service(mail);
        const auto futures = send(service);
        mail->answerFromThread(0, {true, {}});
        mail->answer(1, {false, QStringLiteral("mailbox full")});
        mail->failFromThread(2, "out of paper");
        CHECK(told(futures[0]) == "");
        CHECK(Inbox::instance().deliver() == 3);
        CHECK(told(futures[0]) == "sent");
        CHECK(told(futures[1]) == "refused: mailbox full");
        CHECK(told(futures[2]) == "failure: out of paper");
    }
    session.replay();
    InboxEmail replayed(QStringLiteral("Dear <name>"));
    const auto futures = send(replayed);
    CHECK(told(futures[0]) == "");
    CHECK(session.frame(session.recorded) == 3);
    CHECK(told(futures[0]) == "sent");
    CHECK(told(futures[1]) == "refused: mailbox full");
    CHECK(told(futures[2]) == "failure: out of paper");
    CHECK(mail->sent().size() == 3);
    CHECK(session.missing == 0);
}

TEST_CASE("inbox e-mail: with each message that is accepted the state shows whether mail waits, on the day and in its replay")
{
    ReplaySession session;
    const auto mail = std::make_shared<TestSupport::FakeEmailService>();
    mail->setTemplate(QStringLiteral("Dear <name>"));
    mail->holdAnswers(true);
    const auto states = std::make_shared<Host::ServiceStates>();
    const auto isDelayed = [&states] { return states->is(Host::ServiceState::MailDelayed); };
    bool keeps = true;
    {
        InboxEmail service(mail);
        service.showDelay([&keeps] { return keeps; }, states);
        const auto futures = send(service);
        mail->answer(0, {true, {}});
        CHECK_FALSE(isDelayed());
        CHECK(Inbox::instance().deliver() == 1);
        CHECK(told(futures[0]) == "sent");
        CHECK(isDelayed());
        keeps = false;
        mail->answer(1, {false, QStringLiteral("mailbox full")});
        CHECK(Inbox::instance().deliver() == 1);
        CHECK(isDelayed()); // a refusal says nothing about the others
        mail->answer(2, {true, {}});
        CHECK(Inbox::instance().deliver() == 1);
        CHECK_FALSE(isDelayed());
    }
    session.replay();
    InboxEmail replayed(QStringLiteral("Dear <name>"));
    replayed.showDelay({}, states);
    const auto futures = send(replayed);
    CHECK(session.frame({session.recorded[0]}) == 1);
    CHECK(told(futures[0]) == "sent");
    CHECK(isDelayed());
    CHECK(session.frame({session.recorded[1], session.recorded[2]}) == 2);
    CHECK_FALSE(isDelayed());
}
