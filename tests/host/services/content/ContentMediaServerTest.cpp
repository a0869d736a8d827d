#include "services/content/ContentMediaServer.hpp"

#include "ContentServer.hpp"
#include "services/content/ContentQueue.hpp"
#include "services/content/ContentStream.hpp"

#include <EventLoop.hpp>
#include <FakeServices.hpp>

#include <doctest/doctest.h>

#include <thread>

using namespace Host;
using TestSupport::pumpUntil;

namespace
{
/// What became of a command.
struct AskedOutcome
{
    std::optional<QJsonObject> answer;
    std::string failure;
    std::thread::id thread;
    [[nodiscard]] bool isThere() const { return answer || !failure.empty(); }
};

struct ContentMediaServerFixture
{
    ContentMediaServerFixture()
    {
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write("boat") == 4);
    }

    std::unique_ptr<ContentMediaServer> make()
    {
        ContentStream::Settings settings;
        settings.address = contentServer.address();
        settings.timeoutSeconds = 60.0;
        settings.queueFile = queueFile;
        return std::make_unique<ContentMediaServer>(fake, std::make_unique<ContentStream>(settings), [this](const QString& name) {
            return name == QLatin1String("unknown.png") ? QString() : folder.filePath(name);
        });
    }

    static std::shared_ptr<AskedOutcome> ask(ContentMediaServer& server, const QJsonObject& command)
    {
        auto outcome = std::make_shared<AskedOutcome>();
        (void)server.request(command).thenTry([outcome](folly::Try<QJsonObject>&& result) {
            outcome->thread = std::this_thread::get_id();
            if (result.hasValue())
                outcome->answer = result.value();
            else if (const auto* error = result.tryGetExceptionObject<std::exception>())
                outcome->failure = error->what();
        });
        return outcome;
    }

    std::size_t kept() const { return ContentQueue(queueFile).notes()->size(); }

    const QJsonObject addBoat{{"command", "additem"}, {"tessel", 7}, {"filename", "boat.png"}, {"displayname", "Boat"}};
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("boat.png"));
    QString queueFile = folder.filePath(QStringLiteral("queue.sqlite"));
    ContentServer contentServer;
    std::shared_ptr<TestSupport::FakeMediaServer> fake = std::make_shared<TestSupport::FakeMediaServer>();
};
}

TEST_CASE_FIXTURE(ContentMediaServerFixture,
                  "content media server: an item goes out with the hash of its file, which follows when the server lacks it")
{
    fake->script = [](const QJsonObject&) { return QJsonObject{{"success", true}, {"content", "coming"}}; };
    const auto server = make();
    const auto outcome = ask(*server, addBoat);
    REQUIRE(pumpUntil([&] { return outcome->isThere(); }));
    CHECK(outcome->answer->value(QLatin1String("success")).toBool());
    CHECK(outcome->thread == std::this_thread::get_id());
    REQUIRE(fake->commands().size() == 1);
    QJsonObject sent = fake->commands()[0];
    CHECK(sent.take(QStringLiteral("sha256")).toString().toLatin1()
          == QCryptographicHash::hash("boat", QCryptographicHash::Sha256).toHex());
    CHECK(sent.take(QStringLiteral("size")).toInt() == 4);
    CHECK(sent == addBoat);
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(contentServer.content(QStringLiteral("boat.png")) == "boat");
}

TEST_CASE_FIXTURE(ContentMediaServerFixture,
                  "content media server: nothing is sent when the server has the file or refuses the item")
{
    for (const QJsonObject& answer : {QJsonObject{{"success", true}}, QJsonObject{{"success", false}, {"error", "no"}}}) {
        fake->script = [answer](const QJsonObject&) { return answer; };
        const auto server = make();
        const auto outcome = ask(*server, addBoat);
        REQUIRE(pumpUntil([&] { return outcome->isThere(); }));
        CHECK(*outcome->answer == answer);
        CHECK(pumpUntil([&] { return kept() == 0; }));
    }
    CHECK(contentServer.requests().empty());
}

TEST_CASE_FIXTURE(ContentMediaServerFixture,
                  "content media server: a command that was perhaps carried out is asked about when the server answers again")
{
    fake->script = [](const QJsonObject&) -> QJsonObject { throw std::runtime_error("The media server cut the connection"); };
    const auto server = make();
    const auto outcome = ask(*server, addBoat);
    REQUIRE(pumpUntil([&] { return outcome->isThere(); }));
    CHECK(outcome->failure == "The media server cut the connection");
    CHECK(kept() == 1);
    CHECK(contentServer.requests().empty());

    REQUIRE(QFile::copy(path, folder.filePath(QStringLiteral("map.png"))));
    fake->script = [](const QJsonObject&) { return QJsonObject{{"success", true}, {"content", "coming"}}; };
    const auto next = ask(*server, {{"command", "additem"}, {"tessel", 7}, {"filename", "map.png"}});
    REQUIRE(pumpUntil([&] { return next->isThere(); }));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(contentServer.content(QStringLiteral("map.png")) == "boat");
    CHECK(contentServer.content(QStringLiteral("boat.png")) == "boat");
}

TEST_CASE_FIXTURE(ContentMediaServerFixture, "content media server: every other command passes at once and unchanged")
{
    fake->script = [](const QJsonObject&) { return QJsonObject{{"success", true}}; };
    const auto server = make();
    const QJsonObject others[] = {{{"command", "getuserpage"}, {"tessel", 7}},
                                  {{"command", "deleteitem"}, {"tessel", 7}, {"filename", "boat.png"}},
                                  {{"command", "additem"}, {"tessel", 7}, {"filename", "unknown.png"}},
                                  {{"command", "additem"}, {"tessel", 7}, {"url", "https://museum.example/"}}};
    for (const QJsonObject& command : others) {
        CHECK(ask(*server, command)->isThere());
        CHECK(fake->commands().back() == command);
    }
}

TEST_CASE_FIXTURE(ContentMediaServerFixture, "content media server: a file that cannot be read goes out by its name alone")
{
    QFile::remove(path);
    fake->script = [](const QJsonObject&) { return QJsonObject{{"success", true}}; };
    const auto server = make();
    const auto outcome = ask(*server, addBoat);
    REQUIRE(pumpUntil([&] { return outcome->isThere(); }));
    CHECK(fake->commands()[0] == addBoat);
}

TEST_CASE_FIXTURE(ContentMediaServerFixture,
                  "content media server: a command whose file is still being read fails when the table closes")
{
    auto server = make();
    const auto outcome = ask(*server, addBoat);
    server.reset();
    CHECK(outcome->failure == "The media server was not asked: the table closes");
    CHECK(fake->commands().empty());
}
