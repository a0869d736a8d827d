#include "HttpTalk.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

HttpTalk::HttpTalk(int port)
{
    m_socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(port));
    REQUIRE(TestSupport::pumpUntil([this] { return m_socket.state() == QAbstractSocket::ConnectedState; }));
}

void HttpTalk::send(const QByteArray& bytes)
{
    m_socket.write(bytes);
    m_socket.flush();
}

HttpReply HttpTalk::reply(bool isToHead)
{
    HttpReply reply;
    const auto isWhole = [&] {
        m_received += m_socket.readAll();
        const int end = m_received.indexOf("\r\n\r\n");
        if (end < 0)
            return false;
        const QByteArray head = m_received.left(end + 2);
        const int length = head.indexOf("Content-Length: ");
        const int size = isToHead || length < 0 ? 0 : head.mid(length + 16, head.indexOf('\r', length) - length - 16).toInt();
        if (m_received.size() < end + 4 + size)
            return false;
        reply.status = head.split(' ').value(1).toInt();
        reply.head = head;
        reply.body = m_received.mid(end + 4, size);
        m_received.remove(0, end + 4 + size);
        return true;
    };
    const bool ended = TestSupport::pumpUntil([&] { return isWhole() || m_socket.state() == QAbstractSocket::UnconnectedState; });
    CHECK_MESSAGE(ended, "the server neither answers nor closes");
    return reply;
}

bool HttpTalk::isClosedByServer()
{
    return TestSupport::pumpUntil([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; });
}

HttpReply ask(int port, const QByteArray& method, const QByteArray& target)
{
    HttpTalk talk(port);
    talk.send(method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(port)
              + "\r\nContent-Length: 0\r\n\r\n");
    return talk.reply(method == "HEAD");
}
