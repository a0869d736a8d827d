#include "LogCapture.hpp"
#include "RecordingFolder.hpp"
#include "TestTable.hpp"

#include <VisitPackets.hpp>

#include <doctest/doctest.h>

#include <sys/stat.h>

#include <set>

using Tactile::DatagramPlayer;
using Tactile::DatagramRecorder;
using Content = Bedrock::Arrival::Content;
using Folder = RecordingFolder;

namespace
{
const QByteArray kFirstLine = "tavola-recording 4 0123456789abcdef\n";

Visit::Player visit()
{
    auto parsed = Visit::parseScript("size 1000 1000\n"
                                     "at 0.0 card 1001 down 500 500 angle 90\n"
                                     "at 0.2 finger 1 down 100 200\n"
                                     "at 0.3 finger 1 move 300 400 over 0.5\n"
                                     "at 0.5 finger 2 tap 800 800\n"
                                     "at 0.9 card 1001 move 300 700 angle 180 over 0.5\n"
                                     "at 1.0 finger 1 up\n"
                                     "at 1.5 card 1001 up\n"
                                     "at 1.7 card 1001 down 310 700\n"
                                     "at 1.8 finger 3 down 900 100\n");
    REQUIRE(parsed.errors.empty());
    return Visit::Player(parsed.script);
}

/// Where the records of a recording end.
std::set<int> recordEnds(const QByteArray& bytes)
{
    std::set<int> ends;
    int place = bytes.indexOf('\n') + 1;
    while (place + 8 <= bytes.size()) {
        int size = 0;
        for (int i = 0; i < 4; ++i)
            size = size * 256 + static_cast<unsigned char>(bytes[place + i]);
        ends.insert(place += 8 + size);
    }
    return ends;
}

void expectTheVisitsWarnings()
{
    for (const char* start :
         {"ContactTracker::update # Marker 1001 is on the table twice", "TuioDecoder::decode # Dropped a datagram",
          "TuioInput::readSample # Lost the sender left at cam", "TuioInput::readSample # Lost the sender right at cam"})
        TestSupport::expectWarningStartingWith(start);
}

/// Records a visit with everything that can go wrong, and gives what each of its frames said.
std::vector<std::string> recordVisit(const Folder& folder, Visit::TuioVersion version)
{
    auto settings = TestTable::plainSettings();
    settings.tracker.smoothing = true;
    settings.tracker.holdSeconds = 0.35;
    settings.tracker.lostSenderSeconds = 1.5;
    settings.tracker.pixelPitchMm = 0.7f;
    settings.tracker.positionFilter.minCutoffHz = 3.f;
    const auto recorder = folder.record();
    Tactile::TuioInput input(settings);
    input.setRecorder(recorder.get());
    TestSupport::ScriptedDatagrams* listeners[2] = {};
    for (auto& listener : listeners) {
        auto source = std::make_unique<TestSupport::ScriptedDatagrams>();
        listener = source.get();
        REQUIRE(input.addSource(std::move(source), {listener == listeners[0] ? 0.f : 1000.f, 0.f, 1000.f, 1000.f}));
    }
    const Visit::Player player = visit();
    Visit::Packets left("left@cam", version);
    Visit::Packets right("right@cam", version);
    std::vector<std::string> frames;
    Tactile::Sample sample;
    double now = 0.0;
    expectTheVisitsWarnings();
    // The senders end after two seconds and are given up; the steps are such that sums and differences are not exact.
    for (int i = 0; i < 240; ++i) {
        const double seconds = i / 60.0;
        if (seconds < 2.0) {
            left.send(player.frameAt(seconds), seconds, [&](const auto& packet) { listeners[0]->send(packet); });
            if (i % 7 != 3)
                right.send(player.frameAt(seconds / 2), seconds, [&](const auto& packet) { listeners[1]->send(packet); });
        }
        if (i == 40)
            listeners[0]->send({'t', 'o', 'r'}, Tactile::SenderAddress::fromIpv4(10, 0, 0, 1, 77));
        if (i == 60)
            input.setTableRect(1, {1000.f, 0.f, 500.f, 500.f});
        const double dt = 1.0 / 60 + i * 1e-5 / 7;
        recorder->frameBegins(dt);
        input.readSample(now += dt, sample);
        frames.push_back(describe(sample));
    }
    CHECK(sample.markers.empty());
    return frames;
}

/// A record of a recording, with its size and its check sum.
QByteArray recordOf(const QByteArray& body)
{
    std::uint32_t sum = 2166136261u;
    for (const char c : body)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619u;
    QByteArray bytes;
    for (const std::uint32_t value : {std::uint32_t(body.size()), sum})
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += char(value >> shift);
    return bytes + body;
}

/// A recording of two frames of a quiet table.
QByteArray recordQuietTable(const Folder& folder)
{
    {
        const auto recorder = folder.record();
        Tactile::TuioInput input(TestTable::plainSettings());
        input.setRecorder(recorder.get());
        Tactile::Sample sample;
        input.readSample(0.5, sample);
        input.readSample(1.0, sample);
    }
    return folder.bytes();
}
}

TEST_CASE("datagram player: a replay gives the same samples, frame by frame and to the last bit")
{
    for (const auto version : {Visit::TuioVersion::One, Visit::TuioVersion::Two}) {
        const Folder folder;
        const auto recorded = recordVisit(folder, version);
        expectTheVisitsWarnings();
        const auto replayed = folder.replay();
        REQUIRE(replayed.size() == recorded.size());
        for (std::size_t i = 0; i < recorded.size(); ++i) {
            CAPTURE(i);
            REQUIRE(replayed[i] == recorded[i]);
        }
        std::size_t busy = 0;
        for (const auto& frame : recorded)
            busy += frame.find("change") != std::string::npos ? 1 : 0;
        CHECK(busy > 60);
    }
}

TEST_CASE("datagram player: the recorded settings and note are those of the table")
{
    const Folder folder;
    {
        auto settings = TestTable::plainSettings();
        settings.tableRect = {1.f, 2.f, 3.f, 4.f};
        settings.tracker.lostSenderSeconds = 9.5;
        settings.tracker.rotationFilter.derivativeCutoffHz = 0.25f;
        settings.tracker.quietRadians = 0.125f;
        const auto recorder = folder.record();
        recorder->note("presentations/gallery");
        Tactile::TuioInput(settings).setRecorder(recorder.get());
    }
    std::string error;
    const auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    CHECK(player->note() == "presentations/gallery");
    const Tactile::TuioSettings& read = player->settings();
    CHECK(read.tableRect == Vecta::Rect{1.f, 2.f, 3.f, 4.f});
    CHECK(read.tracker.pixelPitchMm == 1.f);
    CHECK(read.tracker.lostSenderSeconds == 9.5);
    CHECK(read.tracker.smoothing == false);
    CHECK(read.tracker.rotationFilter.derivativeCutoffHz == 0.25f);
    CHECK(read.tracker.quietRadians == 0.125f);
}

TEST_CASE("datagram player: results from the inbox come back with the frame that took them")
{
    const Folder folder;
    {
        const auto recorder = folder.record();
        Tactile::TuioInput input(TestTable::plainSettings());
        input.setRecorder(recorder.get());
        Tactile::Sample sample;
        recorder->arrival({7, 2, 'i', Content::Work, {}});
        recorder->arrival({1ull << 40, 0, 'j', Content::Bytes, QByteArray("{\"a\":\0}", 8)});
        input.readSample(0.5, sample);
        recorder->arrival({8, 0, 'm', Content::Bytes, ""});
        recorder->arrival({9, 0, 'm', Content::Nothing, {}});
        input.readSample(0.5, sample);
        input.readSample(0.5, sample);
    }
    std::string error;
    auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    Tactile::TuioInput input(player->settings());
    const auto first = player->nextFrame(input)->arrivals;
    REQUIRE(first.size() == 2);
    CHECK(first[0].job == 7);
    CHECK(first[0].part == 2);
    CHECK(first[0].kind == 'i');
    CHECK(first[0].content == Content::Work);
    CHECK(first[1].job == 1ull << 40);
    CHECK(first[1].content == Content::Bytes);
    CHECK(first[1].bytes == QByteArray("{\"a\":\0}", 8));
    const auto second = player->nextFrame(input)->arrivals;
    REQUIRE(second.size() == 2);
    CHECK(second[0].content == Content::Bytes);
    CHECK(second[0].bytes.isEmpty());
    CHECK(second[1].content == Content::Nothing);
    CHECK(player->nextFrame(input)->arrivals.empty());
}

namespace
{
/// A recording with a note and two answers, of which one is private, in two frames.
void recordPrivately(const Folder& folder)
{
    const auto recorder = folder.record();
    recorder->note("Ann", "A");
    Tactile::TuioInput input(TestTable::plainSettings());
    input.setRecorder(recorder.get());
    Tactile::Sample sample;
    recorder->arrival({1, 0, 'r', Content::Bytes, "Ben"}, {1, 0, 'r', Content::Bytes, "B"});
    recorder->arrival({2, 0, 'd', Content::Bytes, "0"});
    input.readSample(0.5, sample);
    recorder->arrival({3, 1, 'n', Content::Bytes, "Uma"}, {3, 1, 'n', Content::Nothing, {}});
    input.readSample(1.0, sample);
}

/// The note and the answers of a recording.
std::string answersOf(DatagramPlayer& player)
{
    Tactile::TuioInput input(player.settings());
    std::string text = player.note();
    while (const auto frame = player.nextFrame(input))
        for (const Bedrock::Arrival& arrival : frame->arrivals)
            text += ' ' + (arrival.content == Content::Nothing ? std::string("-") : arrival.bytes.toStdString());
    return text;
}
}

TEST_CASE("datagram player: what is private stands in a file of its own, and the recording is played with it or without it")
{
    const Folder folder;
    recordPrivately(folder);
    for (const char* secret : {"Ann", "Ben", "Uma"}) {
        CAPTURE(secret);
        CHECK_FALSE(folder.bytes().contains(secret));
        CHECK(folder.privateBytes().contains(secret));
    }
    std::string error;
    auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    CHECK(player->whyShortened().empty());
    CHECK(answersOf(*player) == "Ann Ben 0 Uma");

    REQUIRE(QFile::remove(folder.privateFile()));
    player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    CHECK(player->whyShortened() == folder.file + ".private is not there");
    CHECK(answersOf(*player) == "A B 0 -");
}

TEST_CASE("datagram player: a private half that is another recording's, damaged or unreadable is not used")
{
    const Folder folder;
    const Folder other;
    recordPrivately(folder);
    recordPrivately(other);
    const QByteArray own = folder.privateBytes();
    struct Row
    {
        QByteArray bytes;
        std::string why;
    };
    const std::string file = folder.file + ".private";
    const Row rows[] = {{other.privateBytes(), file + " belongs to another recording"},
                        {own.left(own.indexOf('\n') + 1), file + " is cut off or damaged"},
                        {own.left(own.indexOf('\n') + 5), file + " is cut off or damaged"},
                        {folder.bytes(),
                         "DatagramPlayer # Failed to read " + file
                             + " (a recording of another version); replay it with the program that made it"},
                        {"",
                         "DatagramPlayer # Failed to read " + file
                             + " (no recording of a table); give a file that \"tavola run --record\" made"}};
    for (const Row& row : rows) {
        CAPTURE(row.why);
        folder.writePrivate(row.bytes);
        std::string error;
        const auto player = DatagramPlayer::open(folder.file, error);
        REQUIRE(player);
        CHECK(player->whyShortened() == row.why);
        CHECK(answersOf(*player) == "A B 0 -");
    }
}

TEST_CASE("datagram player: a private half that ends early is a warning, and the rest is played shortened")
{
    const Folder folder;
    recordPrivately(folder);
    const QByteArray own = folder.privateBytes();
    const std::set<int> ends = recordEnds(own);
    REQUIRE(ends.size() == 3);
    const int second = *std::next(ends.begin());
    for (const int size : {second, second + 10, int(own.size()) - 1}) {
        CAPTURE(size);
        folder.writePrivate(own.left(size));
        std::string error;
        const auto player = DatagramPlayer::open(folder.file, error);
        REQUIRE(player);
        TestSupport::expectWarning("DatagramPlayer # " + folder.file + ".private is cut off or damaged at byte "
                                   + std::to_string(second)
                                   + "; names and answers of servers are shortened in the replay from frame 2 on");
        CHECK(answersOf(*player) == "Ann Ben 0 -");
    }
}

TEST_CASE("datagram player: an answer of the private half that belongs to another job is damage")
{
    const Folder folder;
    recordPrivately(folder);
    const QByteArray own = folder.privateBytes();
    const QByteArray note = own.left(*recordEnds(own).begin());
    for (const char* body :
         {"A\0\0\0\0\0\0\0\2\0\0r\1x", "A\0\0\0\0\0\0\0\1\0\1r\1x", "A\0\0\0\0\0\0\0\1\0\0j\1x", "N\0\0\0\0\0\0\0\1\0\0r\1x"}) {
        const QByteArray bytes(body, 14);
        CAPTURE(bytes.toHex().toStdString());
        folder.writePrivate(note + recordOf(bytes));
        std::string error;
        const auto player = DatagramPlayer::open(folder.file, error);
        REQUIRE(player);
        TestSupport::expectWarningStartingWith("DatagramPlayer # " + folder.file + ".private is cut off or damaged at byte ");
        CHECK(answersOf(*player) == "Ann B 0 -");
    }
}

TEST_CASE("datagram player: what a crash leaves is played up to the last whole frame")
{
    const Folder folder;
    std::vector<std::string> recorded;
    {
        const auto recorder = folder.record();
        TestTable table(TestTable::plainSettings(), recorder.get());
        for (int i = 1; i <= 3; ++i) {
            table.fingers({{1, 0.1f * float(i), 0.5f}});
            recorded.push_back(describe(table.frame(0.1)));
        }
    }
    const QByteArray whole = folder.bytes();
    REQUIRE(folder.replay().size() == 3);
    const std::set<int> ends = recordEnds(whole);
    REQUIRE(ends.size() == 8); // the settings, the listener, three datagrams and three frames
    std::size_t longest = 0;
    // Without the settings there is nothing to play.
    for (int size = *ends.begin(); size < whole.size(); ++size) {
        CAPTURE(size);
        folder.write(whole.left(size));
        if (ends.count(size) == 0)
            TestSupport::expectWarningStartingWith("DatagramPlayer # The recording " + folder.file
                                                   + " is cut off or damaged at byte ");
        const auto replayed = folder.replay();
        REQUIRE(replayed.size() < 3);
        REQUIRE(replayed.size() >= longest);
        longest = replayed.size();
        for (std::size_t i = 0; i < replayed.size(); ++i)
            REQUIRE(replayed[i] == recorded[i]);
    }
    CHECK(longest == 2);
}

TEST_CASE("datagram player: a damaged byte ends the replay there, with a warning")
{
    const Folder folder;
    {
        const auto recorder = folder.record();
        Tactile::TuioInput input(TestTable::plainSettings());
        input.setRecorder(recorder.get());
        Tactile::Sample sample;
        for (int i = 1; i <= 3; ++i)
            input.readSample(0.1 * i, sample);
    }
    QByteArray bytes = folder.bytes();
    constexpr int kFrameRecordBytes = 8 + 1 + 8 + 8;
    const int second = bytes.size() - 2 * kFrameRecordBytes;
    bytes[second + 12] = char(bytes[second + 12] ^ 1);
    folder.write(bytes);
    TestSupport::expectWarning("DatagramPlayer # The recording " + folder.file + " is cut off or damaged at byte "
                               + std::to_string(second)
                               + " (the recording program was ended, or its disk full); played are the 1 frames ahead of it");
    CHECK(folder.replay().size() == 1);
}

TEST_CASE("datagram player: what cannot be played is reported with its remedy")
{
    const Folder folder;
    std::string error;
    const std::string head = "DatagramPlayer # Failed to read " + folder.file;
    CHECK_FALSE(DatagramPlayer::open(folder.file, error));
    CHECK(error == head + " (No such file or directory); check its name and rights");
    folder.write("at 0 card 1 down 0 0\n");
    CHECK_FALSE(DatagramPlayer::open(folder.file, error));
    CHECK(error == head + " (no recording of a table); give a file that \"tavola run --record\" made");
    for (const char* older : {"tavola-recording 1\nxxxx", "tavola-recording 3\nxxxx and all the others"}) {
        folder.write(older);
        CHECK_FALSE(DatagramPlayer::open(folder.file, error));
        CHECK(error == head + " (a recording of another version); replay it with the program that made it");
    }
    folder.write(kFirstLine);
    CHECK_FALSE(DatagramPlayer::open(folder.file, error));
    CHECK(error == head + " (it ends before its first frame); record anew");
}

TEST_CASE("datagram player: a pipe without a writer is refused at once, with the remedy")
{
    const Folder folder;
    REQUIRE(::mkfifo(folder.file.c_str(), 0600) == 0);
    std::string error;
    CHECK_FALSE(DatagramPlayer::open(folder.file, error));
    CHECK(error
          == "DatagramPlayer # Failed to read " + folder.file
              + " (a pipe or a device); save what it gives in a file and name that");
}

TEST_CASE("datagram player: a recording without a note has none, and settings that are damaged are reported")
{
    const Folder folder;
    const QByteArray bytes = recordQuietTable(folder);
    std::string error;
    const auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    CHECK(player->note().empty());

    folder.write(kFirstLine + recordOf("S and nothing more"));
    CHECK_FALSE(DatagramPlayer::open(folder.file, error));
    CHECK(error == "DatagramPlayer # Failed to read " + folder.file + " (its settings are damaged); record anew");
}

TEST_CASE("datagram player: areas that were ignored are ignored in the replay, from the same frame on")
{
    const Folder folder;
    std::vector<std::string> recorded;
    {
        const auto recorder = folder.record();
        TestTable table(TestTable::plainSettings(), recorder.get());
        table.input.setIgnoredAreas(0,
                                    {Tactile::SurfaceArea::ofRect({0.f, 0.f, 0.2f, 0.2f}),
                                     Tactile::SurfaceArea{{{0.8f, 0.8f}, {1.f, 0.8f}, {0.9f, 1.f}}}});
        const auto frame = [&table, &recorded](std::int32_t session) {
            table.fingers({{session, 0.1f, 0.1f}, {session + 1, 0.9f, 0.9f}, {99, 0.5f, 0.5f}});
            recorded.push_back(describe(table.frame(0.5)));
        };
        frame(1);
        CHECK(table.sample.fingers.size() == 1);
        table.input.setIgnoredAreas(0, {});
        frame(3);
        CHECK(table.sample.fingers.size() == 3);
    }
    CHECK(folder.replay() == recorded);
}

TEST_CASE("datagram player: a kind of record that is not known is skipped")
{
    const Folder folder;
    QByteArray bytes = recordQuietTable(folder);
    const std::set<int> ends = recordEnds(bytes);
    REQUIRE(ends.size() == 3);
    bytes.insert(*ends.begin(), recordOf("Z of a later day"));
    folder.write(bytes);
    CHECK(folder.replay().size() == 2);
}

TEST_CASE("datagram player: a record that cannot be ends the replay ahead of its frame, with a warning")
{
    const char kNotANumber[] = "F\0\0\0\0\0\0\0\2\x7f\xf8\0\0\0\0\0\0";
    const char kSkippedFrame[] = "F\0\0\0\0\0\0\0\3\x3f\xe0\0\0\0\0\0\0";
    const char kNoListener[] = "D\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1";
    const char kNoJob[] = "A\0\0\0\0\0\0\0\0\0\0i\0";
    const char kNoContent[] = "A\0\0\0\0\0\0\0\1\0\0i\3";
    struct Row
    {
        const char* what;
        QByteArray body;
    };
    const Row rows[] = {{"a step that is no number", QByteArray(kNotANumber, sizeof kNotANumber - 1)},
                        {"a frame that is missing", QByteArray(kSkippedFrame, sizeof kSkippedFrame - 1)},
                        {"a datagram of no listener", QByteArray(kNoListener, sizeof kNoListener - 1)},
                        {"a result without a job", QByteArray(kNoJob, sizeof kNoJob - 1)},
                        {"a result of an unknown content", QByteArray(kNoContent, sizeof kNoContent - 1)},
                        {"a listener beyond the next", "L\xff"},
                        {"areas of no listener", QByteArray("I\0\1", 3)},
                        {"an area whose corners are cut off", QByteArray("I\0\0\0\3\0\0", 7)},
                        {"a frame that is cut off", "F"}};
    const Folder folder;
    const QByteArray whole = recordQuietTable(folder);
    const std::set<int> ends = recordEnds(whole);
    REQUIRE(ends.size() == 3);
    for (const Row& row : rows) {
        CAPTURE(row.what);
        QByteArray bytes = whole;
        bytes.insert(*std::next(ends.begin()), recordOf(row.body));
        folder.write(bytes);
        TestSupport::expectWarningStartingWith("DatagramPlayer # The recording " + folder.file
                                               + " is cut off or damaged at byte ");
        CHECK(folder.replay().size() == 1);
    }
}

TEST_CASE("datagram player: a record of no bytes, or of more than there can be, is damage")
{
    const Folder folder;
    const QByteArray whole = recordQuietTable(folder);
    for (const char* size : {"\0\0\0\0", "\x7f\xff\xff\xff", "\xff\xff\xff\xff"}) {
        folder.write(whole + QByteArray(size, 4) + "1234");
        TestSupport::expectWarning("DatagramPlayer # The recording " + folder.file + " is cut off or damaged at byte "
                                   + std::to_string(whole.size())
                                   + " (the recording program was ended, or its disk full); played are the 2 frames ahead of it");
        CHECK(folder.replay().size() == 2);
    }
}
