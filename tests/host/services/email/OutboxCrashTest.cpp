// A table that loses power, or is killed, at any point of sending a message.

#include "MailBench.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <QProcess>

#include <csignal>
#include <set>

using namespace Host;

namespace
{
class Child
{
public:
    Child(const MailBench& bench, const QString& file)
    {
        m_process.start(QStringLiteral(OUTBOX_CHILD), {bench.outboxPath(), bench.server.address(), file});
        REQUIRE(m_process.waitForStarted());
    }
    ~Child() { kill(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void kill()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        ::kill(pid_t(m_process.processId()), SIGKILL);
        m_process.waitForFinished();
    }
    [[nodiscard]] bool says(const char* word)
    {
        return TestSupport::pumpUntil([&] { return (m_told += m_process.readAllStandardOutput()).contains(word); }, 20000);
    }

private:
    QProcess m_process;
    QByteArray m_told;
};

std::set<QByteArray> messageIds(const std::vector<TestSupport::SmtpTestServer::Mail>& mails)
{
    std::set<QByteArray> ids;
    for (const auto& mail : mails) {
        const int at = mail.data.indexOf("\r\nMessage-ID: ");
        REQUIRE(at >= 0);
        ids.insert(mail.data.mid(at + 14, mail.data.indexOf('\r', at + 14) - at - 14));
    }
    return ids;
}

qint64 composedBytes(const MailBench& bench)
{
    qint64 bytes = 0;
    for (const QFileInfo& file : QDir(bench.outboxPath() + "/files").entryInfoList(QDir::Files))
        bytes += file.size();
    return bytes;
}
}

TEST_CASE("outbox crash: a table killed at any step of an attempt delivers after its next start, under the same Message-ID")
{
    for (const char* step : {"CONNECT", "EHLO", "MAIL", "RCPT", "DATA", "BODY", "QUIT"}) {
        INFO("step: " << std::string(step));
        MailBench bench;
        const QByteArray bytes = QByteArray("0123456789abcdef").repeated(20000);
        bench.server.holdAt(step);
        QString messageId;
        {
            Child child(bench, bench.folder.write("a.bin", bytes));
            REQUIRE(TestSupport::pumpUntil([&] { return bench.server.held() == 1; }, 20000));
            const auto kept = bench.kept();
            // At the very end the message may be gone already: it has arrived.
            REQUIRE((kept.size() == 1 || QByteArray(step) == "QUIT"));
            if (!kept.empty())
                messageId = kept[0].messageId;
            child.kill();
        }
        QFile::remove(bench.folder.path("a.bin"));
        bench.server.forgive();
        bench.nowMs = QDateTime::currentMSecsSinceEpoch();
        bench.open();
        REQUIRE(bench.hasMails(1));
        CHECK(bench.becomesEmpty());
        const auto mails = bench.server.mails();
        CHECK(messageIds(mails).size() == 1);
        if (!messageId.isEmpty())
            CHECK(*messageIds(mails).begin() == messageId.toLatin1());
        for (const auto& mail : mails) {
            const bool isSame = partBytes(parseMail(mail.data), 1) == bytes;
            CHECK(isSame);
        }
    }
}

TEST_CASE("outbox crash: a table killed after it said success delivers what it promised")
{
    MailBench bench;
    bench.server.answer("MAIL", "451 Come back");
    {
        Child child(bench, bench.folder.write("a.bin", "bytes"));
        REQUIRE(child.says("accepted"));
        child.kill();
    }
    QFile::remove(bench.folder.path("a.bin"));
    bench.server.forgive();
    bench.nowMs = QDateTime::currentMSecsSinceEpoch();
    bench.open();
    bench.pass(60.0);
    REQUIRE(bench.hasMails(1));
    CHECK(partBytes(parseMail(bench.server.mails()[0].data), 1) == "bytes");
}

TEST_CASE("outbox crash: a table killed while it composes has promised nothing, sends nothing of it and leaves nothing behind")
{
    MailBench bench;
    const QString path = bench.folder.path("large.bin");
    {
        QFile large(path);
        REQUIRE(large.open(QIODevice::WriteOnly));
        REQUIRE(large.resize(qint64(1) << 30));
    }
    {
        Child child(bench, path);
        REQUIRE(TestSupport::pumpUntil([&] { return composedBytes(bench) > 0; }, 20000));
        child.kill();
    }
    // A file that takes seconds to write was there for a moment.
    REQUIRE(bench.kept().empty());
    CHECK(bench.files() == 1);
    bench.open();
    CHECK(bench.files() == 0);
    CHECK(bench.kept().empty());
    CHECK(bench.server.connections() == 0);
    // The next message, and only that, goes out.
    CHECK(bench.send(bench.message()).success);
    CHECK(bench.server.mails().size() == 1);
}

TEST_CASE("outbox crash: half a message that a killed table left is never sent, even where its end looks like one")
{
    MailBench bench;
    bench.server.answer("MAIL", "451 Come back");
    {
        Child child(bench, bench.folder.write("a.bin", QByteArray(100000, 'x')));
        REQUIRE(child.says("accepted"));
        child.kill();
    }
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 1);
    REQUIRE(QFile::resize(bench.outboxPath() + "/files/" + kept[0].file, kept[0].sizeBytes / 2));
    bench.server.forgive();
    bench.nowMs = QDateTime::currentMSecsSinceEpoch();
    expectRefusal(1, "the outbox has lost the message's file");
    bench.open();
    bench.pass(60.0);
    REQUIRE(bench.reports("failed", 1));
    CHECK(bench.server.mails().empty());
}

TEST_CASE("outbox crash: a table killed again and again delivers every message it accepted")
{
    MailBench bench;
    bench.server.holdAt("RCPT");
    const QString file = bench.folder.write("a.bin", "bytes");
    for (int i = 0; i < 5; ++i) {
        Child child(bench, file);
        // Those of earlier runs are tried again meanwhile, and held as well.
        REQUIRE(TestSupport::pumpUntil([&] { return int(bench.kept().size()) == i + 1 && bench.server.held() > 0; }, 20000));
        child.kill();
    }
    bench.server.forgive();
    bench.nowMs = QDateTime::currentMSecsSinceEpoch();
    bench.open();
    REQUIRE(bench.hasMails(5));
    CHECK(bench.becomesEmpty());
    CHECK(messageIds(bench.server.mails()).size() == 5);
}
