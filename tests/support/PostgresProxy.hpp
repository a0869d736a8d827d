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

    enum class Then { GoOn, Freeze };
    /// The connection that sends this next is cut once the server has answered it: before the answer reaches the program.
    /// `then`: what happens before the program can see that.
    void cutAnswerTo(const QByteArray& command, Then then = Then::GoOn);
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
    QByteArray m_cutCommand; ///< written before m_cutsAnswer, and so is the next
    Then m_afterCut = Then::GoOn;
    std::thread m_thread;
};
