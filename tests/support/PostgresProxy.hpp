#pragma once

#include <QByteArray>

#include <atomic>
#include <memory>
#include <thread>

/// Stands between a program and a PostgreSQL server on loopback, and can go wrong as a network does.
class PostgresProxy
{
public:
    explicit PostgresProxy(int serverPort);
    ~PostgresProxy();
    PostgresProxy(const PostgresProxy&) = delete;
    PostgresProxy& operator=(const PostgresProxy&) = delete;

    [[nodiscard]] int port() const { return m_port; }

    /// The connection that sends this next is cut once the server has answered it: before the answer reaches the program.
    void cutAnswerTo(const QByteArray& command);
    /// From now on nothing is passed on, and new connections are not answered. Connections stay.
    void freeze() { m_isFrozen = true; }
    /// Frozen connections are cut.
    void thaw();
    /// How many connections the program has begun.
    [[nodiscard]] int connections() const { return m_connections; }

private:
    void run();

    int m_serverPort;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<int> m_connections{0};
    std::atomic<bool> m_isFrozen{false};
    std::atomic<bool> m_isEnding{false};
    std::atomic<bool> m_cutsAnswer{false};
    QByteArray m_cutCommand; ///< written before m_cutsAnswer
    std::thread m_thread;
};
