#include <Bedrock/FunctionTask.hpp>

#include <doctest/doctest.h>

using Bedrock::FunctionTask;
using Bedrock::Task;

TEST_CASE("function task: the function gets its task and decides when it is finished")
{
    int rounds = 0;
    const Task* given = nullptr;
    FunctionTask task([&](Task& self) {
        given = &self;
        if (++rounds == 2)
            self.setFinished();
    });
    CHECK_FALSE(task.isFinished());
    task.doTask();
    CHECK(given == &task);
    CHECK_FALSE(task.isFinished());
    task.doTask();
    CHECK(task.isFinished());
    CHECK(rounds == 2);
}

TEST_CASE("function task: one without a function is finished after its first round")
{
    FunctionTask task(nullptr);
    task.doTask();
    CHECK(task.isFinished());
}
