#pragma once

#include <ReservedPort.hpp>

#include <QByteArray>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <vector>

/// A server inside the test that answers each whole HTTP request with exactly the bytes, and in exactly the way, that the
/// test says.
class AnsweringServer
{
public:
    /// Called once a request has come whole; does with the socket what it likes.
    using Answer = std::function<void(QTcpSocket&)>;

    explicit AnsweringServer(Answer answer);
    /// Answers `bytes` and closes the connection.
    explicit AnsweringServer(const QByteArray& bytes);
    /// The same, on a port that was reserved.
    AnsweringServer(const QByteArray& bytes, TestSupport::ReservedPort& port);

    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    [[nodiscard]] const std::vector<QByteArray>& requests() const { return m_requests; }

private:
    void acceptAll();
    void serve(QTcpSocket& socket);

    Answer m_answer;
    std::vector<QByteArray> m_requests;
    QTcpServer m_server;
};
