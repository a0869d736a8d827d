#include "services/email/OutboxAnswers.hpp"

#include <doctest/doctest.h>

#include <utility>

using namespace Host;

namespace
{
using Status = OutboxAnswers::Status;

folly::Future<Status> pending(OutboxAnswers& answers, const QString& messageId)
{
    OutboxAnswers::Promise promise;
    auto future = promise.getFuture();
    answers.add(messageId, std::move(promise));
    return future;
}
}

TEST_CASE("outbox answers: each is given once, with what the first attempt came to")
{
    OutboxAnswers answers(60.0);
    auto ann = pending(answers, "<1@x>");
    auto bob = pending(answers, "<2@x>");
    answers.complete("<1@x>", {false, "550 unknown"});
    answers.complete("<1@x>", {true, ""});
    answers.complete("<9@x>", {true, ""});
    REQUIRE(ann.isReady());
    CHECK_FALSE(ann.value().success);
    CHECK(ann.value().error == "550 unknown");
    CHECK_FALSE(bob.isReady());
    answers.completeAll();
    REQUIRE(bob.isReady());
    CHECK(bob.value().success);
}

TEST_CASE("outbox answers: a message that is not on the disk yet is no success, however long that takes")
{
    OutboxAnswers answers(0.0);
    auto future = pending(answers, "<1@x>");
    CHECK_FALSE(answers.completeOverdue().has_value());
    CHECK_FALSE(future.isReady());
    answers.setDeadline("<1@x>");
    CHECK_FALSE(answers.completeOverdue().has_value());
    REQUIRE(future.isReady());
    CHECK(future.value().success);
    answers.complete("<1@x>", {false, "550 unknown"}); // the first attempt ends later
}

TEST_CASE("outbox answers: no answer is completed before its deadline, and the next deadline is returned")
{
    OutboxAnswers answers(3600.0);
    auto ann = pending(answers, "<1@x>");
    auto bob = pending(answers, "<2@x>");
    const auto before = std::chrono::steady_clock::now();
    answers.setDeadline("<1@x>");
    answers.setDeadline("<2@x>");
    answers.setDeadline("<9@x>");
    const auto after = std::chrono::steady_clock::now();
    const auto next = answers.completeOverdue();
    REQUIRE(next);
    CHECK(*next >= before + std::chrono::hours(1));
    CHECK(*next <= after + std::chrono::hours(1));
    CHECK_FALSE(ann.isReady());
    CHECK_FALSE(bob.isReady());
    answers.completeAll();
}

TEST_CASE("outbox answers: the continuation of an answer may complete another one")
{
    OutboxAnswers answers(60.0);
    auto ann = pending(answers, "<1@x>");
    auto bob = pending(answers, "<2@x>").thenValue([&answers](const Status& status) {
        answers.complete("<1@x>", {true, ""});
        return status.error;
    });
    answers.complete("<2@x>", {false, "550 unknown"});
    CHECK(ann.isReady());
    REQUIRE(bob.isReady());
    CHECK(bob.value() == "550 unknown");
}
