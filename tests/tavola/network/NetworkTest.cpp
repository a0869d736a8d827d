#include <Tavola/Network.hpp>

#include <Bedrock/Inbox.hpp>
#include <Bedrock/InboxSource.hpp>
#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <TestHost.hpp>

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <doctest/doctest.h>

#include <memory>
#include <string>
#include <vector>

using Bedrock::Arrival;
using Bedrock::Inbox;
using TestSupport::pumpUntil;

namespace
{
/// Answers a request that ends with `end` with these bytes and closes the connection; empty bytes leave the request open.
class NetworkTestServer
{
public:
    explicit NetworkTestServer(QByteArray answer, QByteArray end = "\r\n\r\n")
    {
        REQUIRE(m_server.listen(QHostAddress::LocalHost));
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer, end] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, answer, end] {
                m_received += socket->readAll();
                if (!m_received.endsWith(end) || answer.isEmpty())
                    return;
                socket->write(answer);
                socket->disconnectFromHost();
            });
        });
    }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/a?b=c").arg(m_server.serverPort())); }
    const QByteArray& received() const { return m_received; }

private:
    QTcpServer m_server;
    QByteArray m_received;
};

const char* const kAnswer = "HTTP/1.1 201 Made\r\nContent-Length: 5\r\nX-Colour: red\r\nConnection: close\r\n\r\nmoons";

struct NetworkFixture
{
    ~NetworkFixture()
    {
        Inbox::instance().setTap(nullptr);
        Inbox::instance().setSource(nullptr);
    }
    QNetworkReply& finished(QNetworkReply* reply)
    {
        REQUIRE(pumpUntil([] { return Inbox::instance().isWaiting(); }));
        CHECK_FALSE(reply->isFinished());
        CHECK(Inbox::instance().deliver() == 1);
        CHECK(reply->isFinished());
        return *reply;
    }

    QObject owner;
    QNetworkAccessManager& manager = *Tavola::makeNetworkManager(&owner);
};

struct Answers final : Bedrock::InboxSource
{
    std::vector<Arrival> frame;
    std::vector<Arrival> next() override { return frame; }
    void missed(const Arrival& arrival) override { FAIL("missed job " << arrival.job); }
};
}

TEST_CASE("network: a reply is finished in the input step, with the whole answer")
{
    NetworkFixture f;
    const NetworkTestServer server(kAnswer);
    std::string order;
    QObject::connect(&f.manager, &QNetworkAccessManager::finished, &f.owner,
                     [&](QNetworkReply* reply) { order += "manager:" + reply->readAll().toStdString(); });
    QNetworkReply* reply = f.manager.get(QNetworkRequest(server.url()));
    QObject::connect(reply, &QNetworkReply::readyRead, &f.owner, [&] { order += "ready "; });
    CHECK(f.owner.findChildren<QNetworkReply*>().size() == 1);
    const QNetworkReply& finished = f.finished(reply);
    CHECK(order == "ready manager:moons");
    CHECK(finished.error() == QNetworkReply::NoError);
    CHECK(finished.url() == server.url());
    CHECK(finished.operation() == QNetworkAccessManager::GetOperation);
    CHECK(finished.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 201);
    CHECK(finished.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString() == "Made");
    CHECK(finished.rawHeader("X-Colour") == "red");
    CHECK(finished.header(QNetworkRequest::ContentLengthHeader).toInt() == 5);
    CHECK(finished.bytesAvailable() == 0);
}

TEST_CASE("network: what is posted is sent, and the body can be read in pieces")
{
    NetworkFixture f;
    const NetworkTestServer server(kAnswer, "two suns");
    QNetworkRequest request(server.url());
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("text/plain"));
    QNetworkReply& reply = f.finished(f.manager.post(request, QByteArray("two suns")));
    CHECK(server.received().startsWith("POST /a?b=c "));
    CHECK(server.received().endsWith("two suns"));
    CHECK(reply.bytesAvailable() == 5);
    CHECK(reply.read(2) == "mo");
    CHECK(reply.bytesAvailable() == 3);
    CHECK(reply.readAll() == "ons");
}

TEST_CASE("network: errors come the same way, with Qt's own words")
{
    NetworkFixture f;
    QNetworkAccessManager plain;
    const auto failure = [&](const QUrl& url) {
        const QNetworkReply& reply = f.finished(f.manager.get(QNetworkRequest(url)));
        const std::unique_ptr<QNetworkReply> expected(plain.get(QNetworkRequest(url)));
        REQUIRE(pumpUntil([&] { return expected->isFinished(); }));
        CHECK(reply.errorString() == expected->errorString());
        CHECK(reply.error() == expected->error());
        return reply.error();
    };
    const NetworkTestServer missing("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    const NetworkTestServer cut("HTTP/1.1 200 OK\r\nContent-Length: 4000\r\n\r\nhalf");
    CHECK(failure(missing.url()) == QNetworkReply::ContentNotFoundError);
    CHECK(failure(cut.url()) == QNetworkReply::RemoteHostClosedError);
    CHECK(failure(QUrl()) == QNetworkReply::ProtocolUnknownError);
}

TEST_CASE("network: a redirection is reported and not followed")
{
    NetworkFixture f;
    const NetworkTestServer server("HTTP/1.1 302 Found\r\nLocation: /other\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    const QNetworkReply& reply = f.finished(f.manager.get(QNetworkRequest(server.url())));
    CHECK(reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl() == QUrl("/other"));
    CHECK(reply.url() == server.url());
}

TEST_CASE("network: an aborted reply is finished inside the call, once, and nothing is delivered to it")
{
    NetworkFixture f;
    const NetworkTestServer server{QByteArray()};
    int finished = 0;
    QNetworkReply* reply = f.manager.get(QNetworkRequest(server.url()));
    QObject::connect(&f.manager, &QNetworkAccessManager::finished, &f.owner, [&] { ++finished; });
    REQUIRE(pumpUntil([&] { return !server.received().isEmpty(); }));
    reply->abort();
    CHECK(finished == 1);
    CHECK(reply->error() == QNetworkReply::OperationCanceledError);
    reply->abort();
    (void)Inbox::instance().deliver();
    CHECK(finished == 1);
    CHECK(Inbox::instance().openJobs() == 0);
}

TEST_CASE("network: a manager may go while requests are under way, or their answers wait")
{
    const NetworkTestServer open{QByteArray()};
    const NetworkTestServer server(kAnswer);
    QPointer<QNetworkReply> waiting;
    {
        NetworkFixture f;
        (void)f.manager.get(QNetworkRequest(open.url()));
        waiting = f.manager.get(QNetworkRequest(server.url()));
        REQUIRE(pumpUntil([] { return Inbox::instance().isWaiting(); }));
        delete &f.manager;
        CHECK_FALSE(waiting);
        CHECK(Inbox::instance().deliver() == 2);
        CHECK(Inbox::instance().openJobs() == 0);
    }
}

TEST_CASE("network: an answer that a tap has seen comes from a source again, and no server is asked")
{
    std::vector<Arrival> taken;
    QUrl url;
    {
        NetworkFixture f;
        Inbox::instance().setTap([&](const Arrival& arrival) { taken.push_back(arrival); });
        const NetworkTestServer server(kAnswer);
        url = server.url();
        f.finished(f.manager.get(QNetworkRequest(url)));
    }
    REQUIRE(taken.size() == 1);
    Answers answers;
    answers.frame = taken;
    NetworkFixture f;
    Inbox::instance().setSource(&answers);
    QNetworkReply* reply = f.manager.get(QNetworkRequest(url)); // where nothing listens any more
    CHECK(Inbox::instance().deliver() == 1);
    REQUIRE(reply->isFinished());
    CHECK(reply->error() == QNetworkReply::NoError);
    CHECK(reply->readAll() == "moons");
    CHECK(reply->rawHeader("X-Colour") == "red");
}

TEST_CASE("network: an answer that cannot be read is an error")
{
    NetworkFixture f;
    Answers answers;
    answers.frame = {{1, 0, 'n', Arrival::Content::Bytes, "no answer of a network"}};
    Inbox::instance().setSource(&answers);
    const QNetworkReply* reply = f.manager.get(QNetworkRequest(QUrl("http://127.0.0.1:9/")));
    CHECK(Inbox::instance().deliver() == 1);
    CHECK(reply->error() == QNetworkReply::UnknownNetworkError);
    CHECK(reply->errorString() == "damaged answer");
}

TEST_CASE("network: answers are asked for uncompressed")
{
    NetworkFixture f;
    const NetworkTestServer server(
        "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Encoding: gzip\r\nConnection: close\r\n\r\n\x1f\x8b");
    QNetworkReply& reply = f.finished(f.manager.get(QNetworkRequest(server.url())));
    CHECK(server.received().contains("\r\nAccept-Encoding: identity\r\n"));
    CHECK(reply.readAll() == "\x1f\x8b"); // as it came
}

TEST_CASE("network: a POST is sent once, also when a kept connection closes without an answer")
{
    NetworkFixture f;
    QTcpServer server;
    REQUIRE(server.listen(QHostAddress::LocalHost));
    int posts = 0;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
        QTcpSocket* socket = server.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [&posts, socket] {
            if (!socket->readAll().endsWith("sun"))
                return;
            if (++posts == 1)
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
            else
                socket->disconnectFromHost();
        });
    });
    const QNetworkRequest request = [&] {
        QNetworkRequest made(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort())));
        made.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("text/plain"));
        return made;
    }();
    CHECK(f.finished(f.manager.post(request, QByteArray("sun"))).error() == QNetworkReply::NoError);
    CHECK(f.finished(f.manager.post(request, QByteArray("sun"))).error() != QNetworkReply::NoError);
    CHECK(posts == 2);
}

TEST_CASE("network: a manager made ahead belongs to its parent, and is of the content that its user wants")
{
    TestSupport::TestHost host;
    QObject first;
    QObject second;
    auto* const one = Tavola::makeNetworkManager(&first);
    CHECK(one->parent() == &first);
    host.frames(2); // the next one is made meanwhile
    auto* const two = Tavola::makeNetworkManager(&second, Tavola::NetworkContent::Pictures);
    CHECK(two != one);
    CHECK(two->parent() == &second);
    CHECK(first.findChildren<QNetworkAccessManager*>().size() == 1);
    // A text is no picture, which only the second one has to say.
    NetworkTestServer server(kAnswer);
    for (auto* const manager : {one, two}) {
        if (manager == two)
            TestSupport::expectWarningStartingWith("Network # ");
        QNetworkReply* const reply = manager->get(QNetworkRequest(server.url()));
        REQUIRE(host.frameUntil([&] { return reply->isFinished(); }));
        CHECK(reply->readAll() == "moons");
    }
}
