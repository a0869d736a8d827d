#include "../Folder.hpp"

#include "services/email/MailSettings.hpp"
#include "services/email/MessageIntake.hpp"
#include "services/email/OutboxFiles.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QBuffer>
#include <QTcpSocket>

using namespace Host;

namespace
{
struct Bench
{
    Folder folder;
    MailSettings settings;
    OutboxFiles files{folder.path("files")};
    Tavola::EmailMessage mail;
    OutboxMessage message;
    QString error;

    Bench()
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
    [[nodiscard]] bool take()
    {
        message = OutboxMessage();
        error.clear();
        return MessageIntake(settings, files).take(MailJob(mail), message, error);
    }
    [[nodiscard]] QByteArray copy(int number) const
    {
        QFile file(message.files.at(std::size_t(number)).path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }
    [[nodiscard]] int folders() const { return QDir(folder.path("files")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); }
};
}

TEST_CASE("message intake: what a message does not say itself comes from the settings")
{
    Bench bench;
    bench.to("ann@example.org");
    bench.mail.addRecipient({"bob@example.org", "Bob"}, Tavola::EmailMessage::Bcc);
    REQUIRE(bench.take());
    CHECK(bench.message.sender.address == "museum@example.net");
    CHECK(bench.message.sender.name == "The Small Museum");
    CHECK(bench.message.subject == "What you collected");
    CHECK(bench.message.text == "Hello\n");
    CHECK(bench.message.html.isEmpty());
    CHECK(bench.message.folder.isEmpty());
    CHECK(bench.message.state == OutboxMessage::State::Queued);
    REQUIRE(bench.message.recipients.size() == 2);
    CHECK(bench.message.recipients[0].address.name == "Ann");
    CHECK(bench.message.recipients[0].outcome == OutboxMessage::Outcome::Open);
    CHECK(bench.message.recipients[1].type == Tavola::EmailMessage::Bcc);
    CHECK(bench.folders() == 0);

    bench.mail.setSender({"other@example.com", "Other"});
    bench.mail.setSubject("Own");
    REQUIRE(bench.take());
    CHECK(bench.message.sender.address == "other@example.com");
    CHECK(bench.message.subject == "Own");
}

TEST_CASE("message intake: each message has an id of its own, at the sender's host")
{
    Bench bench;
    bench.to("ann@example.org");
    REQUIRE(bench.take());
    const QString first = bench.message.messageId;
    CHECK(first.startsWith('<'));
    CHECK(first.endsWith("@example.net>"));
    REQUIRE(bench.take());
    CHECK(bench.message.messageId != first);
}

TEST_CASE("message intake: attachments are copied in order, and need their originals no more")
{
    Bench bench;
    bench.to("ann@example.org");
    bench.attach("a.txt", "first");
    bench.attach("b.txt", "second", "line\r\nend.txt");
    bench.attach("c.txt", "", "");
    REQUIRE(bench.take());
    QFile::remove(bench.folder.path("a.txt"));
    REQUIRE(bench.message.files.size() == 3);
    CHECK(bench.message.files[0].name == "a.txt");
    CHECK(bench.message.files[0].mimeType == "text/plain");
    CHECK(bench.message.files[0].sizeBytes == 5);
    CHECK(bench.copy(0) == "first");
    CHECK(bench.message.files[1].name == "line end.txt");
    CHECK(bench.copy(1) == "second");
    CHECK(bench.message.files[2].name == "file");
    CHECK(bench.message.files[2].sizeBytes == 0);
    CHECK(bench.folders() == 1);
}

TEST_CASE("message intake: an address that is none ends the message before anything is copied")
{
    for (const char* address : {"", "ann", "ann@example.org>", "ann@example.org\r\nRCPT TO:<eve@example.org>"}) {
        INFO("address: " << std::string(address));
        Bench bench;
        bench.to("bob@example.org");
        bench.to(address);
        bench.attach("a.txt", "first");
        CHECK_FALSE(bench.take());
        CHECK(bench.error.endsWith("\" is no e-mail address"));
        CHECK_FALSE(bench.error.contains('\n'));
        CHECK(bench.folders() == 0);
    }
    Bench bench;
    CHECK_FALSE(bench.take());
    CHECK(bench.error == "the message has no recipient");
    bench.to("ann@example.org");
    bench.mail.setSender({"nobody", ""});
    CHECK_FALSE(bench.take());
    CHECK(bench.error == "\"nobody\" is no e-mail address");
}

TEST_CASE("message intake: the limit is one of all files together, and what is beyond it is named with its size")
{
    Bench bench;
    bench.settings.attachmentLimitBytes = 10;
    bench.to("ann@example.org");
    bench.attach("a.txt", "123456");
    bench.attach("b.bin", QByteArray(1'240'000, 'b'));
    bench.attach("c.txt", "1234");
    REQUIRE(bench.take());
    REQUIRE(bench.message.files.size() == 2);
    CHECK(bench.message.files[0].name == "a.txt");
    CHECK(bench.message.files[1].name == "c.txt");
    CHECK(bench.message.text == "Hello\n\nToo large:\nb.bin (1.2 MB)\n");
}

TEST_CASE("message intake: a file below the presentation's folder is linked with its path, another one with its name")
{
    Bench bench;
    bench.settings.attachmentLimitBytes = 0;
    bench.settings.filesAddress = QStringLiteral("https://museum.example/");
    const Folder elsewhere;
    bench.to("ann@example.org");
    bench.attach("media/b & c.txt", "12", "shown.txt");
    auto file = std::make_unique<QFile>(elsewhere.write("private/d.txt", "1234"));
    REQUIRE(file->open(QIODevice::ReadOnly));
    bench.mail.addAttachment("shown too.txt", std::move(file), "text/plain");
    REQUIRE(bench.take());
    CHECK(bench.message.text
          == "Hello\n\nToo large:\nhttps://museum.example/media/b%20%26%20c.txt (0.0 MB)\nhttps://museum.example/shown%20too.txt "
             "(0.0 MB)\n");
    CHECK(bench.folders() == 0);
}

TEST_CASE("message intake: an attachment that cannot be read is named, and costs only itself")
{
    Bench bench;
    bench.to("ann@example.org");
    auto socket = std::make_unique<QTcpSocket>();
    socket->open(QIODevice::ReadOnly);
    bench.mail.addAttachment("stream", std::move(socket), "text/plain");
    bench.attach("a.txt", "first");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment stream (it is no ordinary file); the message goes without it");
    REQUIRE(bench.take());
    CHECK(bench.message.text == "Hello\n\nMissing:\nstream\n");
    REQUIRE(bench.message.files.size() == 1);
    CHECK(bench.copy(0) == "first");
}

TEST_CASE("message intake: nothing but attachments that cannot be read leaves no folder behind")
{
    Bench bench;
    bench.to("ann@example.org");
    auto socket = std::make_unique<QTcpSocket>();
    socket->open(QIODevice::ReadOnly);
    bench.mail.addAttachment("stream", std::move(socket), "text/plain");
    TestSupport::expectWarningStartingWith("MessageIntake # Failed to read the attachment stream (");
    REQUIRE(bench.take());
    CHECK(bench.message.folder.isEmpty());
    CHECK(bench.folders() == 0);
}

TEST_CASE("message intake: what is no file on a disk is copied too")
{
    Bench bench;
    bench.to("ann@example.org");
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData("from memory");
    REQUIRE(buffer->open(QIODevice::ReadOnly));
    bench.mail.addAttachment("note.txt", std::move(buffer), "text/plain");
    REQUIRE(bench.take());
    CHECK(bench.copy(0) == "from memory");
}

TEST_CASE("message intake: where copies cannot be kept the message is refused, and nothing is left behind")
{
    Bench bench;
    bench.to("ann@example.org");
    bench.attach("a.txt", "first");
    bench.folder.write("files", "in the way");
    CHECK_FALSE(bench.take());
    CHECK(bench.error.startsWith("cannot make a folder in "));
}

TEST_CASE("message intake: the html part is filled with the text, the name and what is missing")
{
    Bench bench;
    bench.settings.textTemplate = QStringLiteral("Dear <name>,<links>");
    bench.settings.htmlTemplate = QStringLiteral("<body>Dear <name><links></body>");
    bench.settings.attachmentLimitBytes = 0;
    bench.to("ann@example.org");
    bench.mail.setContent("Dear Ann,\nhttps://a.example/1\n");
    bench.attach("big.txt", "1");
    REQUIRE(bench.take());
    CHECK(bench.message.html.contains("Dear Ann"));
    CHECK(bench.message.html.contains("<a href=\"https://a.example/1\">"));
    CHECK(bench.message.html.contains("Too large:"));
    CHECK(bench.message.html.contains("big.txt"));
}
