// The real program's `tavola mail`, beside a running service and without one.

#include "services/email/MailBench.hpp"

#include "presentation/DataFolder.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <QProcess>

using namespace Host;

namespace
{
struct Answer
{
    int code;
    QString out;
    QString err;
};

Answer mail(const QStringList& arguments)
{
    QProcess program;
    program.start(QStringLiteral(TAVOLA_PROGRAM), QStringList{"mail"} + arguments);
    // The events of this program go on: a server of the test may be waiting for them.
    REQUIRE(TestSupport::pumpUntil([&] { return program.state() == QProcess::NotRunning; }, 30000));
    return {program.exitCode(), QString::fromUtf8(program.readAllStandardOutput()),
            QString::fromUtf8(program.readAllStandardError())};
}

struct CommandBench : MailBench
{
    CommandBench()
    {
        folder.write(
            "show/presentation.json",
            R"({"services": {"email-service": [{"server": "smtp://127.0.0.1:9", "sender": {"address": "museum@example.net"}}]}})");
    }
    Answer ask(const QString& action, const QStringList& which = {}) const
    {
        return mail(QStringList{action, "--data", folder.path("data"), folder.path("show")} + which);
    }
    void openService()
    {
        QString error;
        service =
            OutboxService::open(settings, outboxFolder(folder.path("data"), QString()), error, [this] { return nowMs.load(); });
        REQUIRE(service);
    }
    /// Messages 1 to `count`, refused.
    void refuse(int count)
    {
        server.answer("RCPT", "550 unknown");
        for (int i = 0; i < count; ++i) {
            TestSupport::expectWarningStartingWith("OutboxService # Message");
            CHECK_FALSE(send(message()).success);
        }
    }
};
}

TEST_CASE("tavola mail: a table that never ran has no messages, and looking makes no files")
{
    const CommandBench bench;
    const Answer answer = bench.ask("list");
    CHECK(answer.code == 0);
    CHECK(answer.out == "no messages\n");
    CHECK(answer.err.isEmpty());
    CHECK_FALSE(QFileInfo::exists(bench.folder.path("data")));
}

TEST_CASE("tavola mail: the list shows what waits and why")
{
    CommandBench bench;
    bench.openService();
    bench.refuse(1);
    bench.server.answer("RCPT", "450 busy");
    TestSupport::expectWarningStartingWith("OutboxService # Message 2");
    CHECK(bench.send(bench.message("Hello\n", "bob@example.org")).success);
    const QStringList lines = bench.ask("list").out.split('\n');
    REQUIRE(lines.size() == 4);
    CHECK(lines[0].startsWith("1  failed   accepted 2026-09-21 "));
    CHECK(lines[0].endsWith("attempts 1  to ann@example.org  (550 unknown)"));
    CHECK(lines[1].startsWith("2  queued   accepted "));
    CHECK(lines[1].contains("attempts 1  to bob@example.org  next 2026-09-21 "));
    CHECK(lines[1].endsWith("(450 busy)"));
    CHECK(lines[2] == "2 of at most 2000 messages, 0.0 of 20000 MB");
}

TEST_CASE("tavola mail: a running table sends anew what it is told to")
{
    CommandBench bench;
    bench.openService();
    bench.refuse(2);
    bench.server.forgive();
    const Answer answer = bench.ask("retry", {"2"});
    CHECK(answer.code == 0);
    CHECK(answer.out == "1 to be sent anew, at once where the table runs\n");
    REQUIRE(bench.hasMails(1));
    CHECK(bench.reports("failed", 1));
    // The server has the mail before the table has noted it: until then it is being sent, which a retry says.
    REQUIRE(bench.reports("sending", 0));
    CHECK(bench.ask("retry").code == 0);
    REQUIRE(bench.hasMails(2));
}

TEST_CASE("tavola mail: what is dropped is gone, one by one, the failed or all")
{
    CommandBench bench;
    bench.openService();
    bench.refuse(3);
    bench.server.answer("RCPT", "450 busy");
    TestSupport::expectWarningStartingWith("OutboxService # Message 4");
    CHECK(bench.send(bench.message()).success);
    CHECK(bench.ask("drop", {"2"}).out == "1 dropped\n");
    CHECK(bench.reports("failed", 2));
    CHECK(bench.ask("drop", {"failed"}).out == "2 dropped\n");
    CHECK(bench.reports("failed", 0));
    CHECK(bench.reports("queued", 1));
    bench.close();
    CHECK(bench.ask("drop", {"all"}).out == "1 dropped\n");
    CHECK(bench.ask("list").out == "no messages\n");
}

TEST_CASE("tavola mail: a message that is not there is reported, and the others are done")
{
    CommandBench bench;
    bench.openService();
    bench.refuse(1);
    const Answer answer = bench.ask("drop", {"7", "1"});
    CHECK(answer.code == 1);
    CHECK(answer.err == "tavola mail: there is no message 7\n");
    CHECK(answer.out == "1 dropped\n");
}

TEST_CASE("tavola mail: a message that is being sent is left alone")
{
    CommandBench bench;
    bench.server.holdAt("DATA");
    bench.openService();
    auto future = bench.service->send(bench.message());
    REQUIRE(TestSupport::pumpUntil([&] { return bench.server.held() == 1; }));
    const Answer answer = bench.ask("drop", {"1"});
    CHECK(answer.code == 1);
    CHECK(answer.err == "tavola mail: message 1 is being sent; try again when that has ended\n");
    bench.server.release();
    CHECK(MailBench::outcome(std::move(future)).success);
}

TEST_CASE("tavola mail: an outbox that cannot be read is not called empty")
{
    CommandBench bench;
    bench.openService();
    bench.refuse(1);
    bench.close();
    const auto fault = TestSupport::SqliteFault::lostTable(outboxFolder(bench.folder.path("data"), QString()) + "/outbox.sqlite",
                                                           QStringLiteral("recipients"));
    for (const char* action : {"list", "retry"}) {
        const Answer answer = bench.ask(action);
        CHECK(answer.code == 1);
        CHECK_FALSE(answer.out.contains("no messages"));
        CHECK(answer.err.contains("no such table: recipients"));
        CHECK(answer.err.endsWith("tavola mail: the outbox cannot be read\n"));
    }
}

TEST_CASE("tavola mail: a command line that makes no sense is told what to write instead")
{
    const CommandBench bench;
    const QString show = bench.folder.path("show");
    const struct
    {
        QStringList arguments;
        int code;
        QString told;
    } rows[] = {
        {{"look", show}, 2, "tavola mail: list, retry or drop? See tavola mail --help\n"},
        {{"list"}, 2, "tavola mail: which presentation? Give its folder, for example: tavola mail list presentations/gallery\n"},
        {{"drop", show}, 2, "tavola mail: which messages? Give their numbers, \"failed\" or \"all\"\n"},
        {{"drop", show, "some"}, 2, "tavola mail: \"some\" is no message; give a number, \"failed\" or \"all\"\n"},
        {{"list", show, "--data"}, 2, "tavola mail: --data wants a folder\n"},
        {{"list", show, "--colour"}, 2, "tavola mail: unknown option --colour; see tavola mail --help\n"},
        {{"list", show, "--service", "x"}, 1, "tavola mail: there is no e-mail service \"x\" in the presentation\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments.join(' ').toStdString());
        const Answer answer = mail(row.arguments);
        CHECK(answer.code == row.code);
        CHECK(answer.err.toStdString() == row.told.toStdString());
    }
    bench.folder.write("empty/presentation.json", "{}");
    CHECK(mail({"list", bench.folder.path("empty")}).err == "tavola mail: the presentation has no e-mail service\n");
    CHECK(mail({"--help"}).out.startsWith("usage: tavola mail list|retry|drop"));
}
