#include "services/email/SmtpTranscript.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("smtp transcript: the lines of a reply become one")
{
    SmtpTranscript transcript;
    transcript.commandSent("EHLO x\r\n");
    transcript.lineReceived("250-test.example\r\n");
    CHECK(transcript.last().code == 0);
    transcript.lineReceived("250 8BITMIME\r\n");
    CHECK(transcript.last().code == 250);
    CHECK(transcript.last().words == "250 test.example 8BITMIME");
}

TEST_CASE("smtp transcript: each recipient has the reply to its own command")
{
    SmtpTranscript transcript;
    transcript.commandSent("RCPT TO:<a@example.org>\r\n");
    transcript.lineReceived("250 ok\r\n");
    transcript.commandSent("RCPT TO:<b@example.org>\r\n");
    transcript.lineReceived("550-5.1.1 No such\r\n");
    transcript.lineReceived("550 user\r\n");
    CHECK(transcript.lastIsOfRecipient());
    transcript.commandSent("RCPT TO:<c@example.org>\r\n");
    REQUIRE(transcript.recipients().size() == 3);
    CHECK(transcript.recipients()[0].code == 250);
    CHECK(transcript.recipients()[1].words == "550 5.1.1 No such user");
    CHECK(transcript.recipients()[1].isFinal());
    CHECK(transcript.recipients()[2].code == 0);
    transcript.commandSent("DATA\r\n");
    transcript.lineReceived("354 go\r\n");
    CHECK_FALSE(transcript.lastIsOfRecipient());
    CHECK(transcript.recipients()[2].code == 0);
}

TEST_CASE("smtp transcript: a reply is to what was sent last")
{
    SmtpTranscript transcript;
    transcript.lineReceived("220 hello\r\n");
    transcript.commandSent("DATA\r\n");
    transcript.lineReceived("354 go\r\n");
    transcript.dataSent();
    CHECK(transcript.last().code == 0);
    transcript.lineReceived("452 full\r\n");
    CHECK(transcript.last().isPassing());
}

TEST_CASE("smtp transcript: what is said after the farewell does not count")
{
    SmtpTranscript transcript;
    transcript.commandSent("MAIL FROM:<a@example.org>\r\n");
    transcript.lineReceived("550 no\r\n");
    transcript.commandSent("QUIT\r\n");
    CHECK(transcript.hasQuit());
    transcript.lineReceived("221 bye\r\n");
    CHECK(transcript.last().words == "550 no");
}

TEST_CASE("smtp transcript: noise and endless words do no harm")
{
    SmtpTranscript transcript;
    transcript.lineReceived("");
    transcript.lineReceived("abc");
    transcript.lineReceived("999 x");
    CHECK(transcript.last().code == 0);
    for (int i = 0; i < 1000; ++i)
        transcript.lineReceived("550-" + QByteArray(1000, 'x') + "\r\n");
    transcript.lineReceived("550");
    CHECK(transcript.last().code == 550);
    CHECK(transcript.last().words.size() <= 1010);
}
