#include "Patience.hpp"
#include "TestTable.hpp"

#include <Tactile/TcpDatagramSource.hpp>
#include <Tactile/UdpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>

namespace
{
struct Outcome
{
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome run(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(VISIT_PROGRAM), arguments);
    Outcome outcome;
    if (process.waitForFinished(TestSupport::kPatienceMs) && process.exitStatus() == QProcess::NormalExit)
        outcome.exitCode = process.exitCode();
    outcome.out = QString::fromUtf8(process.readAllStandardOutput());
    outcome.err = QString::fromUtf8(process.readAllStandardError());
    return outcome;
}

QString write(const QTemporaryDir& dir, const QByteArray& text)
{
    QFile file(dir.filePath(QStringLiteral("visit.txt")));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(text);
    return file.fileName();
}

/// A table that receives real datagrams.
struct Hall
{
    enum class Way { Udp, Tcp };
    explicit Hall(Way way = Way::Udp) : input(TestTable::plainSettings())
    {
        Tactile::NetworkSettings settings;
        settings.port = 0;
        std::unique_ptr<Tactile::NetworkDatagramSource> source;
        if (way == Way::Udp)
            source = std::make_unique<Tactile::UdpDatagramSource>(settings);
        else
            source = std::make_unique<Tactile::TcpDatagramSource>(settings);
        const auto* network = source.get();
        REQUIRE(input.addSource(std::move(source)));
        target = (way == Way::Tcp ? QStringLiteral("tcp:127.0.0.1:%1") : QStringLiteral("127.0.0.1:%1")).arg(network->port());
    }
    Tactile::TuioInput input;
    Tactile::Sample sample;
    QString target;
};

const QByteArray kVisit = "size 1000 1000\n"
                          "at 0 card 1001 down 500 250 angle 90\n"
                          "at 0.05 finger 1 tap 100 100\n";
}

TEST_CASE("visit program: what it plays reaches a table by UDP and by TCP, and a card that the script left stays")
{
    const QTemporaryDir dir;
    for (const Hall::Way way : {Hall::Way::Udp, Hall::Way::Tcp}) {
        Hall hall(way);
        const Outcome outcome = run({write(dir, kVisit), QStringLiteral("--to"), hall.target});
        CHECK(outcome.exitCode == 0);
        CHECK(outcome.err == QString());
        // At least: the whole, the tap's down and up, the whole twice.
        REQUIRE(hall.input.waitForDatagrams(8, TestSupport::kPatience));
        hall.input.readSample(0.0, hall.sample);
        REQUIRE(hall.sample.markers.size() == 1);
        CHECK(hall.sample.markers[0].code() == 1001);
        CHECK(hall.sample.markers[0].centerLocation() == Vecta::Vector2f(500.f, 250.f));
        CHECK(hall.sample.markers[0].rotation() == doctest::Approx(1.5707963));
        CHECK(hall.sample.fingers.empty());
        REQUIRE(hall.sample.changes.size() == 3);
        CHECK(hall.sample.changes[2].kind == Tactile::InputChange::Kind::Up);
    }
}

TEST_CASE("visit program: sent as TUIO 2.0 the table receives the same")
{
    const QTemporaryDir dir;
    const QString file = write(dir, kVisit);
    struct Seen
    {
        std::vector<Tactile::InputChange::Kind> changes;
        Vecta::Vector2f card;
        std::uint64_t datagrams = 0;
    };
    const auto play = [&file](const char* version) {
        Hall hall;
        const Outcome outcome =
            run({file, QStringLiteral("--to"), hall.target, QStringLiteral("--tuio-version"), QLatin1String(version)});
        CHECK(outcome.exitCode == 0);
        CHECK(outcome.err == QString());
        Seen seen;
        // Ends with its last state sent twice, with the finger lifted.
        double now = 0.0;
        const auto stop = std::chrono::steady_clock::now() + TestSupport::kPatience;
        while (seen.changes.size() < 3 && std::chrono::steady_clock::now() < stop) {
            (void)hall.input.waitForDatagrams(seen.datagrams + 1, std::chrono::milliseconds(100));
            seen.datagrams = hall.input.datagramsReceived();
            hall.input.readSample(now += 0.01, hall.sample);
            for (const auto& change : hall.sample.changes)
                if (change.kind != Tactile::InputChange::Kind::Move)
                    seen.changes.push_back(change.kind);
        }
        REQUIRE(hall.sample.markers.size() == 1);
        CHECK(hall.sample.markers[0].code() == 1001);
        seen.card = hall.sample.markers[0].centerLocation();
        return seen;
    };
    const Seen one = play("1.1");
    const Seen two = play("2.0");
    CHECK(one.changes.size() == 3);
    CHECK(one.changes == two.changes);
    CHECK(one.card == two.card);
    CHECK(two.datagrams > 0);
}

TEST_CASE("visit program: asked to, it lifts what the script left")
{
    const QTemporaryDir dir;
    Hall hall;
    CHECK(run({write(dir, kVisit), QStringLiteral("--to"), hall.target, QStringLiteral("--lift")}).exitCode == 0);
    REQUIRE(hall.input.waitForDatagrams(8, TestSupport::kPatience));
    hall.input.readSample(0.0, hall.sample);
    hall.input.readSample(1.0, hall.sample);
    CHECK(hall.sample.markers.empty());
}

TEST_CASE("visit program: stepped, it plays as far as it is asked and answers with the number of datagrams")
{
    const QTemporaryDir dir;
    Hall hall;
    QProcess process;
    process.start(QStringLiteral(VISIT_PROGRAM),
                  {write(dir, "size 1000 1000\nat 100 card 1001 down 500 500\nat 200 card 1001 up\n"), QStringLiteral("--rate"),
                   QStringLiteral("1"), QStringLiteral("--to"), hall.target, QStringLiteral("--step")});
    const auto playTo = [&](const QByteArray& seconds) {
        process.write(seconds + '\n');
        QByteArray answer;
        while (!answer.endsWith('\n') && process.waitForReadyRead(TestSupport::kPatienceMs))
            answer += process.readLine();
        REQUIRE(hall.input.waitForDatagrams(answer.trimmed().toULongLong(), TestSupport::kPatience));
        CHECK(hall.input.datagramsReceived() == answer.trimmed().toULongLong());
        hall.input.readSample(seconds.toDouble(), hall.sample);
    };
    playTo("99.5");
    CHECK(hall.sample.markers.empty());
    playTo("150");
    CHECK(hall.sample.markers.size() == 1);
    playTo("300");
    hall.input.readSample(301.0, hall.sample);
    CHECK(hall.sample.markers.empty());
    process.closeWriteChannel();
    REQUIRE(process.waitForFinished(TestSupport::kPatienceMs));
    CHECK(process.exitCode() == 0);
}

TEST_CASE("visit program: by TCP it says so when no table listens")
{
    const QTemporaryDir dir;
    QString target;
    {
        const Hall hall(Hall::Way::Tcp);
        target = hall.target;
    }
    const Outcome outcome = run({write(dir, kVisit), QStringLiteral("--to"), target});
    CHECK(outcome.exitCode == 1);
    CHECK(outcome.err
          == QStringLiteral("tavola-visit # Failed to reach %1 (Connection refused); check --to and the network\n")
                 .arg(target.mid(4)));
}

TEST_CASE("visit program: a script with errors is not played, and each error is named with its place")
{
    const QTemporaryDir dir;
    Hall hall;
    const QString file = write(dir, "at 0 card 1 down 5 5\nat 1 finger 1 up\nwait\n");
    const Outcome outcome = run({file, QStringLiteral("--to"), hall.target});
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.err
          == file + QStringLiteral(":2:15: finger 1 is not down; put it down first\n") + file
              + QStringLiteral(":3:1: unknown word \"wait\"; begin the line with \"size\" or \"at\"\n"));
    CHECK(hall.input.datagramsReceived() == 0);
}

TEST_CASE("visit program: wrong arguments and a file that is not there are named on standard error")
{
    const struct
    {
        QStringList arguments;
        int exitCode;
        const char* text;
    } rows[] = {
        {{}, 2, "tavola-visit # No script was given; see --help\n"},
        {{"a", "--rate", "0"}, 2, "tavola-visit # Failed to read --rate \"0\"; give a number from 1 to 1000\n"},
        {{"/nowhere/visit.txt"},
         1,
         "tavola-visit # Failed to read /nowhere/visit.txt (No such file or directory); check its name and rights\n"},
        {{"/dev/zero"},
         1,
         "tavola-visit # Failed to read /dev/zero (it is a pipe or a device; save what it gives in a file and name that); check "
         "its name and rights\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const Outcome outcome = run(row.arguments);
        CHECK(outcome.exitCode == row.exitCode);
        CHECK(outcome.err == QString::fromUtf8(row.text));
        CHECK(outcome.out.isEmpty());
    }
    const Outcome help = run({QStringLiteral("--help")});
    CHECK(help.exitCode == 0);
    CHECK(help.out.contains(QStringLiteral("Usage: tavola-visit FILE [OPTION ...]\n")));
    CHECK(help.err.isEmpty());
}
