#include "Folder.hpp"
#include "HttpClient.hpp"
#include "Patience.hpp"

#include <doctest/doctest.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <csignal>
#include <functional>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{

/// A process that begins with what a test asks for, in place of what the test program itself has.
class Process : public QProcess
{
public:
    explicit Process(std::function<void()> before) : m_before(std::move(before)) {}

protected:
    void setupChildProcess() override
    {
        if (m_before)
            m_before();
    }

private:
    std::function<void()> m_before; ///< between fork and exec: nothing but system calls
};

/// The real program as a venue would start it.
class Program
{
public:
    Program(const Folder& folder, const QStringList& more = {}, std::function<void()> before = {}) : m_process(std::move(before))
    {
        m_process.setProgram(QStringLiteral(TAVOLA_MEDIASERVER));
        m_process.setArguments(QStringList{QStringLiteral("--pages"), QStringLiteral("127.0.0.1:0"), QStringLiteral("--commands"),
                                           QStringLiteral("127.0.0.1:0"), QStringLiteral("--content"), folder.path(),
                                           QStringLiteral("--database"), folder.path(QStringLiteral("items.sqlite"))}
                               + more);
        m_process.start();
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished(TestSupport::kPatienceMs);
    }

    /// The port of the tables' door; waits for the lines that tell the addresses.
    std::uint16_t commands()
    {
        listen();
        return portIn(m_lines[0]);
    }
    /// The port of the visitors' door.
    std::uint16_t pages()
    {
        listen();
        return portIn(m_lines[1]);
    }

    QByteArray lines() const { return m_lines[0] + m_lines[1]; }
    QProcess& process() { return m_process; }

private:
    void listen()
    {
        for (QByteArray& line : m_lines) {
            if (!line.isEmpty())
                continue;
            while (!m_process.canReadLine() && m_process.waitForReadyRead(TestSupport::kPatienceMs)) {}
            line = m_process.readLine();
        }
    }

    static std::uint16_t portIn(const QByteArray& line) { return line.trimmed().split(':').last().chopped(1).toUShort(); }

    Process m_process;
    QByteArray m_lines[2];
};

const char* const kOnThisMachineOnly =
    "warning MediaServer # Pages have the address http://127.0.0.1:%1/, which opens on this machine only and on no visitor's "
    "phone: give --public-url with the address under which phones reach it\n";

QJsonObject command(std::uint16_t port, const char* json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(ask(port, "POST", "/", json).body)).object();
}

}

TEST_CASE("media server: an item survives the kill of the program right after its answer")
{
    const Folder folder;
    folder.write(QStringLiteral("boat.png"), "picture");
    QString page;
    {
        Program program(folder);
        const std::uint16_t port = program.commands();
        page = command(port, R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
        REQUIRE(
            command(port,
                    R"({"command":"additem","tessel":7,"systemname":"Undefined","filename":"boat.png","displayname":"The boat"})")
                .value(QLatin1String("success"))
                .toBool());
        program.process().kill();
        REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
        CHECK(program.process().exitStatus() == QProcess::CrashExit);
    }
    Program program(folder);
    const std::uint16_t port = program.commands();
    const std::string path = '/' + page.section(QLatin1Char('/'), 3).toStdString();
    const HttpAnswer answer = ask(program.pages(), "GET", path);
    CHECK(answer.status == 200);
    CHECK(answer.body.find("The boat") != std::string::npos);
    CHECK(command(port, R"({"command":"getuserpage","tessel":7})")
              .value(QLatin1String("userpageurl"))
              .toString()
              .endsWith(QString::fromStdString(path)));
}

TEST_CASE("media server: it tells its two doors when it listens and ends cleanly when asked to")
{
    const Folder folder;
    for (const char* signal : {"TERM", "INT"}) {
        CAPTURE(signal);
        Program program(folder);
        const std::uint16_t commands = program.commands();
        const std::uint16_t pages = program.pages();
        REQUIRE(commands != 0);
        REQUIRE(pages != 0);
        CHECK(program.lines()
              == "tavola-mediaserver: commands on http://127.0.0.1:" + QByteArray::number(commands)
                  + "/\ntavola-mediaserver: pages on http://127.0.0.1:" + QByteArray::number(pages) + "/\n");
        CHECK(ask(pages, "GET", "/none").status == 404);
        CHECK(ask(pages, "GET", "/health").status == 200);
        REQUIRE(
            QProcess::execute(QStringLiteral("kill"),
                              {QStringLiteral("-s"), QString::fromLatin1(signal), QString::number(program.process().processId())})
            == 0);
        REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
        CHECK(program.process().exitStatus() == QProcess::NormalExit);
        CHECK(program.process().exitCode() == 0);
        CHECK(program.process().readAllStandardOutput().isEmpty());
        CHECK(program.process().readAllStandardError()
              == QByteArray(kOnThisMachineOnly).replace("%1", QByteArray::number(pages)) + "info MediaServer # Stopped\n");
    }
}

TEST_CASE("media server: the public address stands in pages' addresses")
{
    const Folder folder;
    Program program(folder,
                    {QStringLiteral("--pages"), QStringLiteral("0.0.0.0:0"), QStringLiteral("--public-url"),
                     QStringLiteral("https://museum.example/table/")});
    const QString page =
        command(program.commands(), R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
    CHECK(page.startsWith(QLatin1String("https://museum.example/table/p/")));
}

TEST_CASE("media server: what keeps it from starting is reported, with exit code 1")
{
    const Folder folder;
    Program first(folder);
    const QString taken = QStringLiteral("127.0.0.1:%1").arg(first.commands());
    struct Row
    {
        QStringList arguments;
        QByteArray told;
    };
    const Row rows[] = {
        {{QStringLiteral("--pages"), taken},
         "warning MediaServer # Cannot listen on 127.0.0.1 port " + QByteArray::number(first.commands()) + ": "},
        {{QStringLiteral("--commands"), taken},
         "warning MediaServer # Cannot listen on 127.0.0.1 port " + QByteArray::number(first.commands()) + ": "},
        {{QStringLiteral("--command-key"), folder.path(QStringLiteral("none"))},
         "warning MediaServer # The key file \"" + folder.path(QStringLiteral("none")).toLocal8Bit() + "\" cannot be opened ("},
        {{QStringLiteral("--database"), folder.path()},
         "warning MediaServer # The database \"" + folder.path().toLocal8Bit() + "\" cannot be used: "},
    };
    for (const Row& row : rows) {
        Program program(folder, row.arguments);
        REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
        CHECK(program.process().exitCode() == 1);
        const QByteArray told = program.process().readAllStandardError();
        CAPTURE(told.toStdString());
        CHECK(told.startsWith(row.told));
        CHECK(program.process().readAllStandardOutput().isEmpty());
    }
}

TEST_CASE("media server: the database is its user's alone, whatever umask the program is started with")
{
    const Folder folder;
    Program program(folder, {}, [] { ::umask(0); });
    REQUIRE(command(program.commands(), R"({"command":"getuserpage","tessel":7})").value(QLatin1String("success")).toBool());
    for (const char* name : {"items.sqlite", "items.sqlite-wal", "items.sqlite-shm"}) {
        CAPTURE(name);
        const QFileInfo file(folder.path(QString::fromLatin1(name)));
        REQUIRE(file.exists());
        const auto others =
            QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
        CHECK((file.permissions() & others) == 0);
        CHECK((file.permissions() & QFile::ExeOwner) == 0);
    }
}

TEST_CASE("media server: with few open files and many slow downloads, the table is heard and pages are whole")
{
    const Folder folder;
    // More than the system keeps for a client that does not read.
    folder.write(QStringLiteral("large.png"), QByteArray(20'000'000, 'x'));
    Program program(folder, {}, [] {
        const rlimit few{96, 96};
        ::setrlimit(RLIMIT_NOFILE, &few);
    });
    const std::uint16_t port = program.commands();
    REQUIRE(command(port, R"({"command":"additem","tessel":7,"filename":"large.png"})").value(QLatin1String("success")).toBool());
    const QString address =
        command(port, R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
    const std::string page = '/' + address.section(QLatin1Char('/'), 3).toStdString();

    std::vector<std::unique_ptr<HttpClient>> phones;
    int downloading = 0;
    int refused = 0;
    for (int i = 0; i < 60; ++i) {
        phones.push_back(std::make_unique<HttpClient>(program.pages()));
        phones.back()->send(requestText("GET", page + "/file/1"));
        const auto head = phones.back()->receiveHead();
        REQUIRE(head);
        downloading += head->status == 200 ? 1 : 0;
        refused += head->status == 503 ? 1 : 0;
    }
    CHECK(downloading == 9);
    CHECK(refused == 51);

    CHECK(command(port, R"({"command":"additem","tessel":8,"filename":"large.png"})").value(QLatin1String("success")).toBool());
    const HttpAnswer shown = ask(program.pages(), "GET", page);
    CHECK(shown.status == 200);
    CHECK(shown.body.find("Not available") == std::string::npos);
    REQUIRE(QProcess::execute(QStringLiteral("kill"), {QString::number(program.process().processId())}) == 0);
    REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
    const QByteArray told = program.process().readAllStandardError();
    CAPTURE(told.toStdString());
    CHECK(told.contains("warning HttpServer # Too many downloads at a time; some were answered with 503 ("));
    CHECK(told.contains("warning HttpServer # All connections are in use; "));
}

TEST_CASE("media server: too few open files for a connection keep it from starting")
{
    const Folder folder;
    Program program(folder, {}, [] {
        const rlimit few{60, 60};
        ::setrlimit(RLIMIT_NOFILE, &few);
    });
    REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
    CHECK(program.process().exitCode() == 1);
    CHECK(program.process().readAllStandardError()
          == "warning MediaServer # The system allows 60 open files, which is too few: allow 1200 (LimitNOFILE of a systemd "
             "service, "
             "ulimit -n of a shell)\n");
}

TEST_CASE("media server: with a key file commands need a key, and a hangup exchanges it")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("key"));
    const auto write = [&](const QByteArray& text) {
        folder.write(QStringLiteral("key"), text);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    };
    const QByteArray first = "00112233445566778899aabbccddeeff";
    const QByteArray second = "ffeeddccbbaa99887766554433221100";
    write(first);
    Program program(folder, {QStringLiteral("--command-key"), file});
    const auto statusWith = [&](const QByteArray& key) {
        HttpClient client(program.commands());
        const std::string body = R"({"command":"getuserpage","tessel":7})";
        client.send("POST / HTTP/1.1\r\nHost: x\r\n"
                    + (key.isEmpty() ? std::string() : "Authorization: Bearer " + key.toStdString() + "\r\n")
                    + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
        return client.receive().value_or(HttpAnswer{}).status;
    };
    CHECK(statusWith({}) == 401);
    CHECK(statusWith(second) == 401);
    CHECK(statusWith(first) == 200);

    const auto hangUp = [&] {
        const auto told = [&] { return program.process().readAllStandardError(); };
        static_cast<void>(told());
        REQUIRE(::kill(pid_t(program.process().processId()), SIGHUP) == 0);
        QByteArray lines;
        while (!lines.endsWith('\n') && program.process().waitForReadyRead(TestSupport::kPatienceMs))
            lines += told();
        program.process().setReadChannel(QProcess::StandardOutput);
        return lines;
    };
    write(second + '\n' + first);
    program.process().setReadChannel(QProcess::StandardError);
    CHECK(hangUp().contains("info MediaServer # The keys for commands were read again\n"));
    CHECK(statusWith(first) == 200);
    CHECK(statusWith(second) == 200);

    // A file that is wrong locks no table out.
    write("short");
    program.process().setReadChannel(QProcess::StandardError);
    CHECK(hangUp().contains("warning MediaServer # The keys stay as they were (The key file "));
    CHECK(statusWith(second) == 200);
}

TEST_CASE("media server: it goes on when the reader of its log goes away")
{
    const Folder folder;
    // Its standard error is a pipe without a reader from the start, and the first line of the log is on its way at once.
    Program program(folder, {}, [] {
        int ends[2];
        if (::pipe(ends) == 0) {
            ::dup2(ends[1], STDERR_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
        }
        ::signal(SIGPIPE, SIG_DFL);
    });
    const std::uint16_t port = program.commands();
    REQUIRE(port != 0);
    CHECK(ask(port, "POST", "/", "{}").status == 400);
    CHECK(ask(program.pages(), "GET", "/health").status == 200);
    REQUIRE(::kill(pid_t(program.process().processId()), SIGTERM) == 0);
    REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
    CHECK(program.process().exitStatus() == QProcess::NormalExit);
    CHECK(program.process().exitCode() == 0);
}

TEST_CASE("media server: the pages of a file are imported into the database, and nothing is served")
{
    const Folder former;
    {
        Program program(former);
        CHECK(command(program.commands(), R"({"command": "additem", "tessel": 7, "url": "https://a.example/"})")
                  .value("success")
                  .toBool());
    }
    const Folder folder;
    for (const char* file : {"items.sqlite", "missing.sqlite"}) {
        CAPTURE(file);
        const bool isThere = former.path(QString::fromUtf8(file)).endsWith(QLatin1String("items.sqlite"));
        Program program(folder, {QStringLiteral("--import"), former.path(QString::fromUtf8(file))});
        REQUIRE(program.process().waitForFinished(TestSupport::kPatienceMs));
        CHECK(program.process().exitCode() == (isThere ? 0 : 1));
        CHECK(program.process().readAllStandardOutput()
              == (isThere
                      ? "tavola-mediaserver: 1 pages and 1 things were imported; 0 pages keep the address that they have in the "
                        "database already\n"
                      : ""));
        CHECK(program.process().readAllStandardError().contains("missing.sqlite") == !isThere);
    }
}
