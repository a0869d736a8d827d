// Where e-mail meets the rest of the host: the presentation, the command line, the table and its inspector.

#include "HttpTalk.hpp"
#include "MailBench.hpp"

#include "commands/RunOptions.hpp"
#include "presentation/DataFolder.hpp"
#include "presentation/Presentation.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>

using namespace Host;

namespace
{
const char* const kOneService =
    R"({"services": {"email-service": [{"server": "smtp://127.0.0.1:9", "startTls": "never", "sender": {"address": "museum@example.net"}}]}})";

class Program
{
public:
    explicit Program(const QStringList& arguments)
    {
        m_process.start(QStringLiteral(TAVOLA_PROGRAM), arguments);
        REQUIRE(m_process.waitForStarted());
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    [[nodiscard]] bool hasEnded() const
    {
        return TestSupport::pumpUntil([this] { return m_process.state() == QProcess::NotRunning; }, 30000);
    }
    [[nodiscard]] int exitCode() const { return m_process.exitCode(); }
    [[nodiscard]] QString errors() { return QString::fromUtf8(m_process.readAllStandardError()); }
    /// Asks it to end, as a service manager does.
    void terminate() { m_process.terminate(); }
    /// The inspector's port, once it is told.
    [[nodiscard]] int port()
    {
        const QRegularExpression pattern(QStringLiteral("inspector on http://127.0.0.1:(\\d+)/"));
        QRegularExpressionMatch match;
        const bool isTold = TestSupport::pumpUntil(
            [&] {
                m_told += QString::fromUtf8(m_process.readAllStandardOutput());
                match = pattern.match(m_told);
                return match.hasMatch();
            },
            30000);
        REQUIRE(isTold);
        return match.captured(1).toInt();
    }

private:
    QProcess m_process;
    QString m_told;
};

QStringList runArguments(const Folder& folder, const QStringList& more = {})
{
    return QStringList{"run", folder.path("show"), "--headless", "--tuio", "0", "--inspect", "0", "--data", folder.path("data")}
    + more;
}
}

TEST_CASE("presentation: e-mail services are read, each under a name of its own")
{
    const Folder folder;
    folder.write("show/mail.txt", "Dear <name>");
    const QString file = folder.write("show/presentation.json", R"({"services": {"email-service": [
        {"server": "smtp://mail.example.org", "sender": {"address": "a@example.org"}, "template": "mail.txt"},
        {"name": "other", "server": "smtps://mail.example.org", "sender": {"address": "b@example.org"}},
        {"name": "other", "server": "smtps://mail.example.org", "sender": {"address": "c@example.org"}},
        {"name": "third", "server": "ftp://mail.example.org", "sender": {"address": "d@example.org"}},
        {"name": "fourth", "server": "smtp://mail.example.org", "sender": {"address": "e@example.org"}, "template": "none.txt"}]}})");
    const std::string place = "Presentation # " + file.toStdString() + ": services.email-service";
    TestSupport::expectWarning(place + "[2]: there is an e-mail service named \"other\" already; it is skipped");
    TestSupport::expectWarning(
        place
        + "[3].server: expected an address that begins with smtp:// or smtps://, without user and password; "
          "it is skipped");
    TestSupport::expectWarning(place + "[4].template: there is no file " + folder.path("show/none.txt").toStdString()
                               + "; it is skipped");
    QString error;
    const auto presentation = Presentation::load(folder.path("show"), error);
    REQUIRE(presentation);
    REQUIRE(presentation->mailServices.size() == 3);
    CHECK(presentation->mailServices[0].textTemplate == "Dear <name>");
    CHECK(presentation->mailServices[0].folder == folder.path("show"));
    CHECK(presentation->mailServices[1].sender.address == "b@example.org");
    CHECK(presentation->mailServices[2].name == "fourth");
}

TEST_CASE("run options: the mail server of the command line must be one")
{
    const auto options = RunOptions::parse({"show", "--mail-server", "smtp://127.0.0.1:2525"});
    REQUIRE(options);
    CHECK(options->table.mailServer == "smtp://127.0.0.1:2525");
    const auto refused = RunOptions::parse({"show", "--mail-server", "127.0.0.1"});
    REQUIRE_FALSE(refused);
    CHECK(refused.error().text == "--mail-server wants an address that begins with smtp:// or smtps://");
}

TEST_CASE("tavola: a table sends what an earlier one kept, and the inspector shows its outbox")
{
    MailBench bench;
    bench.folder.write("show/presentation.json", kOneService);
    bench.server.answer("MAIL", "451 Come back");
    QString error;
    bench.service = OutboxService::open(bench.settings, outboxFolder(bench.folder.path("data"), QString()), error);
    REQUIRE(bench.service);
    TestSupport::expectWarningStartingWith("OutboxService # Message 1");
    CHECK(bench.send(bench.message()).success);
    bench.close();

    Program table(runArguments(bench.folder, {"--mail-server", bench.server.address()}));
    const int port = table.port();
    const auto state = [port] { return ask(port, "GET", "/mail").json().array().at(0).toObject(); };
    CHECK(TestSupport::pumpUntil([&] { return state().value("queued").toInt() == 1; }, 20000));
    CHECK_FALSE(state().value("oldest").toString().isEmpty());

    // An operator does not want to wait.
    bench.server.forgive();
    QProcess retry;
    retry.start(QStringLiteral(TAVOLA_PROGRAM),
                {"mail", "retry", "--data", bench.folder.path("data"), bench.folder.path("show")});
    REQUIRE(retry.waitForFinished());
    CHECK(retry.exitCode() == 0);
    REQUIRE(bench.hasMails(1));
    CHECK(TestSupport::pumpUntil([&] { return state().value("queued").toInt() + state().value("sending").toInt() == 0; }, 20000));
    table.terminate();
    CHECK(table.hasEnded());
    CHECK(table.exitCode() == 0);
}

TEST_CASE("tavola: a second table does not open on the outbox of a running one")
{
    const Folder folder;
    folder.write("show/presentation.json", kOneService);
    Program first(runArguments(folder));
    CHECK(first.port() > 0);
    Program second(runArguments(folder));
    REQUIRE(second.hasEnded());
    CHECK(second.exitCode() == 1);
    CHECK(second.errors().contains("tavola: the outbox in " + folder.path("data") + "/mail/outbox is in use by another table\n"));
}

TEST_CASE("tavola: a mail server on the command line wants a service to use it")
{
    const Folder folder;
    folder.write("show/presentation.json", "{}");
    Program table(runArguments(folder, {"--mail-server", "smtp://127.0.0.1:9"}));
    REQUIRE(table.hasEnded());
    CHECK(table.exitCode() == 1);
    CHECK(
        table.errors().contains("tavola: --mail-server: the presentation has no e-mail service whose server it could replace\n"));
}
