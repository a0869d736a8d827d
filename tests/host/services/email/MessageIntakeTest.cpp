#include "MailBench.hpp"

#include "services/email/MessageIntake.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QBuffer>
#include <QJsonArray>
#include <QTcpSocket>

using namespace Host;

namespace
{
struct MessageIntakeBench
{
    Folder folder;
    QString error;
    MailSettings settings;
    std::unique_ptr<Outbox> outbox = Outbox::open(folder.path("outbox"), error);
    Tavola::EmailMessage mail;
    OutboxMessage message;

    MessageIntakeBench()
    {
        settings.sender = {"museum@example.net", "The Small Museum"};
        settings.subject = QStringLiteral("What you collected");
        settings.largeFilesText = QStringLiteral("Too large:");
        settings.missingFilesText = QStringLiteral("Missing:");
        settings.folder = folder.path();
        mail.setContent("Hello\n");
    }
    void to(const QString& address) { mail.addRecipient({address, "Ann"}, Tavola::EmailMessage::To); }
    void attach(const QString& name, const QByteArray& bytes, const QString& shownName = QString())
    {
        auto file = std::make_unique<QFile>(folder.write(name, bytes));
        REQUIRE(file->open(QIODevice::ReadOnly));
        mail.addAttachment(shownName.isNull() ? name : shownName, std::move(file), "text/plain");
    }
    [[nodiscard]] bool accept()
    {
        const auto accepted = MessageIntake::accept(MessageIntake::letter(mail), settings, *outbox, 1'790'000'000'000);
        message = accepted.value_or(OutboxMessage());
        error = accepted ? QString() : accepted.error();
        return accepted.has_value();
    }
    /// What a reader finds in the finished message.
    [[nodiscard]] QJsonObject finished() const
    {
        QFile file(outbox->path(message.file));
        REQUIRE(file.open(QIODevice::ReadOnly));
        CHECK(message.sizeBytes == file.size());
        return parseMail(file.readAll());
    }
    [[nodiscard]] QString text() const { return QString::fromUtf8(partBytes(finished(), 0)).remove('\r'); }
    [[nodiscard]] int fileCount() const { return QDir(folder.path("outbox/files")).entryList(QDir::Files).size(); }
};
}

TEST_CASE("message intake: what a message does not say itself comes from the settings")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    bench.mail.addRecipient({"bob@example.org", "Bob"}, Tavola::EmailMessage::Bcc);
    bench.mail.setCollected({7, {"a-1"}});
    REQUIRE(bench.accept());
    CHECK(bench.message.collected.code == 7);
    CHECK(bench.message.collected.keys == QList<QString>{"a-1"});
    CHECK(bench.message.sender == "museum@example.net");
    CHECK(bench.message.state == OutboxMessage::State::Queued);
    REQUIRE(bench.message.recipients.size() == 2);
    CHECK(bench.message.recipientNames() == "ann@example.org, bob@example.org");
    CHECK(bench.message.recipients[0].outcome == OutboxMessage::Outcome::Open);
    QJsonObject mail = bench.finished();
    QJsonObject headers = mail.value("headers").toObject();
    CHECK(headers.value("From") == "The Small Museum <museum@example.net>");
    CHECK(headers.value("To") == "Ann <ann@example.org>");
    CHECK(headers.value("Subject") == "What you collected");
    CHECK(headers.value("Date") == "Mon, 21 Sep 2026 14:13:20 +0000");
    CHECK(headers.value("Message-ID") == bench.message.messageId);
    CHECK(mail.value("parts").toArray().size() == 1);
    CHECK(bench.text() == "Hello\n");
    CHECK(bench.fileCount() == 1);

    bench.mail.setSender({"other@example.com", "Other"});
    bench.mail.setSubject("Own");
    REQUIRE(bench.accept());
    CHECK(bench.message.sender == "other@example.com");
    headers = bench.finished().value("headers").toObject();
    CHECK(headers.value("From") == "Other <other@example.com>");
    CHECK(headers.value("Subject") == "Own");
}

TEST_CASE("message intake: each message has an id of its own, at the sender's host")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    REQUIRE(bench.accept());
    const QString first = bench.message.messageId;
    CHECK(first.startsWith('<'));
    CHECK(first.endsWith("@example.net>"));
    REQUIRE(bench.accept());
    CHECK(bench.message.messageId != first);
}

TEST_CASE("message intake: attachments are composed in order, and their originals are not needed any more")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    bench.attach("a.txt", "first");
    bench.attach("b.txt", "second", "line\r\nend.txt");
    bench.attach("c.txt", "", "");
    REQUIRE(bench.accept());
    QFile::remove(bench.folder.path("a.txt"));
    const QJsonObject mail = bench.finished();
    const struct
    {
        const char* name;
        const char* bytes;
    } rows[] = {{"a.txt", "first"}, {"line end.txt", "second"}, {"file", ""}};
    REQUIRE(mail.value("parts").toArray().size() == 4);
    for (int i = 0; i < 3; ++i) {
        CHECK(part(mail, i + 1).value("filename") == rows[i].name);
        CHECK(part(mail, i + 1).value("type") == "text/plain");
        CHECK(partBytes(mail, i + 1) == rows[i].bytes);
    }
    CHECK(bench.fileCount() == 1);
}

TEST_CASE("message intake: an invalid address refuses the message before anything is composed")
{
    for (const char* address : {"", "ann", "ann@example.org>", "ann@example.org\r\nRCPT TO:<eve@example.org>"}) {
        INFO("address: " << std::string(address));
        MessageIntakeBench bench;
        bench.to("bob@example.org");
        bench.to(address);
        bench.attach("a.txt", "first");
        CHECK_FALSE(bench.accept());
        CHECK(bench.error.endsWith("\" is no e-mail address"));
        CHECK_FALSE(bench.error.contains('\n'));
        CHECK(bench.fileCount() == 0);
    }
    MessageIntakeBench bench;
    CHECK_FALSE(bench.accept());
    CHECK(bench.error == "the message has no recipient");
    bench.to("ann@example.org");
    bench.mail.setSender({"museum", ""});
    CHECK_FALSE(bench.accept());
    CHECK(bench.error == "\"museum\" is no e-mail address");
}

TEST_CASE("message intake: the limit is one of all files together, and what is beyond it is named with its size")
{
    MessageIntakeBench bench;
    bench.settings.attachmentLimitBytes = 10;
    bench.to("ann@example.org");
    bench.attach("a.txt", "123456");
    bench.attach("b.bin", QByteArray(1'240'000, 'b'), "b\n.bin");
    bench.attach("c.txt", "1234");
    REQUIRE(bench.accept());
    const QJsonObject mail = bench.finished();
    REQUIRE(mail.value("parts").toArray().size() == 3);
    CHECK(part(mail, 1).value("filename") == "a.txt");
    CHECK(part(mail, 2).value("filename") == "c.txt");
    CHECK(bench.text() == "Hello\n\nToo large:\nb .bin (1.2 MB)\n");
}

TEST_CASE("message intake: a file below the presentation's folder is linked with its path, another one with its name")
{
    MessageIntakeBench bench;
    bench.settings.attachmentLimitBytes = 0;
    bench.settings.filesAddress = QStringLiteral("https://museum.example/");
    const Folder elsewhere;
    bench.to("ann@example.org");
    bench.attach("media/b & c.txt", "12", "shown.txt");
    auto file = std::make_unique<QFile>(elsewhere.write("private/d.txt", "1234"));
    REQUIRE(file->open(QIODevice::ReadOnly));
    bench.mail.addAttachment("shown too.txt", std::move(file), "text/plain");
    REQUIRE(bench.accept());
    CHECK(bench.text()
          == "Hello\n\nToo large:\nhttps://museum.example/media/b%20%26%20c.txt (0.0 MB)\nhttps://museum.example/shown%20too.txt "
             "(0.0 MB)\n");
    CHECK(bench.finished().value("parts").toArray().size() == 1);
}

TEST_CASE("message intake: an attachment that cannot be read is named, and costs only itself")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    auto socket = std::make_unique<QTcpSocket>();
    socket->open(QIODevice::ReadOnly);
    bench.mail.addAttachment("stream", std::move(socket), "text/plain");
    bench.attach("a.txt", "first");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment stream (it is no ordinary file); the message goes without it");
    REQUIRE(bench.accept());
    CHECK(bench.text() == "Hello\n\nMissing:\nstream\n");
    REQUIRE(bench.finished().value("parts").toArray().size() == 2);
    CHECK(partBytes(bench.finished(), 1) == "first");
}

TEST_CASE("message intake: an attachment that fails in the middle is left out, and makes room for those after it")
{
    MessageIntakeBench bench;
    bench.settings.attachmentLimitBytes = 1'000'005;
    bench.to("ann@example.org");
    bench.attach("a.txt", "123");
    bench.mail.addAttachment("broken", std::make_unique<BrokenDevice>(), "text/plain");
    bench.attach("b.txt", "456");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment broken (the disk is gone); the message goes without it");
    REQUIRE(bench.accept());
    CHECK(bench.text() == "Hello\n\nMissing:\nbroken\n");
    const QJsonObject mail = bench.finished();
    REQUIRE(mail.value("parts").toArray().size() == 3);
    CHECK(partBytes(mail, 1) == "123");
    CHECK(partBytes(mail, 2) == "456");
    CHECK(bench.fileCount() == 1);
}

TEST_CASE("message intake: blanks around a typed address are no part of it")
{
    MessageIntakeBench bench;
    bench.to("  ann@example.org ");
    REQUIRE(bench.accept());
    CHECK(bench.message.recipientNames() == "ann@example.org");
    CHECK(bench.finished().value("headers").toObject().value("To") == "Ann <ann@example.org>");
}

TEST_CASE("message intake: bytes in memory are sent too")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData("from memory");
    REQUIRE(buffer->open(QIODevice::ReadOnly));
    bench.mail.addAttachment("note.txt", std::move(buffer), "text/plain");
    REQUIRE(bench.accept());
    CHECK(partBytes(bench.finished(), 1) == "from memory");
}

TEST_CASE("message intake: where the message cannot be written it is refused")
{
    MessageIntakeBench bench;
    bench.to("ann@example.org");
    bench.attach("a.txt", "first");
    REQUIRE(QDir().rmdir(bench.folder.path("outbox/files")));
    bench.folder.write("outbox/files", "in the way");
    CHECK_FALSE(bench.accept());
    CHECK(bench.error == "the message cannot be kept (Not a directory)");
}

TEST_CASE("message intake: the html part is filled with the text, the name and what is missing")
{
    MessageIntakeBench bench;
    bench.settings.textTemplate = QStringLiteral("Dear <name>,<links>");
    bench.settings.htmlTemplate = QStringLiteral("<body>Dear <name><links></body>");
    bench.settings.attachmentLimitBytes = 0;
    bench.to("ann@example.org");
    bench.mail.setContent("Dear Ann,\nhttps://a.example/1\n");
    bench.attach("big.txt", "1");
    REQUIRE(bench.accept());
    const QByteArray html = partBytes(bench.finished(), 1);
    for (const char* words : {"Dear Ann", "<a href=\"https://a.example/1\">", "Too large:", "big.txt"})
        CHECK(html.contains(words));
}
