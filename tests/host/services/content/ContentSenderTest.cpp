#include "services/content/ContentSender.hpp"

#include "ContentServer.hpp"

#include <ReservedPort.hpp>

#include <doctest/doctest.h>

using namespace Host;
using Outcome = ContentSender::Outcome;

namespace
{
struct ContentSenderFixture
{
    ContentSenderFixture()
    {
        QFile file(note.path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(content) == content.size());
    }

    ContentSender::Result send(const QByteArray& key = {})
    {
        return ContentSender(server.address(), key, 60.0).send(note, isStopped);
    }

    QByteArray content = QByteArray("map ").repeated(800); // 3200 bytes, four pieces
    QTemporaryDir folder;
    ContentNote note{QStringLiteral("Käsityö & map.png"), folder.filePath(QStringLiteral("map.png")),
                     QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex(), content.size()};
    std::atomic<bool> isStopped{false};
    ContentServer server;
};
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: a file goes out in the server's pieces, with the key")
{
    CHECK(send("0123").outcome == Outcome::Sent);
    CHECK(server.content(note.name) == content);
    CHECK(server.requests() == std::vector<QByteArray>{"GET 0", "PUT 0", "PUT 1000", "PUT 2000", "PUT 3000"});
    CHECK(server.lastAuthorization() == "Bearer 0123");
    // Nothing is sent of what is there.
    CHECK(send().outcome == Outcome::Sent);
    CHECK(server.requests().size() == 6);
    CHECK(server.lastAuthorization().isEmpty());
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: a user name and a password in the address are sent, in the header alone")
{
    QUrl address = server.address();
    address.setUserInfo(QStringLiteral("ann:se%20cret"));
    CHECK(ContentSender(address, {}, 60.0).send(note, isStopped).outcome == Outcome::Sent);
    CHECK(server.lastAuthorization() == "Basic " + QByteArray("ann:se cret").toBase64());
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: it goes on where the server's part ends")
{
    server.hasReceived(content.left(1500));
    CHECK(send().outcome == Outcome::Sent);
    CHECK(server.requests() == std::vector<QByteArray>{"GET 0", "PUT 1500", "PUT 2500"});
    CHECK(server.content(note.name) == content);
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: what the server answers decides whether it is tried again")
{
    struct Row
    {
        int status;
        Outcome outcome;
    };
    for (const Row& row : {Row{400, Outcome::Refused},
                           {401, Outcome::Later},
                           {404, Outcome::NotWanted},
                           {409, Outcome::Refused},
                           {422, Outcome::Refused},
                           {500, Outcome::Later},
                           {503, Outcome::Later},
                           {507, Outcome::Later},
                           {302, Outcome::Later}}) {
        CAPTURE(row.status);
        server.answerNext({row.status});
        const auto result = send();
        CHECK(result.outcome == row.outcome);
        CHECK(result.reason == QStringLiteral("The server says %1.").arg(row.status));
    }
    CHECK(server.content(note.name).isEmpty());
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: a server that is away, or makes no sense, is asked later")
{
    TestSupport::ReservedPort port;
    const QUrl away(QStringLiteral("http://127.0.0.1:%1/").arg(port.port()));
    const auto result = ContentSender(away, {}, 60.0).send(note, isStopped);
    CHECK(result.outcome == Outcome::Later);
    CHECK_FALSE(result.reason.isEmpty());
    server.padNext(100'000);
    CHECK(send().outcome == Outcome::Later);
    CHECK(server.content(note.name).isEmpty());
    // 200 with an error and no state.
    server.answerNext({200});
    CHECK(send().reason == QLatin1String("the server's answer makes no sense"));
    isStopped = true;
    CHECK(send().outcome == Outcome::Later);
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: a server that takes no piece is asked later, and not for ever")
{
    server.dropPieces();
    CHECK(send().reason == QLatin1String("the server's answer makes no sense"));
    CHECK(server.requests() == std::vector<QByteArray>{"GET 0", "PUT 0"});
}

TEST_CASE_FIXTURE(ContentSenderFixture, "content sender: a file that has changed or gone since is given up")
{
    QFile file(note.path);
    REQUIRE(file.open(QIODevice::Append));
    file.write("x");
    file.close();
    CHECK(send().outcome == Outcome::Refused);
    CHECK(send().reason == note.path + QStringLiteral(" is not what was collected any more"));
    QFile::remove(note.path);
    CHECK(send().outcome == Outcome::Refused);
}
