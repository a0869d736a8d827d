#include "Folder.hpp"
#include "HttpClient.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace {

/// The real program as a venue would start it.
class Program {
public:
    Program(const Folder& folder, const QStringList& more = {})
    {
        m_process.setProgram(QStringLiteral(TAVOLA_MEDIASERVER));
        m_process.setArguments(QStringList { QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--content"), folder.path(),
                                             QStringLiteral("--database"), folder.path(QStringLiteral("items.sqlite")) }
                               + more);
        m_process.start();
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Waits for the line that tells the address.
    std::uint16_t port()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) { }
        m_line = m_process.readLine();
        return m_line.trimmed().split(':').last().chopped(1).toUShort();
    }

    QByteArray line() const { return m_line; }
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
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
        REQUIRE(command(port, R"({"command":"additem","tessel":7,"systemname":"Undefined","filename":"boat.png","displayname":"The boat"})")
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
    CHECK(command(port, R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString().endsWith(QString::fromStdString(path)));
}

TEST_CASE("media server: it says one line when it listens and ends cleanly when asked to")
{
    const Folder folder;
    for (const char* signal : { "TERM", "INT" }) {
        CAPTURE(signal);
        Program program(folder);
        const std::uint16_t port = program.port();
        REQUIRE(port != 0);
        CHECK(program.line() == "tavola-mediaserver: listening on http://127.0.0.1:" + QByteArray::number(port) + "/\n");
        CHECK(ask(port, "GET", "/none").status == 404);
        REQUIRE(QProcess::execute(QStringLiteral("kill"), { QStringLiteral("-s"), QString::fromLatin1(signal), QString::number(program.process().processId()) }) == 0);
        REQUIRE(program.process().waitForFinished(10000));
        CHECK(program.process().exitStatus() == QProcess::NormalExit);
        CHECK(program.process().exitCode() == 0);
        CHECK(program.process().readAllStandardOutput().isEmpty());
        CHECK(program.process().readAllStandardError() == "MediaServer # Stopped\n");
    }
}

TEST_CASE("media server: the public address stands in pages' addresses")
{
    const Folder folder;
    Program program(folder, { QStringLiteral("--address"), QStringLiteral("0.0.0.0"), QStringLiteral("--public-url"), QStringLiteral("https://museum.example/table/") });
    const QString page = command(program.port(), R"({"command":"getuserpage","tessel":7})").value(QLatin1String("userpageurl")).toString();
    CHECK(page.startsWith(QLatin1String("https://museum.example/table/p/")));
}

TEST_CASE("media server: what keeps it from starting is told, with exit code 1")
{
    const Folder folder;
    Program first(folder);
    const QString port = QString::number(first.port());
    struct Row {
        QStringList arguments;
        QByteArray told;
    };
    const Row rows[] = {
        { { QStringLiteral("--port"), port }, "MediaServer # Cannot listen on 127.0.0.1 port " + port.toLatin1() + ": " },
        { { QStringLiteral("--address"), QStringLiteral("0.0.0.0") }, "MediaServer # --address 0.0.0.0 listens everywhere" },
        { { QStringLiteral("--database"), folder.path() }, "MediaServer # The database \"" + folder.path().toLocal8Bit() + "\" cannot be used: " },
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
