#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

class QSslSocket;

namespace TestSupport
{
/// A mail server of this machine that does exactly what a test says. It runs on threads of its own, one for each connection,
/// so that a test may block. A step is a command ("EHLO", "MAIL", "RCPT", "RCPT bob@example.org", "DATA", "STARTTLS", "AUTH"),
/// "CONNECT" (the greeting) or "BODY" (the end of the data). All functions: any thread.
class SmtpTestServer
{
public:
    enum class Encryption { None, StartTls, Implicit };
    struct Mail
    {
        QByteArray sender;
        std::vector<QByteArray> recipients;
        QByteArray data; ///< with CR LF, without the dots that only the transfer needs
        bool isEncrypted = false;
        QByteArray login; ///< "user password", decoded; empty without
    };

    /// For encryption, the files of a certificate and its key.
    explicit SmtpTestServer(Encryption encryption = Encryption::None, const QString& certificate = {}, const QString& key = {});
    ~SmtpTestServer();
    SmtpTestServer(const SmtpTestServer&) = delete;
    SmtpTestServer& operator=(const SmtpTestServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    /// "smtp://127.0.0.1:2525".
    [[nodiscard]] QString address() const;

    /// Answers this step with that line or lines (without the last line end) instead of a friendly one.
    void answer(const QByteArray& step, const QByteArray& lines);
    /// Closes the connection instead of answering; at "BODY" as soon as some of the data has come.
    void closeAt(const QByteArray& step);
    /// Says nothing more at this step, and waits for the other side to go.
    void fallSilentAt(const QByteArray& step);
    /// Stops before answering this step, until released; at "BODY" the whole message has come.
    void holdAt(const QByteArray& step);
    void release();
    [[nodiscard]] int held() const { return m_held; }
    /// A friendly server again.
    void forgive();
    /// Takes data without keeping it.
    void keepNothing() { m_keepsData = false; }

    [[nodiscard]] std::vector<Mail> mails() const;
    /// Steps that came, of all connections.
    [[nodiscard]] std::vector<QByteArray> steps() const;
    [[nodiscard]] int connections() const { return m_connections; }
    /// Bytes of data, of all messages.
    [[nodiscard]] qint64 dataBytes() const { return m_dataBytes; }

private:
    enum class Next { GoOn, End };
    void listen();
    void accept();
    void serve(int descriptor);
    void converse(QSslSocket& socket);
    Next command(QSslSocket& socket, const QByteArray& line, Mail& mail);
    Next logIn(QSslSocket& socket, const QByteArray& line, Mail& mail);
    bool receiveBody(QSslSocket& socket, Mail& mail);
    /// Does what the script says of a step: answers, or ends the conversation. A mail is kept when it is accepted.
    Next step(QSslSocket& socket, const QByteArray& name, const QByteArray& friendly, bool* isRefused = nullptr,
              const Mail* mail = nullptr);
    bool readLine(QSslSocket& socket, QByteArray& line);
    bool waitForBytes(QSslSocket& socket);

    const Encryption m_encryption;
    const QString m_certificate;
    const QString m_key;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_isEnding{false};
    std::atomic<bool> m_keepsData{true};
    std::atomic<int> m_held{0};
    std::atomic<int> m_connections{0};
    std::atomic<qint64> m_dataBytes{0};
    std::thread m_acceptor;

    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    std::map<QByteArray, QByteArray> m_answers;
    std::set<QByteArray> m_closing;
    std::set<QByteArray> m_silent;
    std::set<QByteArray> m_holding;
    std::vector<Mail> m_mails;
    std::vector<QByteArray> m_steps;
    std::vector<std::thread> m_sessions;
};
}
