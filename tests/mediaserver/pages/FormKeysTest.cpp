#include "pages/FormKeys.hpp"

#include <Http/Message.hpp>

#include <doctest/doctest.h>

using namespace MediaServer;

namespace
{

const QString kToken = QStringLiteral("AAAAAAAAAAAAAAAAAAAAAA");
const QString kAction = QStringLiteral("remove/7");
const FormKeys kKeys(QStringLiteral("https://Pages.museum.example/table"));

Http::Request request(const QByteArray& key, const char* origin, const char* site, const char* host = "127.0.0.1:8090")
{
    Http::Request result{"POST", "/", "key=" + key, {{"Host", host}}};
    if (origin)
        result.headers.emplace_back("Origin", origin);
    if (site)
        result.headers.emplace_back("Sec-Fetch-Site", site);
    return result;
}

}

TEST_CASE("form keys: a form counts if it has its key and comes from this site")
{
    const QByteArray key = kKeys.key(kToken, kAction);
    CHECK(key.size() == 64);
    struct Row
    {
        const char* origin;
        const char* site;
        bool isAccepted;
    };
    const Row rows[] = {
        {"https://pages.museum.example", "same-origin", true},
        {"https://pages.museum.example", nullptr, true},
        // Behind no proxy.
        {"http://127.0.0.1:8090", nullptr, true},
        {"https://127.0.0.1:8090", "same-origin", true},
        {"https://pages.museum.example", "cross-site", false},
        {"https://pages.museum.example", "same-site", false},
        {"https://pages.museum.example", "none", false},
        {"https://evil.example", nullptr, false},
        {"https://evil.example", "same-origin", false},
        {"https://pages.museum.example.evil.example", nullptr, false},
        {"https://pages.museum.example:8443", nullptr, false},
        {"http://pages.museum.example", nullptr, false},
        {"http://127.0.0.1", nullptr, false},
        {"null", nullptr, false},
        {"", nullptr, false},
        {nullptr, "same-origin", false},
        {nullptr, nullptr, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.origin);
        CAPTURE(row.site);
        CHECK(kKeys.accepts(request(key, row.origin, row.site), kToken, kAction) == row.isAccepted);
        CHECK_FALSE(kKeys.accepts(request("", row.origin, row.site), kToken, kAction));
    }
}

TEST_CASE("form keys: a key is good for one form of one page of one run of the server")
{
    const char* const origin = "https://pages.museum.example";
    const QByteArray key = kKeys.key(kToken, kAction);
    CHECK(kKeys.accepts(request(key, origin, nullptr), kToken, kAction));
    CHECK_FALSE(kKeys.accepts(request(key, origin, nullptr), kToken, QStringLiteral("remove-all")));
    CHECK_FALSE(kKeys.accepts(request(key, origin, nullptr), QStringLiteral("BAAAAAAAAAAAAAAAAAAAAA"), kAction));
    CHECK_FALSE(kKeys.accepts(request(key.left(63), origin, nullptr), kToken, kAction));
    QByteArray other = key;
    other[63] = other[63] == '0' ? '1' : '0';
    CHECK_FALSE(kKeys.accepts(request(other, origin, nullptr), kToken, kAction));
    CHECK_FALSE(FormKeys(QStringLiteral("https://pages.museum.example")).accepts(request(key, origin, nullptr), kToken, kAction));
}
