#include "LogCapture.hpp"
#include "RecordingFolder.hpp"
#include "TestTable.hpp"

#include <doctest/doctest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <thread>

using Tactile::DatagramPlayer;
using Tactile::DatagramRecorder;
using Folder = RecordingFolder;

TEST_CASE("datagram recorder: without steps the frames' times are recorded by their differences")
{
    const Folder folder;
    {
        const auto recorder = folder.record();
        TestTable table(TestTable::plainSettings(), recorder.get());
        table.frame(0.5);
        table.frame(0.25);
    }
    std::string error;
    auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    Tactile::TuioInput input(player->settings());
    CHECK(player->nextFrame(input)->dtSeconds == 0.5);
    CHECK(player->nextFrame(input)->dtSeconds == 0.25);
    CHECK_FALSE(player->nextFrame(input));
}

TEST_CASE("datagram recorder: what cannot be recorded is reported with its remedy, and a file that is there stays as it is")
{
    const Folder folder;
    std::string error;
    folder.write("tavola-recording 3\n");
    CHECK_FALSE(DatagramRecorder::create(folder.file, error));
    CHECK(error
          == "DatagramRecorder # Failed to make " + folder.file + " (File exists); choose another name, or move that file away");
    CHECK(folder.bytes() == "tavola-recording 3\n");
    // Nor is a recording begun whose private half would have no place.
    REQUIRE(QFile::remove(QString::fromStdString(folder.file)));
    folder.writePrivate("of another day");
    CHECK_FALSE(DatagramRecorder::create(folder.file, error));
    CHECK(error
          == "DatagramRecorder # Failed to make " + folder.file
              + ".private (File exists); choose another name, or move that file away");
    CHECK(folder.privateBytes() == "of another day");
    CHECK_FALSE(QFile::exists(QString::fromStdString(folder.file)));
    CHECK_FALSE(DatagramRecorder::create("/nowhere/a.rec", error));
    CHECK(error
          == "DatagramRecorder # Failed to make /nowhere/a.rec (No such file or directory); choose a folder that can "
             "be written");
}

TEST_CASE("datagram recorder: when the disk takes no more the recording ends, with an error, and the table goes on")
{
    const Folder folder;
    rlimit before{};
    REQUIRE(getrlimit(RLIMIT_FSIZE, &before) == 0);
    rlimit small = before;
    small.rlim_cur = 4096;
    REQUIRE(setrlimit(RLIMIT_FSIZE, &small) == 0);
    TestSupport::expectError("DatagramRecorder # Failed to write " + folder.file
                             + " (File too large); the recording ends here, make room and begin another one");
    {
        const auto recorder = folder.record();
        TestTable table(TestTable::plainSettings(), recorder.get());
        for (int i = 1; i <= 300; ++i) {
            table.fingers({{1, 0.001f * float(i), 0.5f}});
            table.frame(0.1);
        }
        CHECK(table.sample.fingers.at(0).centerLocation().x == 300.f);
    }
    setrlimit(RLIMIT_FSIZE, &before);
    TestSupport::expectWarningStartingWith("DatagramPlayer # The recording " + folder.file + " is cut off or damaged at byte ");
    const auto replayed = folder.replay();
    CHECK(replayed.size() > 5);
    CHECK(replayed.size() < 300);
}

TEST_CASE("datagram recorder: only its owner may read what it writes, since names of visitors may be in it")
{
    const Folder folder;
    const auto recorder = folder.record();
    for (const std::string& file : {folder.file, folder.file + DatagramRecorder::kPrivateSuffix}) {
        CAPTURE(file);
        struct stat about
        {
        };
        REQUIRE(stat(file.c_str(), &about) == 0);
        CHECK((about.st_mode & 0777) == 0600);
    }
}

TEST_CASE("datagram recorder: it begins with its version and a name of its own, which its private half has as well")
{
    const Folder folder;
    folder.record().reset();
    CHECK(folder.bytes().size() == int(sizeof "tavola-recording 4 0123456789abcdef"));
    CHECK(folder.bytes().startsWith("tavola-recording 4 "));
    CHECK(folder.bytes().endsWith('\n'));
    CHECK(folder.privateBytes() == QByteArray(folder.bytes()).replace("recording", "recording-private"));
    const Folder other;
    other.record().reset();
    CHECK(other.bytes() != folder.bytes());
}

TEST_CASE("datagram recorder: a datagram is kept to the byte, with who sent it and when it came")
{
    const Folder folder;
    {
        std::string error;
        double now = 10.0;
        const auto recorder = DatagramRecorder::create(folder.file, error, [&now] { return now; });
        REQUIRE(recorder);
        now = 11.5;
        recorder->datagram(258, {"\x01\0zz", 4, Tactile::SenderAddress::fromIpv4(10, 0, 0, 7, 258)});
    }
    const QByteArray bytes = folder.bytes();
    const QByteArray body = bytes.mid(bytes.indexOf('\n') + 1 + 8);
    const char expected[] = "D\1\2\x3f\xf8\0\0\0\0\0\0" // listener, 1.5
                            "\0\0\0\0\0\0\0\0\0\0\xff\xff\x0a\0\0\7\1\2"
                            "\1\0zz";
    CHECK(body == QByteArray(expected, sizeof expected - 1));
}

TEST_CASE("datagram recorder: records of several threads stand in it whole")
{
    const Folder folder;
    {
        const auto recorder = folder.record();
        TestTable table(TestTable::plainSettings(), recorder.get());
        std::vector<std::thread> threads;
        for (int t = 0; t < 3; ++t)
            threads.emplace_back([&recorder, t] {
                const auto packet = TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}, "cam" + std::to_string(t));
                for (int i = 0; i < 500; ++i)
                    recorder->datagram(0, {packet.data(), packet.size(), Tactile::SenderAddress::fromIpv4(10, 0, 0, 1, 1)});
            });
        for (int i = 1; i <= 100; ++i)
            table.frame(0.01);
        for (std::thread& thread : threads)
            thread.join();
        table.frame(0.01);
    }
    std::string error;
    const auto player = DatagramPlayer::open(folder.file, error);
    REQUIRE(player);
    Tactile::TuioInput input(player->settings());
    Tactile::Sample sample;
    double now = 0.0;
    while (const auto frame = player->nextFrame(input))
        input.readSample(now += frame->dtSeconds, sample);
    CHECK(input.datagramsReceived() == 1500);
    CHECK(sample.fingers.size() == 3);
}
