#include <Tavola/Network.hpp>

#include <Bedrock/Inbox.hpp>
#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <MadePictures.hpp>

#include <QBuffer>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryFile>

#include <doctest/doctest.h>

#include <functional>

using Bedrock::Inbox;
using TestSupport::expectWarning;
using TestSupport::pumpUntil;

// What a check makes of an answer is seen from outside, with real servers.

namespace
{
using Answer = std::function<void(QTcpSocket&)>;

class AnswerServer
{
public:
    explicit AnswerServer(Answer answer)
    {
        REQUIRE(m_server.listen(QHostAddress::LocalHost));
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, answer] {
                if (socket->readAll().endsWith("\r\n\r\n"))
                    answer(*socket);
            });
        });
    }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/qr.png").arg(m_server.serverPort())); }
    std::string said(const std::string& why) const
    {
        return "Network # " + url().toString().toStdString() + " was not loaded: " + why;
    }

private:
    QTcpServer m_server;
};

Answer sends(const QByteArray& body)
{
    return [body](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n"
                     + body);
        socket.disconnectFromHost();
    };
}

QByteArray png(int width, int height)
{
    QImage image(width, height, QImage::Format_Mono);
    image.fill(0);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    REQUIRE(image.save(&buffer, "PNG"));
    return bytes;
}

struct AnswerCheckFixture
{
    ~AnswerCheckFixture() { Tavola::setNetworkLimits({}); }
    QNetworkReply& load(const QUrl& url) { return load(url, manager); }
    static QNetworkReply& load(const QUrl& url, QNetworkAccessManager& by)
    {
        QNetworkReply* reply = by.get(QNetworkRequest(url));
        REQUIRE(pumpUntil([] { return Inbox::instance().isWaiting(); }));
        CHECK(Inbox::instance().deliver() == 1);
        REQUIRE(reply->isFinished());
        return *reply;
    }
    QObject owner;
    QNetworkAccessManager& manager = *Tavola::makeNetworkManager(&owner);
    QNetworkAccessManager& pictures = *Tavola::makeNetworkManager(&owner, Tavola::NetworkContent::Pictures);
};
}

TEST_CASE_FIXTURE(AnswerCheckFixture, "answer check: an answer at the limit is an answer, one beyond it an error without a body")
{
    const AnswerServer small(sends(QByteArray(1000000, 'x')));
    QNetworkReply& whole = load(small.url());
    CHECK(whole.error() == QNetworkReply::NoError);
    CHECK(whole.bytesAvailable() == 1000000);

    const AnswerServer large(sends(QByteArray(1000001, 'x')));
    expectWarning(large.said("the answer has more than 1000000 bytes"));
    QNetworkReply& refused = load(large.url());
    CHECK(refused.error() == QNetworkReply::OperationCanceledError);
    CHECK(refused.errorString() == "the answer has more than 1000000 bytes");
    CHECK(refused.url() == large.url());
    CHECK(refused.bytesAvailable() == 0);
}

TEST_CASE_FIXTURE(AnswerCheckFixture, "answer check: an answer without an end is cut at the limit")
{
    qint64 sent = 0;
    const AnswerServer endless([&sent](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        const auto more = [&sent, &socket] {
            if (socket.bytesToWrite() < 1000000)
                sent += socket.write(QByteArray(200000, 'x'));
        };
        QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, more);
        more();
    });
    expectWarning(endless.said("the answer has more than 1000000 bytes"));
    CHECK(load(endless.url()).error() == QNetworkReply::OperationCanceledError);
    CHECK(sent < 20000000);
}

TEST_CASE_FIXTURE(AnswerCheckFixture,
                  "answer check: a picture is judged by what it announces, and a body that is no picture stays as it is")
{
    const AnswerServer largest(sends(png(2048, 2048)));
    CHECK(load(largest.url()).error() == QNetworkReply::NoError);

    const QByteArray small = png(12000, 12000);
    REQUIRE(small.size() < 1000000);
    const AnswerServer larger(sends(small));
    expectWarning(larger.said("the picture has 12000 × 12000 pixels, and more than 2048 × 2048 are not decoded"));
    QNetworkReply& refused = load(larger.url());
    CHECK(refused.error() == QNetworkReply::UnknownContentError);
    CHECK(refused.bytesAvailable() == 0);

    for (const QSize& size : {QSize(2049, 10), QSize(10, 2049)}) {
        const AnswerServer narrow(sends(png(size.width(), size.height())));
        expectWarning(narrow.said("the picture has " + std::to_string(size.width()) + " × " + std::to_string(size.height())
                                  + " pixels, and more than 2048 × 2048 are not decoded"));
        CHECK(load(narrow.url()).error() == QNetworkReply::UnknownContentError);
    }

    const AnswerServer icon(sends(TestSupport::iconWith(small)));
    expectWarning(icon.said("the picture has 12000 × 12000 pixels, and more than 2048 × 2048 are not decoded"));
    CHECK(load(icon.url()).error() == QNetworkReply::UnknownContentError);

    // Compressed texts, of which a decoder keeps 24 MB each.
    QByteArray texts = png(30, 20);
    texts.insert(33, (QByteArray::fromHex("00001f40") + "zTXt" + QByteArray(8004, 'x')).repeated(6));
    const AnswerServer talkative(sends(texts));
    expectWarning(
        talkative.said("the picture is not decoded: the texts in it may take more than 128 MB of memory; save it without them"));
    CHECK(load(talkative.url()).error() == QNetworkReply::UnknownContentError);

    const AnswerServer text(sends("no picture"));
    QNetworkReply& reply = load(text.url());
    CHECK(reply.error() == QNetworkReply::NoError);
    CHECK(reply.readAll() == "no picture");
}

TEST_CASE_FIXTURE(AnswerCheckFixture,
                  "answer check: of pictures only the usual kinds are decoded, whatever kinds the machine has decoders for")
{
    // As a drawing would be, whose decoder reads the files that it names.
    const QByteArray map = "P6 2 1 255 abcdef";
    REQUIRE_FALSE(QImage::fromData(map).isNull());
    const AnswerServer server(sends(map));
    expectWarning(server.said("a picture of this kind (ppm) is not decoded; let the server send PNG or JPEG"));
    QNetworkReply& refused = load(server.url(), pictures);
    CHECK(refused.error() == QNetworkReply::UnknownContentError);
    CHECK(refused.bytesAvailable() == 0);
    // Where no picture is expected it is an answer like any other.
    CHECK(load(server.url()).readAll() == map);

    for (const char* format : {"PNG", "JPEG", "BMP"}) {
        CAPTURE(format);
        QImage image(3, 2, QImage::Format_RGB32);
        image.fill(Qt::red);
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        REQUIRE(image.save(&buffer, format));
        const AnswerServer usual(sends(buffer.data()));
        CHECK(load(usual.url(), pictures).error() == QNetworkReply::NoError);
    }
}

TEST_CASE_FIXTURE(AnswerCheckFixture,
                  "answer check: a picture for which the temporary folder has no room is an error with the remedy")
{
    const AnswerServer server(sends(png(30, 20)));
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/proc"); // a file system without any room
    expectWarning(server.said("there is no room to keep the picture in /proc; make room on that disk"));
    CHECK(load(server.url(), pictures).error() == QNetworkReply::UnknownContentError);
    CHECK(load(server.url()).error() == QNetworkReply::NoError); // which is kept in no file
    const AnswerServer text(sends("no picture"));
    TestSupport::expectWarningStartingWith("Network # " + text.url().toString().toStdString()
                                           + " is no picture that can be read");
    CHECK(load(text.url(), pictures).error() == QNetworkReply::NoError);
    qputenv("TMPDIR", "/nowhere");
    CHECK(load(server.url(), pictures).error() == QNetworkReply::NoError);
    if (before.isEmpty())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", before);
    CHECK(load(server.url(), pictures).error() == QNetworkReply::NoError);
}

TEST_CASE_FIXTURE(AnswerCheckFixture, "answer check: a server that falls silent, or trickles, is not waited for")
{
    Tavola::NetworkLimits limits;
    limits.timeoutSeconds = 0.1;
    Tavola::setNetworkLimits(limits);
    const AnswerServer silent([](QTcpSocket&) {});
    expectWarning(silent.said("no answer within 0.1 s"));
    CHECK(load(silent.url()).error() == QNetworkReply::OperationCanceledError);

    const AnswerServer trickling([](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, [&socket] { socket.write("x"); });
        socket.write("x");
    });
    expectWarning(trickling.said("no answer within 0.1 s"));
    CHECK(load(trickling.url()).error() == QNetworkReply::OperationCanceledError);
}

TEST_CASE_FIXTURE(AnswerCheckFixture,
                  "answer check: where a picture is expected an answer that is none is logged, and stays an answer")
{
    const AnswerServer picture(sends(png(30, 20)));
    CHECK(load(picture.url(), pictures).readAll() == png(30, 20));

    const AnswerServer text(sends("<html>Sign in to the network</html>"));
    expectWarning("Network # " + text.url().toString().toStdString()
                  + " is no picture that can be read (35 bytes, status 200): look at what the address answers in a browser");
    QNetworkReply& page = load(text.url(), pictures);
    CHECK(page.error() == QNetworkReply::NoError);
    CHECK(page.readAll() == "<html>Sign in to the network</html>");

    for (const char* status : {"301 Moved", "302 Found", "303 See", "307 Temporary", "308 Permanent"}) {
        CAPTURE(status);
        const AnswerServer elsewhere([status](QTcpSocket& socket) {
            socket.write(QByteArray("HTTP/1.1 ") + status
                         + "\r\nLocation: http://museum.example/qr\r\nContent-Length: 0\r\n\r\n");
        });
        expectWarning("Network # " + elsewhere.url().toString().toStdString()
                      + " is no picture: it points to http://museum.example/qr, which is not followed (status "
                      + std::string(status, 3) + "); let the server name that address");
        const QNetworkReply& reply = load(elsewhere.url(), pictures);
        CHECK(reply.error() == QNetworkReply::NoError);
        CHECK(reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl() == QUrl("http://museum.example/qr"));
    }

    // The caller writes what became of an error.
    const AnswerServer missing([](QTcpSocket& socket) { socket.write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"); });
    CHECK(load(missing.url(), pictures).error() == QNetworkReply::ContentNotFoundError);
}

TEST_CASE_FIXTURE(AnswerCheckFixture, "answer check: a head that is too long, and something that is no HTTP, are errors")
{
    const AnswerServer endless([](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\nX: ");
        socket.write(QByteArray(300000, 'x'));
    });
    expectWarning(endless.said("the head of the answer has more than 65536 bytes"));
    CHECK(load(endless.url()).error() == QNetworkReply::OperationCanceledError);

    const AnswerServer other([](QTcpSocket& socket) { socket.write("SSH-2.0-x\r\n"); });
    expectWarning(other.said("the answer is no HTTP"));
    CHECK(load(other.url()).error() == QNetworkReply::OperationCanceledError);
}

TEST_CASE_FIXTURE(AnswerCheckFixture, "answer check: nothing but web addresses is loaded")
{
    QTemporaryFile file;
    REQUIRE(file.open());
    file.write("secret");
    file.flush();
    for (const QUrl& url : {QUrl::fromLocalFile(file.fileName()), QUrl(QStringLiteral("data:text/plain,secret")),
                            QUrl(QStringLiteral("qrc:/secret")), QUrl(QStringLiteral("ftp://127.0.0.1/secret"))}) {
        CAPTURE(url.toString().toStdString());
        expectWarning("Network # " + url.toDisplayString().toStdString()
                      + " was not loaded: the address is neither http nor https");
        QNetworkReply& reply = load(url);
        CHECK(reply.error() == QNetworkReply::ProtocolUnknownError);
        CHECK(reply.bytesAvailable() == 0);
    }
}
