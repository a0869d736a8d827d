// What a service refuses or leaves out: addresses, files, logins, messages beyond its limits.

#include "MailBench.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
}

TEST_CASE("outbox service: an invalid address is refused at once, and nothing is kept")
{
    for (const char* address :
         {"", "ann", "ann@example.org\r\nRCPT TO:<eve@example.org>", "ann@example.org>", "<ann@example.org>"}) {
        INFO("address: " << std::string(address));
        MailBench bench;
        bench.open();
        TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (");
        const auto status = bench.send(bench.message("Hello\n", address));
        CHECK_FALSE(status.success);
        CHECK(status.error.endsWith(" is no e-mail address"));
        CHECK(bench.kept().empty());
        CHECK(bench.server.connections() == 0);
    }
    MailBench bench;
    bench.open();
    TestSupport::expectWarning("OutboxService # Failed to accept a message (the message has no recipient)");
    const auto status = bench.send(bench.service->createMessage());
    CHECK_FALSE(status.success);
    CHECK(status.error == "the message has no recipient");
}

TEST_CASE("outbox service: an attachment that cannot be read costs that attachment, and the body says so")
{
    MailBench bench;
    bench.open();
    auto message = bench.message("Hello\n");
    const QString path = bench.folder.path("pipe");
    REQUIRE(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    auto pipe = std::make_unique<QFile>();
    REQUIRE(pipe->open(::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK), QIODevice::ReadOnly,
                       QFileDevice::AutoCloseHandle));
    message.addAttachment("pipe\r\nX: y", std::move(pipe), "application/octet-stream");
    auto directory = std::make_unique<QFile>();
    REQUIRE(directory->open(::open(QFile::encodeName(bench.folder.path()).constData(), O_RDONLY), QIODevice::ReadOnly,
                            QFileDevice::AutoCloseHandle));
    message.addAttachment("directory", std::move(directory), "application/octet-stream");
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    bench.attach(message, bench.folder.write("empty", ""), "empty");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment pipe X: y (it is no ordinary file); the message goes without it");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment directory (it is no ordinary file); the message goes without it");
    CHECK(bench.send(message).success);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(partBytes(mail, 0) == "Hello\r\n\r\nMissing:\r\npipe X: y\r\ndirectory\r\n");
    REQUIRE(mail.value("parts").toArray().size() == 3);
    CHECK(part(mail, 1).value("filename") == "a.txt");
    CHECK(partBytes(mail, 1) == "attached");
    CHECK(part(mail, 2).value("filename") == "empty");
    CHECK(partBytes(mail, 2) == "");
}

TEST_CASE("outbox service: files beyond the limit become links, and the body says so")
{
    MailBench bench;
    bench.settings.attachmentLimitBytes = 1000;
    bench.settings.folder = bench.folder.path();
    bench.settings.filesAddress = QStringLiteral("https://museum.example/files/");
    bench.settings.textTemplate = QStringLiteral("<links>");
    bench.settings.htmlTemplate = QStringLiteral("<body><links></body>");
    bench.open();
    auto message = bench.message("\n");
    bench.attach(message, bench.folder.write("a.bin", QByteArray(600, 'a')), "a.bin");
    bench.attach(message, bench.folder.write("media/b & c.bin", QByteArray(500, 'b')), "b & c.bin");
    bench.attach(message, bench.folder.write("c.bin", QByteArray(400, 'c')), "c.bin");
    bench.attach(message, bench.folder.write("d.bin", "d"), "d.bin");
    bench.attach(message, bench.folder.write("e.bin", ""), "e.bin");
    CHECK(bench.send(message).success);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(partBytes(mail, 0).toStdString()
          == "\r\n\r\nToo large:\r\nhttps://museum.example/files/media/b%20%26%20c.bin (0.0 "
             "MB)\r\nhttps://museum.example/files/d.bin (0.0 "
             "MB)\r\n");
    CHECK(partBytes(mail, 1).contains("<a href=\"https://museum.example/files/media/b%20%26%20c.bin\">"));
    REQUIRE(mail.value("parts").toArray().size() == 5);
    CHECK(part(mail, 2).value("filename") == "a.bin");
    CHECK(part(mail, 3).value("filename") == "c.bin");
    CHECK(part(mail, 4).value("filename") == "e.bin");
}

TEST_CASE("outbox service: a service has two threads of its own")
{
    const auto threads = [] { return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); };
    MailBench bench;
    bench.open();
    // Composed, and sent to no server, whose threads would be counted.
    TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (");
    REQUIRE_FALSE(bench.send(bench.message("Hello\n", "ann")).success);
    const int before = threads();
    bench.close();
    CHECK(before - threads() == 2);
}

TEST_CASE("outbox service: a second table keeps off the outbox of the first")
{
    MailBench bench;
    bench.open();
    QString error;
    CHECK(OutboxService::open(bench.settings, bench.outboxPath(), error) == nullptr);
    CHECK(error == "the outbox in " + bench.outboxPath() + " is in use by another table");
}

TEST_CASE("outbox service: with a login that cannot be read, or would cross a network unencrypted, the table does not open")
{
    using StartTls = MailSettings::StartTls;
    MailBench bench;
    const QString login = bench.folder.write("login", "user\nt0p-s3cret\n");
    QFile::setPermissions(login, QFile::ReadOwner);
    const QString none = bench.folder.path("none");
    const QString remote = QStringLiteral("smtp://mail.example.org:587");
    const struct
    {
        QString server;
        StartTls startTls;
        QString credentials;
        std::string error; ///< its beginning; empty where the table opens
    } rows[] = {
        {bench.settings.server, StartTls::Never, none, "cannot read " + none.toStdString()},
        {remote, StartTls::Never, login,
         "\"startTls\": \"never\" would send the password to the mail server smtp://mail.example.org:587 unencrypted; set it to "
         "\"required\", or leave out the credentials (the file, or TAVOLA_SMTP_USER)"},
        {remote, StartTls::IfOffered, login, ""},
        {remote, StartTls::Never, QString(), ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.error);
        bench.settings.server = row.server;
        bench.settings.startTls = row.startTls;
        bench.settings.credentialsFile = row.credentials;
        QString error;
        const bool isOpen = OutboxService::open(bench.settings, bench.outboxPath(), error) != nullptr;
        CHECK(isOpen == row.error.empty());
        CHECK(error.toStdString().substr(0, row.error.size()) == row.error);
        CHECK(QFileInfo::exists(bench.outboxPath()) == isOpen);
        QDir(bench.outboxPath()).removeRecursively();
    }
}

TEST_CASE("outbox service: a password never reaches the log, whatever happens")
{
    MailBench bench;
    const QString file = bench.folder.write("login", "user\nt0p-s3cret\n");
    QFile::setPermissions(file, QFile::ReadOwner);
    bench.settings.credentialsFile = file;
    bench.server.answer("AUTH", "535 5.7.8 Wrong");
    bench.open();
    expectRefusal(1, "535 5.7.8 Wrong");
    CHECK_FALSE(bench.send(bench.message()).success);
    bench.server.closeAt("AUTH");
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to ann@example.org is not delivered yet (");
    CHECK(bench.send(bench.message()).success);
    bench.close();
    const std::string encoded = QByteArray("\0user\0t0p-s3cret", 16).toBase64().toStdString();
    for (const auto& line : TestSupport::loggedLines()) {
        CHECK(line.text.find("t0p-s3cret") == std::string::npos);
        CHECK(line.text.find(encoded) == std::string::npos);
    }
}

TEST_CASE("outbox service: a message beyond the limits is refused, and its sender and the operator learn why")
{
    MailBench bench;
    bench.settings.mostMessages = 2;
    bench.settings.retrySeconds = 3600.0;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    for (int i = 1; i <= 2; ++i) {
        expectDelay(i, "451 Come back", "3600");
        CHECK(bench.send(bench.message()).success);
    }
    // Once a minute at most.
    TestSupport::expectWarning(
        "OutboxService # Failed to accept a message (the outbox is full: at most 2 messages and 20000 MB; delete some with "
        "\"tavola mail drop\", have the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\")");
    for (int i = 0; i < 3; ++i) {
        auto message = bench.message();
        bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
        const auto status = bench.send(message);
        CHECK_FALSE(status.success);
        CHECK(status.error == "the outbox is full, so the message was not sent");
    }
    CHECK(bench.kept().size() == 2);
    CHECK(bench.files() == 2);
    const QJsonObject state = bench.service->state();
    CHECK(state.value("lastError") == "the outbox is full, so the message was not sent");
    CHECK(state.value("queued") == 2);
    CHECK(state.value("mostMessages") == 2);
    CHECK(state.value("mostBytes") == 2e10);
    CHECK(state.value("bytes").toInt() > 0);

    // A message that is gone makes room.
    bench.server.forgive();
    bench.pass(3600.0);
    REQUIRE(bench.becomesEmpty());
    CHECK(bench.send(bench.message()).success);
}

TEST_CASE("outbox service: a message too large for what is left of the outbox is refused, and a smaller one is not")
{
    MailBench bench;
    bench.settings.mostBytes = 3000;
    bench.open();
    auto large = bench.message();
    bench.attach(large, bench.folder.write("a.bin", QByteArray(3000, 'a')), "a.bin");
    TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (the outbox is full: ");
    CHECK_FALSE(bench.send(large).success);
    CHECK(bench.files() == 0);
    CHECK(bench.send(bench.message()).success);
}

TEST_CASE("outbox service: refused messages are deleted after the days that the settings say, queued ones never")
{
    MailBench bench;
    bench.settings.giveUpHours = 10000.0;
    bench.server.answer("RCPT ann@example.org", "550 unknown");
    bench.server.answer("RCPT bob@example.org", "450 busy");
    bench.open();
    expectRefusal(1, "550 unknown");
    CHECK_FALSE(bench.send(bench.message()).success);
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    CHECK(bench.send(bench.message("Hello\n", "bob@example.org")).success);

    // Off by default.
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    bench.pass(100.0 * 86400.0);
    REQUIRE(TestSupport::pumpUntil([&] { return bench.kept().at(1).attempts == 2; }, 20000));
    CHECK(bench.kept().at(0).state == State::Failed);

    bench.settings.deleteRefusedDays = 101.0;
    bench.open();
    REQUIRE(bench.reports("failed", 1));
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    bench.pass(86400.0 + 1.0);
    REQUIRE(bench.reports("failed", 0));
    REQUIRE(TestSupport::pumpUntil([&] { return bench.kept().at(0).attempts == 3; }, 20000));
    CHECK(bench.kept().size() == 1);
    CHECK(bench.files() == 1);
}
