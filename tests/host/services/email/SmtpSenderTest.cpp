#include "MailBench.hpp"

#include "services/email/SmtpSender.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <thread>

using namespace Host;

namespace
{
using Outcome = OutboxMessage::Outcome;
using Encryption = TestSupport::SmtpTestServer::Encryption;
using TestSupport::SmtpTestServer;

const QByteArray kDottedMail("Subject: What you collected\r\n\r\nHello\r\n.\r\n..dots\r\n");

OutboxMessage letter(const QStringList& recipients = {"ann@example.org"})
{
    OutboxMessage message;
    message.sender = QStringLiteral("museum@example.net");
    for (const QString& recipient : recipients)
        message.recipients.push_back({recipient, OutboxMessage::Outcome::Open, {}});
    return message;
}

/// Sends one message; `meanwhile` is called again and again. Leaves the outcomes of its recipients in `message`.
SmtpSender::Ended sendFile(
    const MailSettings& settings, OutboxMessage& message, const QString& path, const MailCredentials& credentials = {},
    const std::function<void()>& meanwhile = [] {})
{
    SmtpSender sender(settings, credentials);
    sender.begin(message, path);
    CHECK(sender.count() == 1);
    for (;;) {
        auto ended = sender.proceed(std::chrono::milliseconds(50));
        meanwhile();
        if (ended.empty())
            continue;
        CHECK(ended.size() == 1);
        CHECK(sender.count() == 0);
        message = ended.front().message;
        return std::move(ended.front());
    }
}

SmtpSender::Ended send(const MailSettings& settings, OutboxMessage& message, const MailCredentials& credentials = {},
                       const QByteArray& mail = kDottedMail)
{
    const Folder folder;
    message.sizeBytes = mail.size();
    return sendFile(settings, message, folder.write("m.eml", mail), credentials);
}

/// Goes on until nothing is being sent; returns the number of messages that have ended.
std::size_t endStopped(SmtpSender& sender)
{
    std::size_t ended = 0;
    while (sender.count() > 0)
        ended += sender.proceed(std::chrono::hours(1)).size();
    return ended;
}

SmtpSender::Ended send(const SmtpTestServer& server)
{
    OutboxMessage message = letter();
    return send(testSettings(server.address()), message);
}
}

TEST_CASE("smtp sender: a message arrives as it was written, dots and all")
{
    SmtpTestServer server;
    OutboxMessage message = letter();
    CHECK(send(testSettings(server.address()), message).outcome == Outcome::Delivered);
    CHECK(message.recipients[0].outcome == OutboxMessage::Outcome::Delivered);
    const auto mails = server.mails();
    REQUIRE(mails.size() == 1);
    CHECK(mails[0].sender == "museum@example.net");
    CHECK(mails[0].recipients == std::vector<QByteArray>{"ann@example.org"});
    CHECK(mails[0].data == kDottedMail);
    CHECK(mails[0].login.isEmpty());
}

TEST_CASE("smtp sender: a 4xx at any step is worth another attempt, a 5xx is final, in the server's words")
{
    for (const char* step : {"CONNECT", "MAIL", "RCPT", "DATA", "BODY"}) {
        INFO("step: " << std::string(step));
        SmtpTestServer server;
        server.answer(step, "451 4.3.0 Come back later");
        const auto later = send(server);
        CHECK(later.outcome == Outcome::Open);
        CHECK(later.words.toStdString() == "451 4.3.0 Come back later");
        server.answer(step, "554-5.7.1 Go away\r\n554 for good");
        const auto refused = send(server);
        CHECK(refused.outcome == Outcome::Refused);
        CHECK(refused.words.toStdString() == "554 5.7.1 Go away for good");
        CHECK(server.mails().empty());
    }
}

TEST_CASE("smtp sender: what is said after the farewell does not count")
{
    SmtpTestServer server;
    server.answer("QUIT", "554 stay");
    CHECK(send(server).outcome == Outcome::Delivered);
    server.answer("MAIL", "550 no");
    const auto refused = send(server);
    CHECK(refused.outcome == Outcome::Refused);
    CHECK(refused.words == "550 no");
}

TEST_CASE("smtp sender: endless words do no harm")
{
    SmtpTestServer server;
    server.answer("MAIL", ("550-" + QByteArray(1000, 'x') + "\r\n").repeated(60) + "550");
    const auto refused = send(server);
    CHECK(refused.outcome == Outcome::Refused);
    CHECK(refused.words.startsWith("550 xxx"));
    CHECK(refused.words.size() <= 1010);
}

TEST_CASE("smtp sender: a server that knows the older greeting only is served")
{
    SmtpTestServer server;
    server.answer("EHLO", "502 what?");
    CHECK(send(server).outcome == Outcome::Delivered);
}

TEST_CASE("smtp sender: a server that refuses both greetings is taken at its word")
{
    SmtpTestServer server;
    server.answer("EHLO", "502 what?");
    server.answer("HELO", "550 not you");
    const auto refused = send(server);
    CHECK(refused.outcome == Outcome::Refused);
    CHECK(refused.words == "550 not you");
    server.answer("HELO", "421 too busy");
    const auto later = send(server);
    CHECK(later.outcome == Outcome::Open);
    CHECK(later.words == "421 too busy");
}

TEST_CASE("smtp sender: a connection that ends at any step is worth another attempt")
{
    for (const char* step : {"CONNECT", "EHLO", "MAIL", "RCPT", "DATA", "BODY"}) {
        INFO("step: " << std::string(step));
        SmtpTestServer server;
        server.closeAt(step);
        OutboxMessage message = letter();
        // More than the buffers between the two hold.
        const auto result = send(testSettings(server.address()), message, {}, (QByteArray(76, 'x') + "\r\n").repeated(50000));
        CHECK(result.outcome == Outcome::Open);
        CHECK(result.words.toStdString() == ("the connection to the mail server " + server.address() + " broke").toStdString());
        CHECK(message.recipients[0].outcome == OutboxMessage::Outcome::Open);
        CHECK(server.mails().empty());
    }
}

TEST_CASE("smtp sender: a silent server costs no more than the timeout")
{
    for (const char* step : {"CONNECT", "EHLO", "MAIL", "RCPT", "DATA", "BODY"}) {
        INFO("step: " << std::string(step));
        SmtpTestServer server;
        server.fallSilentAt(step);
        MailSettings settings = testSettings(server.address());
        settings.timeoutSeconds = 0.2;
        OutboxMessage message = letter();
        const auto result = send(settings, message);
        CHECK(result.outcome == Outcome::Open);
        CHECK(result.words.toStdString() == ("the mail server " + server.address() + " was too slow").toStdString());
    }
}

TEST_CASE("smtp sender: a server that is not there is worth another attempt")
{
    QString address;
    {
        const SmtpTestServer gone;
        address = gone.address();
    }
    OutboxMessage message = letter();
    const auto result = send(testSettings(address), message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words.toStdString() == ("the mail server " + address + " cannot be reached").toStdString());
}

TEST_CASE("smtp sender: a server whose name is not known is worth another attempt")
{
    OutboxMessage message = letter();
    const auto result = send(testSettings("smtp://mail.invalid:25"), message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words == "the name of the mail server smtp://mail.invalid:25 is not known");
}

TEST_CASE("smtp sender: a server that never says goodbye has taken the message all the same")
{
    SmtpTestServer server;
    server.fallSilentAt("QUIT");
    CHECK(send(server).outcome == Outcome::Delivered);
    CHECK(server.mails().size() == 1);
}

TEST_CASE("smtp sender: each recipient has an outcome of its own")
{
    SmtpTestServer server;
    server.answer("RCPT bob@example.org", "550 5.1.1 No such user");
    server.answer("RCPT cid@example.org", "450 4.2.1 Mailbox busy");
    OutboxMessage message = letter({"ann@example.org", "bob@example.org", "cid@example.org"});
    auto result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words == "450 4.2.1 Mailbox busy");
    CHECK(message.recipients[0].outcome == OutboxMessage::Outcome::Delivered);
    CHECK(message.recipients[1].outcome == OutboxMessage::Outcome::Refused);
    CHECK(message.recipients[1].reply == "550 5.1.1 No such user");
    CHECK(message.recipients[2].outcome == OutboxMessage::Outcome::Open);

    server.forgive();
    result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Refused);
    CHECK(result.words == "550 5.1.1 No such user");
    const auto mails = server.mails();
    REQUIRE(mails.size() == 2);
    CHECK(mails[0].recipients == std::vector<QByteArray>{"ann@example.org"});
    CHECK(mails[1].recipients == std::vector<QByteArray>{"cid@example.org"});
}

TEST_CASE("smtp sender: a connection that ends after one recipient was refused is no refusal of the others")
{
    SmtpTestServer server;
    server.answer("RCPT bob@example.org", "550 unknown");
    server.closeAt("DATA");
    OutboxMessage message = letter({"ann@example.org", "bob@example.org"});
    const auto result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words.endsWith(" broke"));
    CHECK(message.recipients[0].outcome == OutboxMessage::Outcome::Open);
    CHECK(message.recipients[1].outcome == OutboxMessage::Outcome::Refused);
}

TEST_CASE("smtp sender: with recipients refused for now and for good, those for now are tried again")
{
    SmtpTestServer server;
    server.answer("RCPT ann@example.org", "450 busy");
    server.answer("RCPT bob@example.org", "550 unknown");
    OutboxMessage message = letter({"ann@example.org", "bob@example.org"});
    const auto result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words == "450 busy");
}

TEST_CASE("smtp sender: once stopped it ends, whatever the server does, and returns no message that is broken off")
{
    const Folder folder;
    SmtpTestServer server;
    server.holdAt("MAIL");
    OutboxMessage message = letter();
    message.sizeBytes = kDottedMail.size();
    SmtpSender sender(testSettings(server.address()), {});
    sender.begin(message, folder.write("m.eml", kDottedMail));
    while (server.held() == 0)
        CHECK(sender.proceed(std::chrono::milliseconds(10)).empty());
    sender.begin(message, folder.path("none")); // has ended, which `proceed` has not said yet
    CHECK(sender.count() == 2);
    sender.stop();
    CHECK(endStopped(sender) == 1);
    CHECK(sender.proceed(std::chrono::milliseconds(0)).empty());
    CHECK(server.mails().empty());
}

TEST_CASE("smtp sender: a message that is stopped in the middle does not arrive as half a message")
{
    const Folder folder;
    SmtpTestServer server;
    OutboxMessage message = letter();
    const QByteArray mail = (QByteArray(76, 'x') + "\r\n").repeated(500000);
    message.sizeBytes = mail.size();
    SmtpSender sender(testSettings(server.address()), {});
    sender.begin(message, folder.write("m.eml", mail));
    while (server.dataBytes() == 0)
        CHECK(sender.proceed(std::chrono::milliseconds(10)).empty());
    sender.stop();
    CHECK(endStopped(sender) == 0);
    CHECK(server.mails().empty());
}

TEST_CASE("smtp sender: messages that are sent at once do not wait for each other")
{
    const Folder folder;
    SmtpTestServer server;
    server.holdAt("RCPT ann@example.org");
    SmtpSender sender(testSettings(server.address()), {});
    for (const char* recipient : {"ann@example.org", "bob@example.org", "cid@example.org"}) {
        OutboxMessage message = letter({recipient});
        message.sizeBytes = kDottedMail.size();
        sender.begin(message, folder.write(recipient, kDottedMail));
    }
    std::vector<SmtpSender::Ended> ended;
    const auto proceed = [&] {
        for (auto& one : sender.proceed(std::chrono::milliseconds(20000)))
            ended.push_back(std::move(one));
    };
    while (ended.size() < 2)
        proceed();
    CHECK(sender.count() == 1);
    CHECK(server.mails().size() == 2);
    server.release();
    while (ended.size() < 3)
        proceed();
    for (const auto& one : ended)
        CHECK(one.outcome == Outcome::Delivered);
    CHECK(ended.back().message.recipients[0].address == "ann@example.org");
}

TEST_CASE("smtp sender: its wait ends when it is woken, also beforehand")
{
    SmtpSender sender(testSettings("smtp://127.0.0.1:9"), {});
    sender.wake();
    CHECK(sender.proceed(std::chrono::hours(1)).empty());
    std::thread waker([&] { sender.wake(); });
    CHECK(sender.proceed(std::chrono::hours(1)).empty());
    waker.join();
}

TEST_CASE("smtp sender: a message whose file is gone, or of another length, is not sent")
{
    const Folder folder;
    SmtpTestServer server;
    const MailSettings settings = testSettings(server.address());
    const QString path = folder.write("m.eml", kDottedMail);
    OutboxMessage message = letter();
    for (const int difference : {-1, 1}) {
        message.sizeBytes = kDottedMail.size() + difference;
        const auto result = sendFile(settings, message, path);
        CHECK(result.outcome == Outcome::Refused);
        CHECK(result.words == "the outbox has lost the message's file");
    }
    message.sizeBytes = kDottedMail.size();
    CHECK(sendFile(settings, message, folder.path("none")).outcome == Outcome::Refused);
    CHECK(sendFile(settings, message, folder.path()).outcome == Outcome::Refused);
    CHECK(server.connections() == 0);
}

TEST_CASE("smtp sender: a file that becomes shorter while it is sent does not arrive as half a message")
{
    const Folder folder;
    SmtpTestServer server;
    server.holdAt("DATA");
    OutboxMessage message = letter();
    const QByteArray mail = (QByteArray(76, 'x') + "\r\n").repeated(50000);
    message.sizeBytes = mail.size();
    const QString path = folder.write("m.eml", mail);
    bool isCut = false;
    const auto cut = [&] {
        if (server.held() == 1) {
            isCut = QFile::resize(path, 780000);
            server.release();
        }
    };
    const auto result = sendFile(testSettings(server.address()), message, path, {}, cut);
    CHECK(isCut);
    CHECK(result.outcome == Outcome::Open);
    CHECK(message.recipients[0].outcome == OutboxMessage::Outcome::Open);
    CHECK(server.mails().empty());
}

TEST_CASE("smtp sender: a message that has lost its recipients is no delivery")
{
    SmtpTestServer server;
    OutboxMessage message = letter({});
    const auto result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Refused);
    CHECK(result.words == "the outbox has lost the recipients");
    CHECK(server.connections() == 0);
}

TEST_CASE("smtp sender: where every recipient has an outcome the server is not asked again")
{
    SmtpTestServer server;
    OutboxMessage message = letter({"ann@example.org", "bob@example.org"});
    message.recipients[0].outcome = OutboxMessage::Outcome::Delivered;
    message.recipients[1].outcome = OutboxMessage::Outcome::Refused;
    message.recipients[1].reply = QStringLiteral("550 unknown");
    const auto result = send(testSettings(server.address()), message);
    CHECK(result.outcome == Outcome::Refused);
    CHECK(result.words == "550 unknown");
    CHECK(server.connections() == 0);
}

TEST_CASE("smtp sender: encryption by STARTTLS and from the first byte on, with a login")
{
    const Folder folder;
    const TestCertificate own(folder);
    for (const Encryption encryption : {Encryption::StartTls, Encryption::Implicit}) {
        CAPTURE(int(encryption));
        SmtpTestServer server(encryption, own.certificate, own.key);
        MailSettings settings = testSettings(server.address());
        settings.startTls = MailSettings::StartTls::Required;
        settings.caFile = own.certificate;
        OutboxMessage message = letter();
        const auto result = send(settings, message, {QString::fromUtf8("k\u00e4yttaj\u00e4"), "s3cret"});
        CHECK(result.words.toStdString() == "");
        CHECK(result.outcome == Outcome::Delivered);
        REQUIRE(server.mails().size() == 1);
        CHECK(server.mails()[0].isEncrypted);
        CHECK(server.mails()[0].login == QByteArray("k\u00e4yttaj\u00e4 s3cret"));
    }
}

TEST_CASE("smtp sender: a certificate of no known authority is not trusted, and nothing is sent to that server")
{
    const Folder folder;
    const TestCertificate own(folder);
    for (const Encryption encryption : {Encryption::StartTls, Encryption::Implicit}) {
        CAPTURE(int(encryption));
        SmtpTestServer server(encryption, own.certificate, own.key);
        MailSettings settings = testSettings(server.address());
        settings.startTls = MailSettings::StartTls::IfOffered;
        OutboxMessage message = letter();
        const auto result = send(settings, message, {"user", "s3cret"});
        CHECK(result.outcome == Outcome::Open);
        CHECK(result.words.toStdString()
              == ("the certificate of the mail server " + server.address() + " is not to be trusted").toStdString());
        const auto steps = server.steps();
        CHECK(std::count(steps.begin(), steps.end(), "AUTH") == 0);
        CHECK(std::count(steps.begin(), steps.end(), "MAIL") == 0);
    }
}

TEST_CASE("smtp sender: a certificate for another name is not trusted")
{
    const Folder folder;
    const TestCertificate own(folder);
    SmtpTestServer server(Encryption::StartTls, own.certificate, own.key);
    MailSettings settings = testSettings(QStringLiteral("smtp://localhost:%1").arg(server.port()));
    settings.startTls = MailSettings::StartTls::Required;
    settings.caFile = own.certificate;
    OutboxMessage message = letter();
    const auto result = send(settings, message);
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words.endsWith("is not to be trusted"));
}

TEST_CASE("smtp sender: where encryption is required, a server without it gets neither login nor message")
{
    SmtpTestServer server;
    MailSettings settings = testSettings(server.address());
    settings.startTls = MailSettings::StartTls::Required;
    OutboxMessage message = letter();
    auto result = send(settings, message, {"user", "s3cret"});
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words.toStdString() == ("the mail server " + server.address() + " offers no encryption").toStdString());

    settings.startTls = MailSettings::StartTls::IfOffered;
    result = send(settings, message, {"user", "s3cret"});
    CHECK(result.outcome == Outcome::Open);
    const auto steps = server.steps();
    CHECK(std::count(steps.begin(), steps.end(), "AUTH") == 0);
    CHECK(server.mails().empty());

    CHECK(send(settings, message).outcome == Outcome::Delivered);
}

TEST_CASE("smtp sender: a STARTTLS that is refused counts as any other command")
{
    const Folder folder;
    const TestCertificate own(folder);
    SmtpTestServer server(Encryption::StartTls, own.certificate, own.key);
    MailSettings settings = testSettings(server.address());
    settings.startTls = MailSettings::StartTls::Required;
    server.answer("STARTTLS", "454 not now");
    OutboxMessage message = letter();
    CHECK(send(settings, message).outcome == Outcome::Open);
    server.answer("STARTTLS", "554 never");
    const auto result = send(settings, message);
    CHECK(result.outcome == Outcome::Refused);
    CHECK(result.words == "554 never");
}

TEST_CASE("smtp sender: a login that is refused is in the server's words, without the password")
{
    SmtpTestServer server;
    server.answer("AUTH", "535 5.7.8 Wrong");
    OutboxMessage message = letter();
    auto result = send(testSettings(server.address()), message, {"user", "s3cret"});
    CHECK(result.outcome == Outcome::Refused);
    CHECK(result.words == "535 5.7.8 Wrong");
    server.answer("AUTH", "454 4.7.0 Not now");
    result = send(testSettings(server.address()), message, {"user", "s3cret"});
    CHECK(result.outcome == Outcome::Open);
    CHECK(result.words == "454 4.7.0 Not now");
}
