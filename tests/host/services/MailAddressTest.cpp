#include "services/MailAddress.hpp"

#include <doctest/doctest.h>

using Host::isMailAddress;

TEST_CASE("mail address: the form of one mailbox, and nothing else")
{
    for (const char* good :
         {"ann@example.org", "a.b+c@example.co.uk", "ann@localhost", "o'neil@example.org", "a!#$%&*-/=?^_`{|}~b@x.example",
          "p\u00e4ivi@example.fi", "ann@m\u00fcnchen.example", "ann@a-b.example", "a@1.example"}) {
        CAPTURE(good);
        CHECK(isMailAddress(QString::fromUtf8(good)));
    }
    for (const char* bad : {"",
                            "ann",
                            "umamuseum.example",
                            "@example.org",
                            "ann@",
                            "ann@@example.org",
                            "a b@example.org",
                            "ann@exam ple.org",
                            "<ann@example.org>",
                            "ann@example.org\n",
                            "ann@example.org\r\nBcc: bob@example.org",
                            "ann@example.org>",
                            "ann@.example.org",
                            "ann@example.org.",
                            "ann@-example.org",
                            "ann@example-.org",
                            "ann@example.-org",
                            "ann@example..org",
                            "ann@example.org,bob@example.org",
                            "\"ann\"@example.org",
                            ".ann@example.org",
                            "ann.@example.org",
                            "a..b@example.org",
                            "a\u200b@example.org",
                            "ann@[192.0.2.1]",
                            "ann@exa_mple.org"}) {
        CAPTURE(bad);
        CHECK_FALSE(isMailAddress(QString::fromUtf8(bad)));
    }
}

TEST_CASE("mail address: its parts are as long as mail servers take them")
{
    const auto repeated = [](int count) { return QString(count, QLatin1Char('a')); };
    CHECK(isMailAddress(repeated(64) + "@example.org"));
    CHECK_FALSE(isMailAddress(repeated(65) + "@example.org"));
    CHECK_FALSE(isMailAddress(QString(33, QChar(0xe4)) + "@example.org")); // 66 bytes
    CHECK(isMailAddress("a@" + repeated(63) + ".org"));
    CHECK_FALSE(isMailAddress("a@" + repeated(64) + ".org"));
    const QString label = repeated(61) + QLatin1Char('.');
    CHECK(isMailAddress("ann@" + label + label + label + label + "a"));
    CHECK_FALSE(isMailAddress("ann@" + label + label + label + label + "aaa"));
}
