#include <doctest/doctest.h>

#include "network/NetworkAnswer.hpp"

using Tavola::NetworkAnswer;

TEST_CASE("network answer: comes out of its bytes as it went in")
{
    NetworkAnswer answer;
    answer.error = QNetworkReply::ContentNotFoundError;
    answer.errorText = QStringLiteral("späť");
    answer.url = QUrl("http://example.org/a?b=%20c");
    answer.status = 404;
    answer.reason = QStringLiteral("Not Found");
    answer.redirection = QUrl("/other");
    answer.headers = {{"X-Colour", "red"}, {"X-Colour", "blue"}};
    answer.body = QByteArray("a\0b", 3);
    const NetworkAnswer read = NetworkAnswer::fromBytes(answer.toBytes());
    CHECK(read.error == answer.error);
    CHECK(read.errorText == answer.errorText);
    CHECK(read.url == answer.url);
    CHECK(read.status == answer.status);
    CHECK(read.reason == answer.reason);
    CHECK(read.redirection == answer.redirection);
    CHECK(read.headers == answer.headers);
    CHECK(read.body == answer.body);
}

TEST_CASE("network answer: bytes that are cut off anywhere are an error")
{
    NetworkAnswer answer;
    answer.body = "moons";
    const QByteArray whole = answer.toBytes();
    for (int size = 0; size < whole.size(); ++size) {
        CAPTURE(size);
        const NetworkAnswer read = NetworkAnswer::fromBytes(whole.left(size));
        CHECK(read.error == QNetworkReply::UnknownNetworkError);
        CHECK(read.errorText == "damaged answer");
        CHECK(read.body.isEmpty());
    }
}
