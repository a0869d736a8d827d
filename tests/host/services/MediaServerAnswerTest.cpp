#include "services/MediaServerAnswer.hpp"

#include <Bedrock/LogText.hpp>

#include <doctest/doctest.h>

#include <QJsonDocument>

using namespace Host;

namespace
{
/// The answer as text, or what is wrong with it.
std::string read(int status, const QByteArray& body)
{
    QString wrong;
    const auto answer = MediaServerAnswer::read(status, body, wrong);
    CHECK(answer.has_value() == wrong.isEmpty());
    return answer ? "an object of " + std::to_string(answer->size()) : wrong.toStdString();
}
}

TEST_CASE("media server answer: is a JSON object, with any status that it does not contradict")
{
    struct Row
    {
        const char* what;
        int status;
        QByteArray body;
        const char* expected;
    };
    for (const Row& row : {
             Row{"a success", 200, R"({"success": true})", "an object of 1"},
             Row{"an empty object", 200, "{}", "an object of 0"},
             Row{"a list", 200, "[1]", "sent no JSON object"},
             Row{"nothing", 200, "", "sent no JSON object"},
             Row{"a failure with its reason", 500, R"({"success": false, "error": "disk"})", "an object of 2"},
             Row{"a failure that says success", 400, R"({"success": true})", "answered with status 400"},
             Row{"the same as a text", 502, R"({"success": "true"})", "answered with status 502"},
             Row{"a page of a gateway", 503, "<html>", "answered with status 503"},
         }) {
        CAPTURE(row.what);
        CHECK(read(row.status, row.body) == row.expected);
    }
}

TEST_CASE("media server answer: the address of a page is one that a phone can open, and no longer than 2000 characters")
{
    const auto withPage = [](const QByteArray& address) { return read(200, R"({"userpageurl": ")" + address + "\"}"); };
    CHECK(withPage("http://example.org/p/1") == "an object of 1");
    CHECK(withPage("https://example.org/p/1") == "an object of 1");
    CHECK(withPage("") == "an object of 1");
    CHECK(withPage("file:///etc/hostname") == "sent a page address that begins with neither http:// nor https://");
    CHECK(withPage("example.org/p/1") == "sent a page address that begins with neither http:// nor https://");
    const QByteArray longest = QByteArray("http://a/").leftJustified(MediaServerAnswer::kLongestPageAddress, 'x');
    CHECK(withPage(longest) == "an object of 1");
    CHECK(withPage(longest + 'x') == "sent a page address of more than 2000 characters");
    CHECK(read(200, R"({"userpageurl": 7})") == "an object of 1");
}

TEST_CASE("media server answer: lines that leave the program have the address of a page and of its QR picture shortened")
{
    struct Row
    {
        const char* address;
        const char* left;
    };
    for (const Row& row : {
             Row{"http://host/u?page=AAAABBBBccccDDDD1", "http://host/…"},
             Row{"http://host?page=AAAABBBBccccDDDD2", "http://host?…"},
             Row{"https://host:8443/u/AAAABBBBccccDDDD3.png", "https://host:8443/…"},
             Row{"http://host/@visitor/AAAABBBBccccDDDD4", "http://host/…"},
             Row{"http://host/p/AAAABBBBccccDDDD5", "http://host/p/AAAA…"},
             Row{"http://host/p/AAAABBBBccccDDDD5/qr.png", "http://host/p/AAAA…/qr.png"},
             Row{"http://host/p/AAAABBBBccccDDDD6?key=eeeeFFFFgggg", "http://host/…"},
             Row{"http://host/pages", "http://host/pages"},
         }) {
        CAPTURE(row.address);
        for (const char* name : {"userpageurl", "qrcodeurl"}) {
            const QJsonObject answer{{QLatin1String(name), QString::fromUtf8(row.address)}};
            CHECK(read(200, QJsonDocument(answer).toJson()) == "an object of 1");
        }
        CHECK(Bedrock::withoutSecrets(std::string("A # Failed to load ") + row.address + " : gone")
              == std::string("A # Failed to load ") + row.left + " : gone");
    }
    // As Qt writes them, whichever way the server does.
    CHECK(read(200, R"({"userpageurl": "http://host/u/%C3%BC-AAAABBBB"})") == "an object of 1");
    CHECK(Bedrock::withoutSecrets("A # http://host/u/ü-AAAABBBB") == "A # http://host/…");
    CHECK(read(200, R"({"userpageurl": "http://host/v/ü-AAAABBBB"})") == "an object of 1");
    CHECK(Bedrock::withoutSecrets("A # http://host/v/%C3%BC-AAAABBBB") == "A # http://host/…");
    CHECK(read(200, R"({"qrcodeurl": "host/w/AAAABBBB.png"})") == "an object of 1");
    CHECK(Bedrock::withoutSecrets("A # http://host/w/AAAABBBB.png") == "A # http://host/…");
}
