#include "TablePlace.hpp"
#include "TableSender.hpp"

#include "HttpTalk.hpp"
#include "Patience.hpp"
#include "input/TableInput.hpp"
#include "inspector/WidgetReport.hpp"

#include <Bedrock/Inbox.hpp>
#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>
#include <VisitPackets.hpp>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>

using namespace Host;

namespace
{
using TestSupport::kPatienceMs;

/// A table with the plug-in, in the gallery's look.
void placeTable(const TablePlace& place)
{
    for (const char* name : {"gallery.css", "people.csv", "languages"})
        REQUIRE(QFile::link(QStringLiteral(TAVOLA_GALLERY "/") + QLatin1String(name), place.folder.path(QLatin1String(name))));
    place.folder.write(QStringLiteral("things.css"),
                       ".thing { position: absolute; width: 300px; height: 200px; background-color: #446688;"
                       " movable: true; rotatable: true; scalable: true }\n"
                       "#left { left: 200px; top: 320px }\n#right { left: 1400px; top: 100px }\n");
    place.presentation(R"({"table": {"width": 1920, "height": 1080}, "styleSheets": ["gallery.css", "things.css"],
        "plugins": [")" TAVOLA_PLUGIN R"("], "people": "people.csv", "widgets": [
            {"component": "tavola-personal-tessel-detector", "id": "detector"},
            {"component": "text", "id": "museum", "attributes": {"text": "The Small Museum"}},
            {"component": "panel", "id": "left", "classes": ["thing"]},
            {"component": "panel", "id": "right", "classes": ["thing"]}]})");
}

/// The widgets without their ids, which count on through the life of a process.
QJsonObject withoutIds(QJsonObject report)
{
    report.remove(QStringLiteral("id"));
    QJsonArray children;
    for (const QJsonValue& child : report.value(QLatin1String("children")).toArray())
        children.append(withoutIds(child.toObject()));
    report.insert(QStringLiteral("children"), children);
    return report;
}

QByteArray treeOf(const Table& table)
{
    return QJsonDocument(withoutIds(widgetReport(*table.application().mainLayer()))).toJson(QJsonDocument::Compact);
}

/// Where two trees begin to differ; empty where they do not.
std::string differenceOf(const QByteArray& a, const QByteArray& b)
{
    int i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i])
        ++i;
    if (i == a.size() && i == b.size())
        return {};
    const int from = i > 300 ? i - 300 : 0;
    return "..." + a.mid(from, 500).toStdString() + "\n... instead of ...\n" + b.mid(from, 500).toStdString();
}

const char* const kVisit = "size 1920 1080\n"
                           "at 0.2 card 1001 down 960 540 angle 20\n"
                           "at 0.9 finger 1 down 300 400\n"
                           "at 1.0 finger 1 move 320 620 over 0.6\n"
                           "at 1.7 finger 1 up\n"
                           "at 1.8 card 1001 move 800 500 angle 120 over 0.5\n"
                           "at 1.9 finger 2 down 1500 200\n"
                           "at 1.9 finger 3 down 1600 250\n"
                           "at 2.0 finger 3 move 1500 500 over 0.7\n"
                           "at 2.4 card 1002 down 300 800\n"
                           "at 2.6 card 1001 up\n"
                           "at 2.8 finger 2 up\n"
                           "at 2.8 finger 3 up\n"
                           "at 3.0 card 1002 up\n";

Visit::Player visit(const char* text)
{
    auto parsed = Visit::parseScript(text);
    REQUIRE(parsed.errors.empty());
    return Visit::Player(parsed.script);
}
}

TEST_CASE("table replay: a visit with the plug-in gives the same widget trees, frame by frame, in both versions of TUIO")
{
    for (const auto version : {Visit::TuioVersion::One, Visit::TuioVersion::Two}) {
        TablePlace place;
        placeTable(place);
        place.options.recordFile = place.folder.path(QStringLiteral("evening.rec"));
        std::vector<QByteArray> recorded;
        std::size_t changed = 0;
        // Two cards open a space each, in both runs.
        for (int i = 0; i < 4; ++i)
            TestSupport::expectWarningStartingWith("PersonalSpaceUploader # Failed to fetch user's URL");
        {
            const auto table = place.open();
            TableSender sender(*table);
            Visit::Packets packets("visit@test", version);
            const Visit::Player player = visit(kVisit);
            for (int i = 0; i < 240; ++i) {
                const double seconds = i / 60.0;
                packets.send(player.frameAt(seconds), seconds, [&](const auto& packet) { sender.send(packet); });
                // Steps as uneven as a clock's.
                CHECK(table->frame(1.0 / 60 + (i % 5) * 1e-4 / 3));
                recorded.push_back(treeOf(*table));
                changed += i > 0 && recorded[std::size_t(i)] != recorded[std::size_t(i - 1)] ? 1 : 0;
            }
            bool isOpened = false;
            for (const QByteArray& tree : recorded)
                isOpened = isOpened || tree.contains("PersonalSpace");
            CHECK(isOpened);
        }
        CHECK(changed > 60);

        place.options.replayFile = place.options.recordFile;
        place.options.recordFile.clear();
        // The recorded run has changed the registry; the replay has one as it was before.
        place.options.dataFolder = place.folder.path(QStringLiteral("other-data"));
        const auto table = place.open();
        CHECK(table->isReplay());
        CHECK(table->listeners().isEmpty());
        for (std::size_t i = 0; i < recorded.size(); ++i) {
            CAPTURE(i);
            REQUIRE(table->frame(99.0));
            REQUIRE(differenceOf(treeOf(*table), recorded[i]) == "");
        }
        CHECK_FALSE(table->frame(1.0 / 60));
        CHECK(table->application().frameNumber() == 240);
    }
}

TEST_CASE("table replay: pictures and texts come in the frames they came in on the day, however long the disk takes now")
{
    TablePlace place;
    QImage picture(640, 480, QImage::Format_RGB32);
    picture.fill(Qt::darkGreen);
    REQUIRE(picture.save(place.folder.path(QStringLiteral("moon.png"))));
    place.folder.write(QStringLiteral("look.css"), ".thing { position: absolute; width: 300px }\n");
    place.presentation(R"({"table": {"width": 800, "height": 600}, "styleSheets": ["look.css"], "widgets": [
        {"component": "picture", "id": "a", "classes": ["thing"], "attributes": {"source": {"file": "moon.png"}}}]})");
    place.options.recordFile = place.folder.path(QStringLiteral("a.rec"));
    std::vector<QByteArray> recorded;
    {
        const auto table = place.open();
        for (int i = 0; i < 3; ++i) {
            REQUIRE(table->frame(0.01));
            recorded.push_back(treeOf(*table));
        }
        // The picture comes now at the latest, and the frame after that shows it.
        REQUIRE(TestSupport::pumpUntil(
            [&] { return table->application().pendingImages() == 0 || Bedrock::Inbox::instance().isWaiting(); }, kPatienceMs));
        for (int i = 0; i < 3; ++i) {
            REQUIRE(table->frame(0.01));
            recorded.push_back(treeOf(*table));
        }
    }
    CHECK(recorded.front() != recorded.back());
    std::swap(place.options.replayFile, place.options.recordFile);
    for (const bool isEarly : {false, true}) {
        CAPTURE(isEarly);
        const auto table = place.open();
        if (isEarly) {
            REQUIRE(table->frame(0.01));
            REQUIRE(differenceOf(treeOf(*table), recorded[0]) == "");
            REQUIRE(TestSupport::pumpUntil(
                [&] { return table->application().pendingImages() == 0 || Bedrock::Inbox::instance().isWaiting(); },
                kPatienceMs));
        }
        for (std::size_t i = isEarly ? 1 : 0; i < recorded.size(); ++i) {
            CAPTURE(i);
            REQUIRE(table->frame(0.01));
            REQUIRE(differenceOf(treeOf(*table), recorded[i]) == "");
        }
    }
}

TEST_CASE("table replay: with a new data folder it begins with the people of the day")
{
    TablePlace place;
    place.folder.write(QStringLiteral("people.csv"), "code,name\n1001,Ann\n");
    place.presentation(R"({"table": {"width": 800, "height": 600}, "people": "people.csv"})");
    place.options.recordFile = place.folder.path(QStringLiteral("a.rec"));
    const auto name = [](unsigned long code) {
        const auto card = Tavola::Tavola::instance()->services()->tesselServiceCache()->markerProperties(code);
        return card.personalProperties() ? card.personalProperties()->name : QStringLiteral("nobody");
    };
    REQUIRE(place.open()->frame(0.01));
    // The card has another owner since then.
    place.folder.write(QStringLiteral("people.csv"), "code,name\n1001,Bob\n");
    std::swap(place.options.replayFile, place.options.recordFile);
    place.options.dataFolder = place.folder.path(QStringLiteral("replayed"));
    const auto table = place.open();
    CHECK(name(1001) == QStringLiteral("Ann"));
}

TEST_CASE("table replay: a recording has no name and no address; without its private half the same cards open under short names")
{
    TablePlace place;
    place.folder.write(QStringLiteral("people.csv"), "code,name,email\n1001,Ann Bee,ann.bee@museum.example\n");
    place.presentation(R"({"table": {"width": 800, "height": 600}, "people": "people.csv"})");
    place.options.recordFile = place.folder.path(QStringLiteral("a.rec"));
    REQUIRE(place.open()->frame(0.01));
    QFile recording(place.options.recordFile);
    REQUIRE(recording.open(QIODevice::ReadOnly));
    const QByteArray bytes = recording.readAll();
    CHECK(bytes.contains("1001,A\xE2\x80\xA6,a\xE2\x80\xA6@museum.example"));
    CHECK_FALSE(bytes.contains("Ann"));
    CHECK_FALSE(bytes.contains("Bee"));
    CHECK_FALSE(bytes.contains("ann.bee"));
    std::swap(place.options.replayFile, place.options.recordFile);
    REQUIRE(QFile::remove(place.options.replayFile + QStringLiteral(".private")));
    place.options.dataFolder = place.folder.path(QStringLiteral("replayed"));
    TestSupport::expectWarning("TableInput # Names, addresses and answers of servers are shortened in this replay ("
                               + place.options.replayFile.toStdString()
                               + ".private is not there); put the private half of the recording beside it for the exact ones");
    const auto table = place.open();
    const auto card = Tavola::Tavola::instance()->services()->tesselServiceCache()->markerProperties(1001);
    REQUIRE(card.personalProperties());
    CHECK(card.personalProperties()->name == QString::fromUtf8("A\xE2\x80\xA6"));
}

TEST_CASE("table replay: the table has the size that was recorded, and the recording knows its presentation")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}})");
    place.options.size = QSize(640, 480);
    place.options.recordFile = place.folder.path(QStringLiteral("a.rec"));
    place.open()->frame(0.0);
    QString error;
    CHECK(recordedPresentation(place.options.recordFile, error) == place.folder.path());
    CHECK(recordedPresentation(place.folder.path(QStringLiteral("presentation.json")), error).isEmpty());
    CHECK(error.contains(QStringLiteral("no recording of a table")));
    place.options.size.reset();
    std::swap(place.options.replayFile, place.options.recordFile);
    CHECK(place.open()->application().size() == Vecta::Vector2f(640.f, 480.f));
}

namespace
{
/// The real program, ended at the latest with this.
class Program
{
public:
    explicit Program(const QStringList& arguments)
    {
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(TAVOLA_PROGRAM), arguments);
        REQUIRE(m_process.waitForStarted(kPatienceMs));
    }
    ~Program()
    {
        m_process.terminate();
        if (!m_process.waitForFinished(kPatienceMs))
            m_process.kill();
    }
    QString told(const char* pattern)
    {
        const QRegularExpression expression{QLatin1String(pattern)};
        QRegularExpressionMatch match;
        const bool found = TestSupport::pumpUntil(
            [&] {
                m_output += m_process.readAll();
                match = expression.match(QString::fromUtf8(m_output));
                return match.hasMatch() || m_process.state() == QProcess::NotRunning;
            },
            kPatienceMs);
        REQUIRE_MESSAGE((found && match.hasMatch()), m_output.toStdString());
        return match.captured(1);
    }
    int exitCode()
    {
        return TestSupport::pumpUntil([this] { return m_process.state() == QProcess::NotRunning; }, kPatienceMs)
            ? m_process.exitCode()
            : -1;
    }
    int inspector() { return told("inspector on http://127\\.0\\.0\\.1:(\\d+)/").toInt(); }

private:
    QProcess m_process;
    QByteArray m_output;
};

QStringList words(const QString& line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
}

TEST_CASE("tavola replay: the program gives the same trees as the one that recorded, frame by frame")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}, "styleSheets": ["look.css"], "widgets": [
        {"component": "panel", "id": "a", "attributes": {"movable": true}}]})");
    place.folder.write(QStringLiteral("look.css"),
                       "#a { position: absolute; left: 100px; top: 100px; width: 200px; height: 150px; inertia: true }\n");
    const QString recording = place.folder.path(QStringLiteral("a.rec"));
    std::vector<QByteArray> recorded;
    {
        Program program(words(QStringLiteral("run %1 --headless --tuio 127.0.0.1:0 --inspect 0 --manual-clock --record %2")
                                  .arg(place.folder.path(), recording)));
        const int inspector = program.inspector();
        const int port = program.told("TUIO on 127\\.0\\.0\\.1:(\\d+)").toInt();
        QUdpSocket socket;
        Visit::Packets packets("visit@test");
        const Visit::Player player = visit("size 800 600\nat 0 card 7 down 700 500\nat 0.1 finger 1 down 150 150\nat 0.2 finger "
                                           "1 move 500 300 over 0.4\nat 0.7 finger 1 up\n");
        int sent = 0;
        for (int i = 0; i < 60; ++i) {
            const double seconds = i / 60.0;
            packets.send(player.frameAt(seconds), seconds, [&](const auto& packet) {
                REQUIRE(socket.writeDatagram(packet.data(), qint64(packet.size()), QHostAddress(QHostAddress::LocalHost),
                                             quint16(port))
                        > 0);
                ++sent;
            });
            REQUIRE(TestSupport::pumpUntil(
                [&] { return ask(inspector, "GET", "/input").json().object().value("datagramsReceived").toInt() == sent; },
                kPatienceMs));
            REQUIRE(ask(inspector, "POST", "/frames?dt=0.017").status == 200);
            recorded.push_back(ask(inspector, "GET", "/tree").body);
        }
    }
    CHECK(recorded.front() != recorded.back());
    {
        Program program(words(QStringLiteral("replay %1 --headless --inspect 0 --manual-clock").arg(recording)));
        const int inspector = program.inspector();
        for (std::size_t i = 0; i < recorded.size(); ++i) {
            CAPTURE(i);
            REQUIRE(ask(inspector, "POST", "/frames?dt=5").status == 200);
            REQUIRE(differenceOf(ask(inspector, "GET", "/tree").body, recorded[i]) == "");
        }
        CHECK(ask(inspector, "POST", "/frames?count=5").json().object().value("frame").toInt() == 60);
    }
    // By the clock it takes its second, and ends.
    Program program(words(QStringLiteral("replay %1 %2 --headless").arg(recording, place.folder.path())));
    CHECK(program.exitCode() == 0);
}

TEST_CASE("tavola replay: a command line that makes no sense is exit code 2, a recording that cannot be read 1")
{
    struct Row
    {
        QString line;
        int exitCode;
        const char* told;
    };
    const Folder folder;
    folder.write(QStringLiteral("old.rec"), "tavola-recording 2\nand its records");
    const Row rows[] = {
        {QStringLiteral("replay"), 2, "(which recording\\? Give a file that was made by tavola run --record)"},
        {QStringLiteral("replay a.rec p --tuio 3333"), 2, "(--tuio, --size and --record make no sense in a replay)"},
        {QStringLiteral("replay a.rec p --size 100x100"), 2, "(--tuio, --size and --record make no sense in a replay)"},
        {QStringLiteral("replay a.rec p --record b.rec"), 2, "(--tuio, --size and --record make no sense in a replay)"},
        {QStringLiteral("replay /nowhere/a.rec"), 1, "(Failed to read /nowhere/a.rec \\(No such file or directory\\))"},
        {QStringLiteral("replay %1").arg(folder.path(QStringLiteral("old.rec"))), 1,
         "(Failed to read \\S*/old.rec \\(a recording of another version\\); replay it with the program that made it)"},
        {QStringLiteral("run p --record"), 2, "(--record wants the name of a file that does not exist yet)"},
        {QStringLiteral("replay --help"), 0, "(usage: tavola replay RECORDING \\[PRESENTATION\\])"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.line.toStdString());
        Program program(words(row.line));
        CHECK(!program.told(row.told).isEmpty());
        CHECK(program.exitCode() == row.exitCode);
    }
}
