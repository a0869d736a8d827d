#include "AnsweringServer.hpp"

#include <doctest/doctest.h>

#include <memory>

namespace
{
bool isWhole(const QByteArray& request)
{
    const int end = request.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    const int length = request.toLower().indexOf("content-length:");
    const int wanted = length < 0 ? 0 : request.mid(length + 15, request.indexOf('\r', length) - length - 15).trimmed().toInt();
    return request.size() >= end + 4 + wanted;
}
}

AnsweringServer::AnsweringServer(Answer answer, quint16 port) : m_answer(std::move(answer))
{
    REQUIRE(m_server.listen(QHostAddress::LocalHost, port));
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection())
            serve(*socket);
    });
}

AnsweringServer::AnsweringServer(const QByteArray& bytes, quint16 port)
    : AnsweringServer(
        [bytes](QTcpSocket& socket) {
            socket.write(bytes);
            socket.disconnectFromHost();
        },
        port)
{
}

void AnsweringServer::serve(QTcpSocket& socket)
{
    QObject::connect(&socket, &QTcpSocket::disconnected, &socket, &QObject::deleteLater);
    QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [this, &socket, request = std::make_shared<QByteArray>()] {
        *request += socket.readAll();
        if (!isWhole(*request))
            return;
        m_requests.push_back(*request);
        request->clear();
        m_answer(socket);
    });
}
