#pragma once

#include "Folder.hpp"

#include "services/email/MailSettings.hpp"
#include "services/email/Outbox.hpp"
#include "services/email/OutboxService.hpp"

#include <SmtpTestServer.hpp>

#include <Tavola/EmailMessage.hpp>

#include <QIODevice>
#include <QJsonObject>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>

/// Settings with which a table talks to a server of the test.
[[nodiscard]] Host::MailSettings testSettings(const QString& server);

/// A certificate for 127.0.0.1 that signed itself, made for the test.
struct TestCertificate
{
    explicit TestCertificate(const Folder& folder);
    QString certificate;
    QString key;
};

/// What Python's own e-mail parser finds in a message: {"headers": {name: text}, "subject", "toName", "toAddress", "defects":
/// [...], "parts": [{"type", "disposition", "filename", "encoding", "charset", "longestLine", "base64"}]}, leaves in order.
[[nodiscard]] QJsonObject parseMail(const QByteArray& data);
/// The decoded bytes of its part `index`.
[[nodiscard]] QByteArray partBytes(const QJsonObject& mail, int index);
[[nodiscard]] QJsonObject part(const QJsonObject& mail, int index);

/// A device whose disk fails in the middle.
class BrokenDevice final : public QIODevice
{
public:
    BrokenDevice() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }
    bool isSequential() const override { return false; }
    qint64 size() const override { return 1000000; }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        if (pos() >= 200000) {
            setErrorString(QStringLiteral("the disk is gone"));
            return -1;
        }
        std::memset(data, 'x', std::size_t(most));
        return most;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
};

/// A message of an outbox that can be read; it must be there.
[[nodiscard]] Host::OutboxMessage messageOf(const Host::Outbox& outbox, qint64 id);

/// An e-mail service with a server to talk to, an outbox and a clock that the test moves.
struct MailBench
{
    using Status = Tavola::EmailServiceAPI::EmailStatus;

    Folder folder;
    TestSupport::SmtpTestServer server;
    Host::MailSettings settings = testSettings(server.address());
    std::atomic<qint64> nowMs{1'790'000'000'000};
    std::atomic<int> timesAsked{0}; ///< how often the service has asked for the time
    std::shared_ptr<Host::OutboxService> service;

    /// Opens the service, or opens it anew.
    void open();
    void close() { service.reset(); }
    /// A message as visitors send it.
    [[nodiscard]] Tavola::EmailMessage message(const QString& text = QStringLiteral("Hello\n"),
                                               const QString& address = QStringLiteral("ann@example.org"));
    /// Sends, and waits for the outcome.
    [[nodiscard]] Status send(const Tavola::EmailMessage& message);
    [[nodiscard]] static Status outcome(folly::Future<Status> future);
    void attach(Tavola::EmailMessage& message, const QString& path, const QString& name) const;
    /// Moves the clock, and has the service read its queue.
    void pass(double seconds);
    /// Waits until the server has that many mails.
    [[nodiscard]] bool hasMails(std::size_t count) const;
    /// Waits until the service's report has this number at `key` ("queued", "sending", "failed").
    [[nodiscard]] bool reports(const char* key, int number) const;
    /// Waits until nothing is left, neither a message nor a file.
    [[nodiscard]] bool becomesEmpty() const;
    /// Waits until the log has a line that starts with this.
    [[nodiscard]] static bool logs(const std::string& start);
    /// What the outbox holds, read as another program reads it.
    [[nodiscard]] std::vector<Host::OutboxMessage> kept() const;
    [[nodiscard]] QString outboxPath() const { return folder.path(QStringLiteral("outbox")); }
    [[nodiscard]] QString databasePath() const { return outboxPath() + QStringLiteral("/outbox.sqlite"); }
    /// How many finished messages, or other files, are in the outbox's folder.
    [[nodiscard]] int files() const;
};

/// Announces the warning that a message is tried again: why, and in how many seconds.
void expectDelay(int id, const std::string& words, const std::string& pause);
/// Announces the warning that a message was refused.
void expectRefusal(int id, const std::string& words);
