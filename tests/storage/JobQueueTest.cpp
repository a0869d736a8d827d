#include "JobQueue.hpp"

#include <doctest/doctest.h>

#include <string>

using namespace Storage;
using namespace std::chrono_literals;
using Clock = JobQueue::Clock;
using Kind = Store::Kind;

namespace
{
const Clock::time_point kStart{1000h};

/// A job that has a name: its outcome is written behind it.
QueuedJob namedJob(std::string& names, char name, Kind kind, Clock::time_point deadline = kStart + 1h, bool runsAlone = false)
{
    return {kind, nullptr, [&names, name](const Store::Outcome&) { names += name; }, deadline, runsAlone};
}

struct QueueFixture
{
    void add(char name, Kind kind = Kind::Write, Clock::time_point deadline = kStart + 1h, bool runsAlone = false)
    {
        queue.add(namedJob(names, name, kind, deadline, runsAlone));
    }
    std::string namesOf(const JobQueue::Group& group)
    {
        names.clear();
        for (const QueuedJob& job : group)
            job.done(true);
        return names;
    }

    std::string names;
    JobQueue queue;
};
}

TEST_CASE_FIXTURE(QueueFixture, "job queue: a group are the first jobs of one kind, at most 64, of which none runs alone")
{
    CHECK(queue.takeGroup().empty());
    add('a');
    add('b');
    add('c', Kind::Read);
    add('d', Kind::Read);
    add('e', Kind::Read, kStart + 1h, true);
    add('f', Kind::Read, kStart + 1h, true);
    add('g', Kind::Read);
    for (const char* group : {"ab", "cd", "e", "f", "g", ""})
        CHECK(namesOf(queue.takeGroup()) == group);

    for (int i = 0; i < 65; ++i)
        add('x');
    CHECK(queue.takeGroup().size() == 64);
    CHECK(queue.takeGroup().size() == 1);
}

TEST_CASE_FIXTURE(QueueFixture, "job queue: what is put back comes before all others, in its order")
{
    for (const char name : {'a', 'b', 'c'})
        add(name);
    JobQueue::Group group = queue.takeGroup();
    add('d');
    for (QueuedJob& job : group)
        job.runsAlone = true;
    queue.putBack(std::move(group));
    for (const char* next : {"a", "b", "c", "d", ""})
        CHECK(namesOf(queue.takeGroup()) == next);
}

TEST_CASE_FIXTURE(QueueFixture, "job queue: jobs are overdue at their deadline; the others keep their order")
{
    CHECK_FALSE(queue.nextDeadline());
    add('a', Kind::Write, kStart + 3s);
    add('b', Kind::Write, kStart + 1s);
    add('c', Kind::Write, kStart + 2s);
    add('d', Kind::Write, kStart + 1s);
    add('e', Kind::Write, kStart + 4s);
    CHECK(queue.nextDeadline() == kStart + 1s);
    CHECK(queue.takeOverdue(kStart + 1s - 1ns).empty());
    CHECK(namesOf(queue.takeOverdue(kStart + 1s)) == "bd");
    CHECK(queue.nextDeadline() == kStart + 2s);
    CHECK(namesOf(queue.takeGroup()) == "ace");
    add('f', Kind::Write, Clock::time_point::max());
    CHECK(namesOf(queue.takeAll()) == "f");
}

TEST_CASE_FIXTURE(QueueFixture, "job queue: after its end no deadline is later, of jobs that wait and of those to come")
{
    CHECK(queue.end() == Clock::time_point::max());
    add('a', Kind::Write, kStart + 1h);
    add('b', Kind::Write, kStart + 1s);
    queue.endAt(kStart + 5s);
    queue.endAt(kStart + 1h); // the earlier one counts
    CHECK(queue.end() == kStart + 5s);
    add('c', Kind::Write, kStart + 1h);
    CHECK(namesOf(queue.takeOverdue(kStart + 1s)) == "b");
    CHECK(namesOf(queue.takeOverdue(kStart + 5s)) == "ac");
}

TEST_CASE_FIXTURE(QueueFixture, "job queue: the first of waiting jobs, its stop and its end wake the thread that reads it")
{
    CHECK_FALSE(queue.isStopping());
    queue.stop();
    CHECK(queue.isStopping());
    // Each of these would wait for ever.
    (void)queue.wait(-1, -1);
    add('a');
    (void)queue.wait(-1, -1);
    queue.endAt(kStart);
    (void)queue.wait(-1, -1);
}
