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

AnsweringServer::Answer answerAndClose(const QByteArray& bytes)
{
    return [bytes](QTcpSocket& socket) {
        socket.write(bytes);
        socket.disconnectFromHost();
    };
}
}

AnsweringServer::AnsweringServer(Answer answer) : m_answer(std::move(answer))
{
    REQUIRE(m_server.listen(QHostAddress::LocalHost));
    acceptAll();
}

AnsweringServer::AnsweringServer(const QByteArray& bytes) : AnsweringServer(answerAndClose(bytes)) {}

AnsweringServer::AnsweringServer(const QByteArray& bytes, TestSupport::ReservedPort& port) : m_answer(answerAndClose(bytes))
{
    REQUIRE(m_server.setSocketDescriptor(port.listen()));
    acceptAll();
}

void AnsweringServer::acceptAll()
{
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection())
            serve(*socket);
    });
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
