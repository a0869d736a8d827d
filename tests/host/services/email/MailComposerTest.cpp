#include "MailBench.hpp"

#include "services/email/MailComposer.hpp"

#include <doctest/doctest.h>

#include <QBuffer>
#include <QJsonArray>
#include <QTcpSocket>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Host;

namespace
{
using Tavola::EmailMessage;

enum class Kind { Done, Unreadable, DiskFault };

struct MailComposerBench
{
    Folder folder;
    MailComposer::Letter letter;
    tl::expected<qint64, MailComposer::Fault> result = 0;

    MailComposerBench()
    {
        letter.messageId = QStringLiteral("<id-1@example.net>");
        letter.createdMs = 1'790'000'000'000;
        letter.sender = {"museum@example.net", "The Small Museum"};
        letter.subject = QStringLiteral("What you collected");
        letter.text = QStringLiteral("Hello\n");
        letter.recipients.push_back({{"ann@example.org", "Ann"}, EmailMessage::To});
    }
    void attach(const QString& name, std::unique_ptr<QIODevice> device, const QString& type = "application/octet-stream")
    {
        letter.attachments.push_back({name, std::move(device), type});
    }
    void attach(const QString& name, const QByteArray& bytes, const QString& type = "application/octet-stream")
    {
        auto buffer = std::make_unique<QBuffer>();
        buffer->setData(bytes);
        REQUIRE(buffer->open(QIODevice::ReadOnly));
        attach(name, std::move(buffer), type);
    }
    Kind compose(const QString& name = "m.eml")
    {
        result = MailComposer::compose(letter, folder.path(name));
        if (result)
            return Kind::Done;
        return result.error().attachment ? Kind::Unreadable : Kind::DiskFault;
    }
    [[nodiscard]] QByteArray bytes() const
    {
        QFile file(folder.path("m.eml"));
        REQUIRE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    /// Composes; what a reader finds in the file, which every message must stand.
    QJsonObject mail()
    {
        QFile::remove(folder.path("m.eml"));
        REQUIRE(compose() == Kind::Done);
        const QByteArray data = bytes();
        CHECK(*result == data.size());
        CHECK(data.endsWith("\r\n"));
        const QJsonObject mail = parseMail(data);
        CHECK(mail.value("defects").toArray().isEmpty());
        CHECK(mail.value("bareLineEnds").toInt() == 0);
        CHECK(mail.value("longestLine").toInt() < 200);
        return mail;
    }
};

QString header(const QJsonObject& mail, const char* name)
{
    return mail.value("headers").toObject().value(QLatin1String(name)).toString();
}

QByteArray everyByte(int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += char(i * 7 + i / 256);
    return bytes;
}
}

TEST_CASE("mail composer: the header has date, id, sender, recipients and subject")
{
    MailComposerBench bench;
    const QJsonObject mail = bench.mail();
    CHECK(header(mail, "Date") == "Mon, 21 Sep 2026 14:13:20 +0000");
    CHECK(header(mail, "Message-ID") == "<id-1@example.net>");
    CHECK(header(mail, "From") == "The Small Museum <museum@example.net>");
    CHECK(header(mail, "To") == "Ann <ann@example.org>");
    CHECK(header(mail, "Subject") == "What you collected");
    CHECK(header(mail, "MIME-Version") == "1.0");
    CHECK(header(mail, "Auto-Submitted") == "auto-generated");
    CHECK(mail.value("type") == "multipart/mixed");
    CHECK(part(mail, 0).value("type") == "text/plain");
    CHECK(part(mail, 0).value("charset") == "utf-8");
    CHECK(part(mail, 0).value("encoding") == "base64");
}

TEST_CASE("mail composer: subjects, names and texts of any letters arrive as they were written")
{
    const QString letters = QString::fromUtf8("P\u00e4ivi \u0141ukasz \u674e\u56db \xF0\x9F\x8F\x9B");
    const QString texts[] = {QStringLiteral("Plain words"),
                             QString::fromUtf8("Sch\u00f6n"),
                             letters.repeated(4),
                             QString::fromUtf8("\xF0\x9F\x8F\x9B").repeated(30),
                             QString(100, QChar(0x4e2d)),
                             QString(2000, 'x'),
                             QStringLiteral("word ").repeated(200).trimmed(),
                             QStringLiteral("=?UTF-8?B?AAAA?="),
                             QStringLiteral("see =?UTF-8?B?AAAA?= ") + letters.repeated(3),
                             QStringLiteral("A \"quoted\" \\ name, <b@example.org>; (x)")};
    for (const QString& text : texts) {
        CAPTURE(text.toStdString());
        MailComposerBench bench;
        bench.letter.subject = text;
        bench.letter.recipients[0].address.name = text;
        bench.letter.text = text + "\n";
        const QJsonObject mail = bench.mail();
        CHECK(mail.value("subject").toString().toStdString() == text.toStdString());
        CHECK(mail.value("toName").toString().toStdString() == text.toStdString());
        CHECK(mail.value("toAddress") == "ann@example.org");
        CHECK(partBytes(mail, 0) == text.toUtf8() + "\r\n");
        CHECK(mail.value("longestLine").toInt() <= 78);
    }
}

TEST_CASE("mail composer: a name of a few letters is one encoded word, because some readers show a blank between two")
{
    MailComposerBench bench;
    bench.letter.recipients[0].address.name = QString::fromUtf8("Lena \u00d6deg\u00e5rd");
    (void)bench.mail();
    CHECK(bench.bytes().contains("=?UTF-8?B?TGVuYSDDlmRlZ8OlcmQ=?= <"));
}

TEST_CASE("mail composer: no line end passes from a name, a subject or a file's name into the header")
{
    MailComposerBench bench;
    bench.letter.subject = QStringLiteral("Hello\r\nBcc: eve@example.org\r\n\r\nbody");
    bench.letter.recipients[0].address.name = QStringLiteral("Ann\nBcc: eve@example.org");
    bench.letter.sender.name = QStringLiteral("Museum\rX-Evil: 1");
    bench.attach("a\r\nX-Evil: 1\r\n\r\nb.txt", "x", "text/plain\r\nX-Evil: 1");
    const QJsonObject mail = bench.mail();
    CHECK(header(mail, "Bcc").isEmpty());
    CHECK(header(mail, "X-Evil").isEmpty());
    CHECK_FALSE(bench.bytes().contains("\nBcc:"));
    CHECK_FALSE(bench.bytes().contains("\nX-Evil:"));
    CHECK(header(mail, "Subject") == "Hello Bcc: eve@example.org body");
    CHECK(mail.value("toName") == "Ann Bcc: eve@example.org");
    CHECK(part(mail, 1).value("filename") == "a X-Evil: 1 b.txt");
    CHECK(partBytes(mail, 1) == "x");
}

TEST_CASE("mail composer: an attachment of an invalid type, or of one that base64 is not allowed for, is sent as bytes")
{
    const struct
    {
        const char* given;
        const char* sent;
    } rows[] = {
        {"image/png", "image/png"},
        {"", "application/octet-stream"},
        {"image", "application/octet-stream"},
        {"image/png\n", "application/octet-stream"},
        {"image/png\r\nX: y", "application/octet-stream"},
        {"image/png; name=x", "application/octet-stream"},
        {"multipart/mixed", "application/octet-stream"},
        {"message/rfc822", "application/octet-stream"},
    };
    MailComposerBench bench;
    for (const auto& row : rows)
        bench.attach("a", "x", row.given);
    const QJsonObject mail = bench.mail();
    for (int i = 0; i < int(std::size(rows)); ++i) {
        CAPTURE(i);
        CHECK(part(mail, i + 1).value("type") == rows[i].sent);
        CHECK(partBytes(mail, i + 1) == "x");
    }
}

TEST_CASE("mail composer: a message with an html part offers both")
{
    MailComposerBench bench;
    bench.letter.html = QString::fromUtf8("<p>Gr\u00fc\u00dfe</p>\n");
    const QJsonObject mail = bench.mail();
    REQUIRE(mail.value("parts").toArray().size() == 2);
    CHECK(part(mail, 0).value("type") == "text/plain");
    CHECK(part(mail, 1).value("type") == "text/html");
    CHECK(part(mail, 1).value("charset") == "utf-8");
    CHECK(partBytes(mail, 1) == QByteArray("<p>Gr\u00fc\u00dfe</p>\r\n"));
    CHECK(bench.bytes().contains("Content-Type: multipart/alternative;"));
}

TEST_CASE("mail composer: line ends of any kind become those of a mail")
{
    MailComposerBench bench;
    bench.letter.text = QStringLiteral("a\nb\r\nc\rd\n.\n..dots\n");
    CHECK(partBytes(bench.mail(), 0) == "a\r\nb\r\nc\r\nd\r\n.\r\n..dots\r\n");
}

TEST_CASE("mail composer: files arrive byte for byte, under their names, in base64 with short lines")
{
    const QString names[] = {"plain.bin",
                             "empty",
                             "quo\"te\\d; x=\"y\".bin",
                             QString(300, 'n') + ".bin",
                             QString::fromUtf8("\u00e4iti \u674e.bin"),
                             QString(300, QChar(0x674e)),
                             QString::fromUtf8("\xF0\x9F\x8F\x9B").repeated(40),
                             "plain.bin"};
    const int sizes[] = {100000, 0, 1, 2, 3, 56, 57, 300000};
    MailComposerBench bench;
    for (int i = 0; i < 8; ++i)
        bench.attach(names[i], everyByte(sizes[i]));
    const QJsonObject mail = bench.mail();
    REQUIRE(mail.value("parts").toArray().size() == 1 + 8);
    for (int i = 0; i < 8; ++i) {
        CAPTURE(i);
        const QJsonObject file = part(mail, i + 1);
        CHECK(file.value("filename").toString().toStdString() == names[i].toStdString());
        CHECK(file.value("disposition") == "attachment");
        CHECK(file.value("encoding") == "base64");
        CHECK(file.value("longestLine").toInt() <= 76);
        const bool isSame = partBytes(mail, i + 1) == everyByte(sizes[i]);
        CHECK(isSame);
    }
}

TEST_CASE("mail composer: an attachment of every length around the edges of lines and pieces decodes to the same bytes")
{
    MailComposerBench bench;
    std::vector<int> sizes;
    for (const int edge : {57, 114, 4096, 4104, 8192, 57 * 1024})
        for (int size = edge - 2; size <= edge + 2; ++size)
            sizes.push_back(size);
    for (const int size : sizes)
        bench.attach("a", everyByte(size));
    const QJsonObject mail = bench.mail();
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        CAPTURE(sizes[i]);
        const bool isSame = partBytes(mail, int(i) + 1) == everyByte(sizes[i]);
        CHECK(isSame);
    }
}

TEST_CASE("mail composer: a file is read from its beginning, wherever it was read to")
{
    MailComposerBench bench;
    auto file = std::make_unique<QFile>(bench.folder.write("a", everyByte(500000)));
    REQUIRE(file->open(QIODevice::ReadOnly));
    file->seek(1234);
    bench.attach("a", std::move(file));
    const bool isSame = partBytes(bench.mail(), 1) == everyByte(500000);
    CHECK(isSame);
}

TEST_CASE("mail composer: hidden recipients stay hidden")
{
    MailComposerBench bench;
    bench.letter.recipients[0].type = EmailMessage::Bcc;
    bench.letter.recipients.push_back({{"bob@example.org", "Bob"}, EmailMessage::Cc});
    bench.letter.recipients.push_back({{"cid@example.org", ""}, EmailMessage::Cc});
    const QJsonObject mail = bench.mail();
    CHECK_FALSE(bench.bytes().contains("ann@example.org"));
    CHECK(bench.bytes().contains("\r\nTo: undisclosed-recipients:"));
    CHECK(header(mail, "Cc") == "Bob <bob@example.org>, cid@example.org");
}

TEST_CASE("mail composer: an address has its domain in ASCII")
{
    MailComposerBench bench;
    bench.letter.recipients[0].address = {QString::fromUtf8("ann@m\u00fcnchen.example"), ""};
    CHECK(header(bench.mail(), "To") == "ann@xn--mnchen-3ya.example");
}

TEST_CASE("mail composer: only ordinary files are read, so that a pipe cannot keep the table waiting")
{
    const Folder folder;
    const QString pipe = folder.path("pipe");
    REQUIRE(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    const struct
    {
        QByteArray path;
        int flags;
    } rows[] = {
        {QFile::encodeName(pipe), O_RDWR | O_NONBLOCK},
        {"/dev/zero", O_RDONLY},
        {QFile::encodeName(folder.path()), O_RDONLY | O_DIRECTORY},
    };
    for (const auto& row : rows) {
        INFO("path: " << row.path.toStdString());
        MailComposerBench bench;
        auto file = std::make_unique<QFile>();
        REQUIRE(file->open(::open(row.path.constData(), row.flags), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
        bench.attach("good", "x");
        bench.attach("bad", std::move(file));
        CHECK(bench.compose() == Kind::Unreadable);
        CHECK(bench.result.error().attachment == 1);
        CHECK(bench.result.error().words == "it is no ordinary file");
        CHECK_FALSE(QFileInfo::exists(bench.folder.path("m.eml")));
    }
    MailComposerBench bench;
    auto socket = std::make_unique<QTcpSocket>();
    REQUIRE(socket->open(QIODevice::ReadOnly));
    bench.attach("socket", std::move(socket));
    CHECK(bench.compose() == Kind::Unreadable);
}

TEST_CASE("mail composer: an attachment that is closed, or whose disk fails in the middle, is named, and no file is left")
{
    MailComposerBench closed;
    closed.attach("closed", std::make_unique<QFile>(closed.folder.write("a", "x")));
    CHECK(closed.compose() == Kind::Unreadable);
    CHECK(closed.result.error().words == "it is not open for reading");

    MailComposerBench broken;
    broken.attach("good", everyByte(1000));
    broken.attach("broken", std::make_unique<BrokenDevice>());
    broken.attach("good too", "x");
    CHECK(broken.compose() == Kind::Unreadable);
    CHECK(broken.result.error().attachment == 1);
    CHECK(broken.result.error().words == "the disk is gone");
    CHECK_FALSE(QFileInfo::exists(broken.folder.path("m.eml")));
}

TEST_CASE("mail composer: a folder that is not there is the disk's fault")
{
    MailComposerBench bench;
    CHECK(bench.compose("none/m.eml") == Kind::DiskFault);
    CHECK(bench.result.error().words == "No such file or directory");
}

TEST_CASE("mail composer: a file that is there is neither written nor removed")
{
    MailComposerBench bench;
    bench.folder.write("m.eml", "another message");
    CHECK(bench.compose() == Kind::DiskFault);
    CHECK(bench.result.error().words == "File exists");
    CHECK(bench.bytes() == "another message");
}

TEST_CASE("mail composer: a disk that is full in the middle leaves no file")
{
    MailComposerBench bench;
    bench.attach("a", everyByte(300000));
    // As on a full disk, writing fails beyond so many bytes.
    rlimit before;
    REQUIRE(::getrlimit(RLIMIT_FSIZE, &before) == 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{100000, before.rlim_max};
    REQUIRE(::setrlimit(RLIMIT_FSIZE, &full) == 0);
    const Kind kind = bench.compose();
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    CHECK(kind == Kind::DiskFault);
    CHECK(bench.result.error().words == "File too large");
    CHECK_FALSE(QFileInfo::exists(bench.folder.path("m.eml")));
}
