#include "recording/RecordedServices.hpp"

#include <Bedrock/Arrivals.hpp>
#include <FakeEmailService.hpp>
#include <FakeServices.hpp>

#include <doctest/doctest.h>

#include <QJsonObject>

#include <stdexcept>
#include <string>
#include <vector>

using namespace Host;

using Bedrock::Arrivals;
using EmailStatus = Tavola::EmailServiceAPI::EmailStatus;

namespace
{
/// Records in the process's arrivals, then replays what was recorded, all of it in one frame.
struct Session
{
    Session()
    {
        Arrivals::instance().startRecording([this](const Arrivals::Arrival& arrival) { recorded.push_back(arrival); });
    }
    ~Session() { Arrivals::instance().stop(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    static void replay() { Arrivals::instance().startReplaying(); }
    void frame() const
    {
        Arrivals::instance().expect(recorded);
        Arrivals::instance().admit();
    }

    std::vector<Arrivals::Arrival> recorded;
};

/// What came of a future: "value", "failure: text", or "" while it is open.
template <class T, class Describe>
std::string outcome(const folly::Future<T>& future, Describe describe)
{
    if (!future.isReady())
        return {};
    if (future.hasValue())
        return describe(future.value());
    return std::string("failure: ") + future.result().template tryGetExceptionObject<std::exception>()->what();
}

std::string told(const folly::Future<QJsonObject>& future)
{
    return outcome(future,
                   [](const QJsonObject& answer) { return answer.value(QLatin1String("says")).toString().toStdString(); });
}

std::string told(const folly::Future<EmailStatus>& future)
{
    return outcome(future,
                   [](const EmailStatus& status) { return status.success ? "sent" : "refused: " + status.error.toStdString(); });
}
}

TEST_CASE("recorded media server: a replay gives each command the answer of the day, in its frame, and asks nobody")
{
    Session session;
    const auto server = std::make_shared<TestSupport::FakeMediaServer>();
    server->holdAnswers(true);
    const auto ask = [](RecordedMediaServer& recorded) {
        std::vector<folly::Future<QJsonObject>> futures;
        for (int i = 0; i < 3; ++i)
            futures.push_back(recorded.request({{"command", i}}));
        return futures;
    };
    {
        RecordedMediaServer recorded(server);
        const auto futures = ask(recorded);
        CHECK(server->commands().size() == 3);
        server->answerFromThread(1, {{"says", QStringLiteral("späť")}});
        server->fail(0, "The media server is away");
        CHECK(told(futures[1]) == "");
        CHECK(Arrivals::instance().admit() == 2);
        CHECK(told(futures[0]) == "failure: The media server is away");
        CHECK(told(futures[1]) == "späť");
        CHECK(told(futures[2]) == "");
        REQUIRE(session.recorded.size() == 2);
        CHECK(session.recorded[0].ticket == 2);
    }
    Session::replay();
    RecordedMediaServer replayed(nullptr);
    const auto futures = ask(replayed);
    Arrivals::instance().expect({});
    CHECK(Arrivals::instance().admit() == 0);
    CHECK(told(futures[1]) == "");
    session.frame();
    CHECK(told(futures[0]) == "failure: The media server is away");
    CHECK(told(futures[1]) == "späť");
    CHECK(told(futures[2]) == "");
    CHECK(server->commands().size() == 3);
}

TEST_CASE("recorded e-mail: a replay tells what became of each message and sends none")
{
    Session session;
    const auto mail = std::make_shared<TestSupport::FakeEmailService>();
    mail->setTemplate(QStringLiteral("Dear <name>"));
    mail->holdAnswers(true);
    const auto send = [](RecordedEmail& recorded) {
        std::vector<folly::Future<EmailStatus>> futures;
        for (int i = 0; i < 3; ++i) {
            const Tavola::EmailMessage message = recorded.createMessage();
            CHECK(message.content == QStringLiteral("Dear <name>"));
            futures.push_back(recorded.send(message));
        }
        return futures;
    };
    {
        RecordedEmail recorded(mail, QStringLiteral("unused"));
        const auto futures = send(recorded);
        mail->answerFromThread(0, {true, {}});
        mail->answer(1, {false, QStringLiteral("mailbox full")});
        mail->failFromThread(2, "out of paper");
        CHECK(told(futures[0]) == "");
        CHECK(Arrivals::instance().admit() == 3);
        CHECK(told(futures[0]) == "sent");
        CHECK(told(futures[1]) == "refused: mailbox full");
        CHECK(told(futures[2]) == "failure: out of paper");
    }
    Session::replay();
    RecordedEmail replayed(nullptr, QStringLiteral("Dear <name>"));
    const auto futures = send(replayed);
    CHECK(told(futures[0]) == "");
    session.frame();
    CHECK(told(futures[0]) == "sent");
    CHECK(told(futures[1]) == "refused: mailbox full");
    CHECK(told(futures[2]) == "failure: out of paper");
    CHECK(mail->sent().size() == 3);
}
