#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QTcpSocket>

struct HttpReply
{
    int status = 0; ///< 0: none came
    QByteArray head;
    QByteArray body;

    [[nodiscard]] QJsonDocument json() const { return QJsonDocument::fromJson(body); }
};

/// A connection to an HTTP server of this machine that sends exactly the bytes it is given. Waiting serves Qt's events, so
/// the server may live in the same thread.
class HttpTalk
{
public:
    explicit HttpTalk(int port);

    void send(const QByteArray& bytes);
    /// The next reply; status 0 when the connection ends, or nothing whole comes in time. A reply to HEAD has no body.
    HttpReply reply(bool isToHead = false);
    /// Whether the server has closed the connection, or does in time.
    [[nodiscard]] bool isClosedByServer();

private:
    QTcpSocket m_socket;
    QByteArray m_received;
};

/// One request as a well-behaved client sends it.
HttpReply ask(int port, const QByteArray& method, const QByteArray& target);
