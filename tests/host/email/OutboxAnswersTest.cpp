#include "services/email/OutboxAnswers.hpp"

#include <doctest/doctest.h>

#include <utility>

using namespace Host;

namespace
{
using Status = OutboxAnswers::Status;

folly::Future<Status> owed(OutboxAnswers& answers, const QString& messageId)
{
    OutboxAnswers::Promise promise;
    auto future = promise.getFuture();
    answers.owe(messageId, std::move(promise));
    return future;
}
}

TEST_CASE("outbox answers: each is given once, with what the first attempt came to")
{
    OutboxAnswers answers(60.0);
    auto ann = owed(answers, "<1@x>");
    auto bob = owed(answers, "<2@x>");
    answers.settle("<1@x>", {false, "550 nobody"});
    answers.settle("<1@x>", {true, ""});
    answers.settle("<9@x>", {true, ""});
    REQUIRE(ann.isReady());
    CHECK_FALSE(ann.value().success);
    CHECK(ann.value().error == "550 nobody");
    CHECK_FALSE(bob.isReady());
    answers.settleAll();
    REQUIRE(bob.isReady());
    CHECK(bob.value().success);
}

TEST_CASE("outbox answers: a message that is not on the disk yet is no success, however long that takes")
{
    OutboxAnswers answers(0.0);
    auto future = owed(answers, "<1@x>");
    CHECK_FALSE(answers.settleOverdue().has_value());
    CHECK_FALSE(future.isReady());
    answers.beginPatience("<1@x>");
    CHECK_FALSE(answers.settleOverdue().has_value());
    REQUIRE(future.isReady());
    CHECK(future.value().success);
    answers.settle("<1@x>", {false, "550 nobody"}); // the first attempt ends later
}

TEST_CASE("outbox answers: nobody is answered before patience has ended, and the next end is told")
{
    OutboxAnswers answers(3600.0);
    auto ann = owed(answers, "<1@x>");
    auto bob = owed(answers, "<2@x>");
    const auto before = std::chrono::steady_clock::now();
    answers.beginPatience("<1@x>");
    answers.beginPatience("<2@x>");
    answers.beginPatience("<9@x>");
    const auto after = std::chrono::steady_clock::now();
    const auto next = answers.settleOverdue();
    REQUIRE(next);
    CHECK(*next >= before + std::chrono::hours(1));
    CHECK(*next <= after + std::chrono::hours(1));
    CHECK_FALSE(ann.isReady());
    CHECK_FALSE(bob.isReady());
    answers.settleAll();
}

TEST_CASE("outbox answers: somebody who is answered may settle another answer at once")
{
    OutboxAnswers answers(60.0);
    auto ann = owed(answers, "<1@x>");
    auto bob = owed(answers, "<2@x>").thenValue([&answers](const Status& status) {
        answers.settle("<1@x>", {true, ""});
        return status.error;
    });
    answers.settle("<2@x>", {false, "550 nobody"});
    CHECK(ann.isReady());
    REQUIRE(bob.isReady());
    CHECK(bob.value() == "550 nobody");
}
