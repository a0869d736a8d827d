#include "Folder.hpp"
#include "HttpClient.hpp"

#include <doctest/doctest.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <functional>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
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
        m_process.setArguments(QStringList{QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--content"),
                                           folder.path(), QStringLiteral("--database"),
                                           folder.path(QStringLiteral("items.sqlite"))}
                               + more);
        m_process.start();
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Waits for the line with the address.
    std::uint16_t port()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) {}
        m_line = m_process.readLine();
        return m_line.trimmed().split(':').last().chopped(1).toUShort();
    }

    QByteArray line() const { return m_line; }
    QProcess& process() { return m_process; }

private:
    Process m_process;
    QByteArray m_line;
};

QJsonObject command(std::uint16_t port, const char* json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(ask(port, "POST", "/", json).body)).object();
}

} // namespace

TEST_CASE("media server: an item survives the kill of the program right after its answer")
{
    const Folder folder;
    folder.write(QStringLiteral("boat.png"), "picture");
    QString page;
    {
        Program program(folder);
        const std::uint16_t port = program.port();
        page = command(port, R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
        REQUIRE(
            command(port,
                    R"({"command":"additem","tessel":7,"systemname":"Undefined","filename":"boat.png","displayname":"The boat"})")
                .value(QLatin1String("success"))
                .toBool());
        program.process().kill();
        REQUIRE(program.process().waitForFinished());
        CHECK(program.process().exitStatus() == QProcess::CrashExit);
    }
    Program program(folder);
    const std::uint16_t port = program.port();
    const std::string path = '/' + page.section(QLatin1Char('/'), 3).toStdString();
    const HttpAnswer answer = ask(port, "GET", path);
    CHECK(answer.status == 200);
    CHECK(answer.body.find("The boat") != std::string::npos);
    CHECK(command(port, R"({"command":"getuserpage","tessel":7})")
              .value(QLatin1String("userpageurl"))
              .toString()
              .endsWith(QString::fromStdString(path)));
}

TEST_CASE("media server: it says one line when it listens and ends cleanly when asked to")
{
    const Folder folder;
    for (const char* signal : {"TERM", "INT"}) {
        CAPTURE(signal);
        Program program(folder);
        const std::uint16_t port = program.port();
        REQUIRE(port != 0);
        CHECK(program.line() == "tavola-mediaserver: listening on http://127.0.0.1:" + QByteArray::number(port) + "/\n");
        CHECK(ask(port, "GET", "/none").status == 404);
        REQUIRE(
            QProcess::execute(QStringLiteral("kill"),
                              {QStringLiteral("-s"), QString::fromLatin1(signal), QString::number(program.process().processId())})
            == 0);
        REQUIRE(program.process().waitForFinished(10000));
        CHECK(program.process().exitStatus() == QProcess::NormalExit);
        CHECK(program.process().exitCode() == 0);
        CHECK(program.process().readAllStandardOutput().isEmpty());
        CHECK(program.process().readAllStandardError() == "info MediaServer # Stopped\n");
    }
}

TEST_CASE("media server: the public address stands in pages' addresses")
{
    const Folder folder;
    Program program(folder,
                    {QStringLiteral("--address"), QStringLiteral("0.0.0.0"), QStringLiteral("--public-url"),
                     QStringLiteral("https://museum.example/table/")});
    const QString page =
        command(program.port(), R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
    CHECK(page.startsWith(QLatin1String("https://museum.example/table/p/")));
}

TEST_CASE("media server: what keeps it from starting is reported, with exit code 1")
{
    const Folder folder;
    Program first(folder);
    const QString port = QString::number(first.port());
    struct Row
    {
        QStringList arguments;
        QByteArray told;
    };
    const Row rows[] = {
        {{QStringLiteral("--port"), port}, "warning MediaServer # Cannot listen on 127.0.0.1 port " + port.toLatin1() + ": "},
        {{QStringLiteral("--address"), QStringLiteral("0.0.0.0")}, "warning MediaServer # --address 0.0.0.0 listens everywhere"},
        {{QStringLiteral("--database"), folder.path()},
         "warning MediaServer # The database \"" + folder.path().toLocal8Bit() + "\" cannot be used: "},
    };
    for (const Row& row : rows) {
        Program program(folder, row.arguments);
        REQUIRE(program.process().waitForFinished(10000));
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
    REQUIRE(command(program.port(), R"({"command":"getuserpage","tessel":7})").value(QLatin1String("success")).toBool());
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
    const std::uint16_t port = program.port();
    REQUIRE(command(port, R"({"command":"additem","tessel":7,"filename":"large.png"})").value(QLatin1String("success")).toBool());
    const QString address =
        command(port, R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
    const std::string page = '/' + address.section(QLatin1Char('/'), 3).toStdString();

    std::vector<std::unique_ptr<HttpClient>> phones;
    int downloading = 0;
    int refused = 0;
    for (int i = 0; i < 60; ++i) {
        phones.push_back(std::make_unique<HttpClient>(port));
        phones.back()->send(requestText("GET", page + "/file/1"));
        const auto head = phones.back()->receiveHead();
        REQUIRE(head);
        downloading += head->status == 200 ? 1 : 0;
        refused += head->status == 503 ? 1 : 0;
    }
    CHECK(downloading == 12);
    CHECK(refused == 48);

    CHECK(command(port, R"({"command":"additem","tessel":8,"filename":"large.png"})").value(QLatin1String("success")).toBool());
    const HttpAnswer shown = ask(port, "GET", page);
    CHECK(shown.status == 200);
    CHECK(shown.body.find("Not available") == std::string::npos);
    REQUIRE(QProcess::execute(QStringLiteral("kill"), {QString::number(program.process().processId())}) == 0);
    REQUIRE(program.process().waitForFinished(10000));
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
    REQUIRE(program.process().waitForFinished(10000));
    CHECK(program.process().exitCode() == 1);
    CHECK(program.process().readAllStandardError()
          == "warning MediaServer # The system allows 60 open files, which is too few: allow 1072 (LimitNOFILE of a systemd "
             "service, "
             "ulimit -n of a shell)\n");
}
