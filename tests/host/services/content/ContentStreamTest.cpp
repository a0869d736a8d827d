#include "services/content/ContentStream.hpp"

#include "ContentServer.hpp"
#include "services/content/ContentQueue.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <ReservedPort.hpp>

#include <doctest/doctest.h>

#include <future>

using namespace Host;
using TestSupport::pumpUntil;

namespace
{
struct ContentStreamFixture
{
    QString write(const char* name, const QByteArray& bytes)
    {
        const QString path = folder.filePath(QString::fromUtf8(name));
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(bytes) == bytes.size());
        return path;
    }

    ContentStream::Settings settings(const QUrl& address) const
    {
        ContentStream::Settings result;
        result.address = address;
        result.timeoutSeconds = 60.0;
        result.queueFile = queueFile;
        result.firstPause = std::chrono::milliseconds(1);
        result.longestPause = std::chrono::milliseconds(4);
        return result;
    }

    static std::optional<ContentNote> describe(ContentStream& stream, const QString& path)
    {
        std::promise<std::optional<ContentNote>> result;
        stream.describe(path, [&result](const std::optional<ContentNote>& note) { result.set_value(note); });
        return result.get_future().get();
    }

    std::size_t kept() const { return ContentQueue(queueFile).notes()->size(); }

    QByteArray content = QByteArray("map ").repeated(800);
    QTemporaryDir folder;
    QString queueFile = folder.filePath(QStringLiteral("queue.sqlite"));
    ContentServer server;
};
}

TEST_CASE_FIXTURE(ContentStreamFixture,
                  "content stream: a file is described by its hash, kept, sent, and forgotten when it has come")
{
    ContentStream stream(settings(server.address()));
    const auto note = describe(stream, write("map.png", content));
    REQUIRE(note);
    CHECK(note->name == QLatin1String("map.png"));
    CHECK(note->sha256 == QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
    CHECK(note->size == content.size());
    CHECK(kept() == 1);
    CHECK(server.requests().empty());
    stream.send(*note);
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.content(note->name) == content);
    CHECK_FALSE(describe(stream, folder.filePath(QStringLiteral("gone.png"))));
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: a file that has changed is described anew")
{
    ContentStream stream(settings(server.address()));
    const QString path = write("map.png", content);
    const auto first = describe(stream, path);
    CHECK(describe(stream, path)->sha256 == first->sha256);
    write("map.png", content + "more");
    CHECK(describe(stream, path)->sha256 != first->sha256);
    CHECK(kept() == 1);
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: what the server does not need is not kept")
{
    ContentStream stream(settings(server.address()));
    stream.forget(*describe(stream, write("map.png", content)));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.requests().empty());
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: while the server fails it is asked again and again, with one warning")
{
    TestSupport::expectWarning("ContentStream # Content waits until the media server takes it (map.png: The server says 503.)");
    server.answerNext({503, 503, 503, 503});
    ContentStream stream(settings(server.address()));
    stream.send(*describe(stream, write("map.png", content)));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.content(QStringLiteral("map.png")) == content);
    CHECK(server.requests().size() == 4 + 5);
}

TEST_CASE_FIXTURE(ContentStreamFixture,
                  "content stream: a file that the server refuses is told once and given up, and the next one goes out")
{
    TestSupport::expectWarning("ContentStream # \"map.png\" does not go to the media server (The server says 409.)");
    server.answerNext({409});
    ContentStream stream(settings(server.address()));
    stream.send(*describe(stream, write("map.png", content)));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    stream.send(*describe(stream, write("boat.png", "boat")));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.content(QStringLiteral("boat.png")) == "boat");
    CHECK(server.content(QStringLiteral("map.png")).isEmpty());
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: one file that fails does not hold the others back")
{
    TestSupport::expectWarning("ContentStream # Content waits until the media server takes it (map.png: The server says 507.)");
    server.answerNext({507});
    const QString map = write("map.png", content);
    const QString boat = write("boat.png", "boat");
    {
        ContentStream describing(settings(server.address()));
        (void)describe(describing, map);
        (void)describe(describing, boat);
    }
    const ContentStream stream(settings(server.address()));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.content(QStringLiteral("boat.png")) == "boat");
    const std::vector<QByteArray> requests = server.requests();
    CHECK(requests == std::vector<QByteArray>{"GET 0", "GET 0", "PUT 0", "GET 0", "PUT 0", "PUT 1000", "PUT 2000", "PUT 3000"});
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: what an outage has delayed is sent after a restart of the table")
{
    const QString path = write("map.png", content);
    {
        TestSupport::ReservedPort port;
        TestSupport::expectWarningStartingWith("ContentStream # Content waits until the media server takes it (map.png: ");
        ContentStream stream(settings(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port.port()))));
        stream.send(*describe(stream, path));
        CHECK(pumpUntil([] { return !TestSupport::loggedLines().empty(); }));
    }
    CHECK(kept() == 1);
    const ContentStream stream(settings(server.address()));
    CHECK(pumpUntil([&] { return kept() == 0; }));
    CHECK(server.content(QStringLiteral("map.png")) == content);
}

TEST_CASE_FIXTURE(ContentStreamFixture, "content stream: a closing table waits for no large file to be read")
{
    const QString path = write("film.mp4", "film");
    REQUIRE(QFile::resize(path, qint64(40) << 30)); // takes no room on the disk, and minutes to read
    bool isDescribed = false;
    {
        ContentStream stream(settings(server.address()));
        (void)describe(stream, write("map.png", content));
        stream.describe(path, [&isDescribed](const std::optional<ContentNote>& note) { isDescribed = note.has_value(); });
    }
    // Given up, or dropped before it began.
    const auto notes = ContentQueue(queueFile).notes();
    REQUIRE(notes->size() == 1);
    CHECK(notes->front().name == QLatin1String("map.png"));
    CHECK_FALSE(isDescribed);
}
