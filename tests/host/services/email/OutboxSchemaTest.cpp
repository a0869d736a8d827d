#include "MailBench.hpp"

#include "services/SqliteConnection.hpp"

#include <LogCapture.hpp>
#include <SpoiltDatabase.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>
#include <QJsonArray>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
using TestSupport::SqliteFault;

const QString kFolder = QStringLiteral("5f0c2f6e-3f39-4a53-8a4f-2f1d6d9b7c10");

/// An outbox as version 1 of the program left it: its tables, rows and copies of attachments, word for word.
struct Version1 : MailBench
{
    Version1()
    {
        settings.answerSeconds = 0.1;
        folder.write("outbox/files/" + kFolder + "/0", "first\nfile");
        folder.write("outbox/files/" + kFolder + "/1", QByteArray(100000, '\xff'));
        for (const char* statement :
             {"PRAGMA journal_mode=WAL",
              "CREATE TABLE IF NOT EXISTS messages (id INTEGER PRIMARY KEY AUTOINCREMENT, message_id TEXT NOT NULL UNIQUE, "
              "created INTEGER NOT NULL, queued_since INTEGER NOT NULL, state INTEGER NOT NULL, attempts INTEGER NOT NULL, "
              "next_attempt INTEGER NOT NULL, last_error TEXT NOT NULL, sender_address TEXT NOT NULL, sender_name TEXT NOT NULL, "
              "subject TEXT NOT NULL, text TEXT NOT NULL, html TEXT NOT NULL, folder TEXT NOT NULL)",
              "CREATE TABLE IF NOT EXISTS recipients (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, "
              "position INTEGER NOT NULL, address TEXT NOT NULL, name TEXT NOT NULL, type INTEGER NOT NULL, "
              "outcome INTEGER NOT NULL, reply TEXT NOT NULL, PRIMARY KEY (message, position))",
              "CREATE TABLE IF NOT EXISTS files (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, "
              "position INTEGER NOT NULL, name TEXT NOT NULL, mime_type TEXT NOT NULL, size INTEGER NOT NULL, "
              "PRIMARY KEY (message, position))",
              "PRAGMA user_version=1",
              // Put off after two attempts, one recipient reached; with copies of two files.
              "INSERT INTO messages VALUES (3, '<old-3@example.net>', 1789999000000, 1789999000000, 0, 2, 1790000060000, "
              "'450 busy', 'museum@example.net', 'Mus\u00e9e', 'What \u00fc collected', 'Dear Ann,\nhello', "
              "'<p>Dear Ann</p>', '5f0c2f6e-3f39-4a53-8a4f-2f1d6d9b7c10')",
              "INSERT INTO recipients VALUES (3, 0, 'ann@example.org', 'P\u00e4ivi', 0, 0, '450 busy')",
              "INSERT INTO recipients VALUES (3, 1, 'bob@example.org', '', 1, 1, '250 ok')",
              "INSERT INTO recipients VALUES (3, 2, 'eve@example.org', 'Eve', 2, 0, '')",
              "INSERT INTO files VALUES (3, 0, '\u00e4 1.txt', 'text/plain', 10)",
              "INSERT INTO files VALUES (3, 1, 'b.bin', '', 100000)",
              // Was being sent when the program was killed.
              "INSERT INTO messages VALUES (4, '<old-4@example.net>', 1789999500000, 1789999500000, 1, 0, 0, '', "
              "'museum@example.net', '', 'S', 'T', '', '')",
              "INSERT INTO recipients VALUES (4, 0, 'cid@example.org', '', 0, 0, '')",
              // Refused for good.
              "INSERT INTO messages VALUES (5, '<old-5@example.net>', 1789999600000, 1789999600000, 2, 1, 0, '550 no', "
              "'museum@example.net', '', 'S', 'T', '', '')",
              "INSERT INTO recipients VALUES (5, 0, 'dan@example.org', '', 0, 2, '550 no')"})
            run(statement);
    }
    void run(const char* statement) const { SqliteFault::run(databasePath(), QString::fromUtf8(statement)); }
};
}

TEST_CASE("outbox schema: a queue of version 1 is delivered, each message as it was accepted")
{
    Version1 bench;
    bench.open();
    REQUIRE(bench.hasMails(1));
    CHECK(bench.server.mails()[0].recipients == std::vector<QByteArray>{"cid@example.org"});
    bench.pass(60.0);
    REQUIRE(bench.hasMails(2));
    const auto sent = bench.server.mails()[1];
    CHECK(sent.sender == "museum@example.net");
    CHECK(sent.recipients == std::vector<QByteArray>{"ann@example.org", "eve@example.org"});
    const QJsonObject mail = parseMail(sent.data);
    CHECK(mail.value("defects").toArray().isEmpty());
    const QJsonObject headers = mail.value("headers").toObject();
    CHECK(headers.value("Message-ID") == "<old-3@example.net>");
    CHECK(headers.value("Date") == "Mon, 21 Sep 2026 13:56:40 +0000");
    CHECK(headers.value("From") == QString::fromUtf8("Mus\u00e9e <museum@example.net>"));
    CHECK(headers.value("Cc") == "bob@example.org");
    CHECK(mail.value("toName") == QString::fromUtf8("P\u00e4ivi"));
    CHECK(mail.value("subject") == QString::fromUtf8("What \u00fc collected"));
    CHECK_FALSE(sent.data.contains("eve@"));
    REQUIRE(mail.value("parts").toArray().size() == 4);
    CHECK(partBytes(mail, 0) == "Dear Ann,\r\nhello");
    CHECK(partBytes(mail, 1) == "<p>Dear Ann</p>");
    CHECK(part(mail, 2).value("filename") == QString::fromUtf8("\u00e4 1.txt"));
    CHECK(part(mail, 2).value("type") == "text/plain");
    CHECK(partBytes(mail, 2) == "first\nfile");
    const bool isSame = partBytes(mail, 3) == QByteArray(100000, '\xff');
    CHECK(isSame);
    REQUIRE(bench.reports("queued", 0));
    REQUIRE(bench.reports("sending", 0));
    CHECK_FALSE(QFileInfo::exists(bench.outboxPath() + "/files/" + kFolder));

    // The refused one is still there, and can be sent after all.
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 1);
    CHECK(kept[0].id == 5);
    CHECK(kept[0].state == State::Failed);
    CHECK(kept[0].recipients.at(0).reply == "550 no");
    QString error;
    REQUIRE(Outbox::open(bench.outboxPath(), error)->retry(5, bench.nowMs));
    REQUIRE(bench.hasMails(3));
    CHECK(bench.becomesEmpty());
    CHECK(bench.send(bench.message()).success);
}

TEST_CASE("outbox schema: what a queue of version 1 says of its messages stays as it was")
{
    const Version1 bench;
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 3);
    CHECK(kept[0].messageId == "<old-3@example.net>");
    CHECK(kept[0].createdMs == 1789999000000);
    CHECK(kept[0].queuedSinceMs == 1789999000000);
    CHECK(kept[0].state == State::Queued);
    CHECK(kept[0].attempts == 2);
    CHECK(kept[0].nextAttemptMs == 1790000060000);
    CHECK(kept[0].lastError == "450 busy");
    CHECK(kept[0].recipientNames() == "ann@example.org, bob@example.org, eve@example.org");
    CHECK(kept[0].recipients[1].outcome == OutboxMessage::Outcome::Delivered);
    CHECK(kept[1].state == State::Sending);
    CHECK(bench.files() == 4); // three finished messages; the copies go when a table takes the outbox over
}

TEST_CASE("outbox schema: a program that brings a queue of version 1 up to date does not keep its lock")
{
    const Version1 bench;
    QString error;
    const auto visitor = Outbox::open(bench.outboxPath(), error);
    REQUIRE(visitor);
    const auto table = Outbox::open(bench.outboxPath(), error);
    REQUIRE(table);
    CHECK(table->lock());
}

TEST_CASE("outbox schema: a message of version 1 that has lost a part is kept as failed, and the others are sent")
{
    const struct
    {
        const char* statement;
        const char* lost; ///< a file
        const char* words;
    } rows[] = {
        {"DELETE FROM files WHERE message = 3", "", "the outbox has lost the list of its files"},
        {"SELECT 1", "/1", "the outbox has lost its copy of b.bin"},
    };
    for (const auto& row : rows) {
        INFO("words: " << std::string(row.words));
        Version1 bench;
        bench.run(row.statement);
        if (*row.lost)
            REQUIRE(QFile::remove(bench.outboxPath() + "/files/" + kFolder + row.lost));
        TestSupport::expectWarning("OutboxService # Message 3 to ann@example.org, bob@example.org, eve@example.org was refused ("
                                   + std::string(row.words) + "); it stays in the outbox as failed");
        bench.open();
        REQUIRE(bench.hasMails(1));
        CHECK(bench.reports("failed", 2));
        const auto kept = bench.kept();
        CHECK(kept.at(0).id == 3);
        CHECK(kept.at(0).state == State::Failed);
        CHECK(kept.at(0).lastError == row.words);
        CHECK_FALSE(QFileInfo::exists(bench.outboxPath() + "/files/" + kFolder));
    }
}

TEST_CASE("outbox schema: where a queue of version 1 cannot be composed it stays as it was")
{
    Version1 bench;
    const QString files = bench.outboxPath() + "/files";
    REQUIRE(QFile::rename(files, files + ".away"));
    bench.folder.write("outbox/files", "in the way");
    QString error;
    CHECK(Outbox::open(bench.outboxPath(), error) == nullptr);
    REQUIRE(QFile::remove(files));
    REQUIRE(QFile::rename(files + ".away", files));

    // Anything that keeps a column in use: the tables cannot be changed.
    bench.run("CREATE VIEW texts AS SELECT text FROM messages");
    CHECK(Outbox::open(bench.outboxPath(), error) == nullptr);
    CHECK(error.startsWith("cannot write " + bench.databasePath() + " ("));
    CHECK(QFileInfo::exists(files + "/" + kFolder + "/1"));
    bench.run("DROP VIEW texts");
    bench.open();
    bench.pass(60.0);
    REQUIRE(bench.hasMails(2));
}

TEST_CASE("outbox schema: the queue of a program of version 1 that still runs is left alone")
{
    Version1 bench;
    const int lock = ::open(QFile::encodeName(bench.outboxPath() + "/outbox.lock").constData(), O_RDWR | O_CREAT, 0600);
    REQUIRE(::flock(lock, LOCK_EX | LOCK_NB) == 0);
    QString error;
    CHECK(Outbox::open(bench.outboxPath(), error) == nullptr);
    CHECK(error == bench.databasePath() + " was made by an earlier version of this program, which still uses it; end that one");
    ::close(lock);
    CHECK(Outbox::open(bench.outboxPath(), error) != nullptr);
}

TEST_CASE("outbox schema: a file that is something else is not touched")
{
    const Folder folder;
    const QString file = folder.write("outbox/outbox.sqlite", QByteArray("this is no database, but a letter").repeated(40));
    QString error;
    CHECK(Outbox::open(folder.path("outbox"), error) == nullptr);
    CHECK(error.startsWith(file + " cannot be used as an outbox ("));
    CHECK(error.endsWith("); move it away to begin a new one"));
    CHECK(QFileInfo(file).size() == 33 * 40);
}

TEST_CASE("outbox schema: a queue of version 2 keeps its messages, and what later ones carry of collections")
{
    const Folder folder;
    QString error;
    const auto message = [](const char* id) {
        OutboxMessage result;
        result.messageId = QString::fromUtf8(id);
        result.file = Outbox::newFile();
        result.collected = {7, {"a-1"}};
        return result;
    };
    OutboxMessage before = message("<1@x>");
    REQUIRE(Outbox::open(folder.path("outbox"), error)->add(before, {10, 10}) == Outbox::Added::Yes);
    SqliteFault::run(folder.path("outbox/outbox.sqlite"), "DROP TABLE sent_items");
    SqliteFault::run(folder.path("outbox/outbox.sqlite"), "PRAGMA user_version=2");
    const auto outbox = Outbox::open(folder.path("outbox"), error);
    REQUIRE_MESSAGE(outbox, error.toStdString());
    CHECK(outbox->messages()->size() == 1);
    CHECK(outbox->sentItems().empty());
    OutboxMessage after = message("<2@x>");
    CHECK(outbox->add(after, {10, 10}) == Outbox::Added::Yes);
    CHECK(outbox->sentItems().size() == 1);
}

TEST_CASE("outbox schema: a newer program's outbox is left to it")
{
    const Folder folder;
    QString error;
    REQUIRE(Outbox::open(folder.path("outbox"), error) != nullptr);
    SqliteFault::run(folder.path("outbox/outbox.sqlite"), "PRAGMA user_version=99");
    CHECK(Outbox::open(folder.path("outbox"), error) == nullptr);
    CHECK(error.endsWith("outbox.sqlite was made by a newer version of this program; use that one"));
}

TEST_CASE("outbox schema: a file that cannot be used is refused with the reason and the remedy, and a lock is waited for")
{
    using TestSupport::SpoiltDatabase;
    constexpr int kWaitMs = 200;
    const int waitBefore = SqliteConnection::setLockWaitMs(kWaitMs);
    for (const SpoiltDatabase::Kind kind : TestSupport::kSpoiltKinds) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        REQUIRE(QDir().mkpath(folder.path("files")));
        const SpoiltDatabase spoilt(folder.path("outbox.sqlite"), kind);
        QElapsedTimer clock;
        clock.start();
        QString error;
        CHECK(Outbox::open(folder.path(), error) == nullptr);
        CAPTURE(error.toStdString());
        CHECK(error.contains(folder.path("outbox.sqlite")));
        CHECK(error.endsWith("); " + SpoiltDatabase::remedy(kind)));
        CHECK((kind != SpoiltDatabase::Kind::Locked || clock.elapsed() >= kWaitMs - 10));
    }
    SqliteConnection::setLockWaitMs(waitBefore);
}

TEST_CASE("outbox schema: an outbox in use that has become read-only is refused with the remedy")
{
    using TestSupport::SpoiltDatabase;
    for (const SpoiltDatabase::Kind kind : {SpoiltDatabase::Kind::ReadOnlyFile, SpoiltDatabase::Kind::ReadOnlyFolder}) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        QString error;
        REQUIRE(Outbox::open(folder.path(), error) != nullptr);
        const SpoiltDatabase spoilt(folder.path("outbox.sqlite"), kind);
        CHECK(Outbox::open(folder.path(), error) == nullptr);
        CAPTURE(error.toStdString());
        CHECK(error.contains(folder.path("outbox.sqlite")));
        CHECK(error.endsWith("); " + SpoiltDatabase::remedy(kind)));
    }
}
