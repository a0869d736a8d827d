#include "content/ContentHashes.hpp"

#include "Folder.hpp"
#include "Patience.hpp"

#include <doctest/doctest.h>

#include <condition_variable>
#include <deque>
#include <mutex>

using namespace MediaServer;

namespace
{

const QString kBoat = QStringLiteral("boat.png");
const QByteArray kSomeHash(64, 'a');

struct ContentHashesFixture
{
    /// Runs the next function that was posted.
    void runPosted()
    {
        std::unique_lock<std::mutex> lock(mutex);
        REQUIRE(came.wait_for(lock, TestSupport::kPatience, [this] { return !posted.empty(); }));
        const auto next = std::move(posted.front());
        posted.pop_front();
        lock.unlock();
        next();
    }

    QByteArray known() { return hashes.known(kBoat, *content.open(kBoat)); }

    Folder folder;
    ContentFolder content{folder.path()};
    std::mutex mutex;
    std::condition_variable came;
    std::deque<std::function<void()>> posted;
    ContentHashes hashes{content, [this](std::function<void()> function) {
                             const std::lock_guard<std::mutex> guard(mutex);
                             posted.push_back(std::move(function));
                             came.notify_one();
                         }};
};

}

TEST_CASE_FIXTURE(ContentHashesFixture, "content hashes: a file is read once for all that wait, and again when it has changed")
{
    folder.write(kBoat, "picture");
    CHECK(known().isNull());
    int ended = 0;
    hashes.read(kBoat, [&] { ++ended; });
    hashes.read(kBoat, [&] { ++ended; });
    runPosted();
    CHECK(ended == 2);
    CHECK(posted.empty());
    const QByteArray first = known();
    CHECK(first == sha256Of(*content.open(kBoat)));
    CHECK(first.size() == 64);

    folder.write(kBoat, "another picture");
    CHECK(known().isNull());
    hashes.read(kBoat, [&] { ++ended; });
    runPosted();
    CHECK(ended == 3);
    CHECK_FALSE(known().isNull());
    CHECK(known() != first);
}

TEST_CASE_FIXTURE(ContentHashesFixture,
                  "content hashes: the end of reading a file that is not there is reported as well, and may ask again")
{
    int ended = 0;
    hashes.read(kBoat, [&] {
        ++ended;
        folder.write(kBoat, "picture");
        hashes.read(kBoat, [&] { ++ended; });
    });
    runPosted();
    CHECK(ended == 1);
    CHECK(known().isNull());
    runPosted();
    CHECK(ended == 2);
    CHECK_FALSE(known().isNull());
}

TEST_CASE_FIXTURE(ContentHashesFixture, "content hashes: a hash that is remembered holds until the file changes")
{
    folder.write(kBoat, "picture");
    hashes.remember(kBoat, *content.open(kBoat), kSomeHash);
    CHECK(known() == kSomeHash);
    folder.write(kBoat, "picture that is longer");
    CHECK(known().isNull());
}

TEST_CASE("content hashes: the hash is SHA-256 in hexadecimal digits")
{
    Folder folder;
    folder.write(kBoat, "abc");
    const ContentFolder content(folder.path());
    CHECK(sha256Of(*content.open(kBoat)) == "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
