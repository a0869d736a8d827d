#include "recording/Shortened.hpp"

#include <Bedrock/PersonalTexts.hpp>

#include <doctest/doctest.h>

using namespace Host;
using Content = Bedrock::Arrival::Content;

TEST_CASE("shortened: of people the codes, kinds, content keys and languages stay, and the first letters of the rest")
{
    struct Row
    {
        const char* exact;
        const char* shortened;
    };
    const Row rows[] = {{"1001,Ann,ann@museum.example,,personal", "1001,A…,a…@museum.example,,personal"},
                        {"1002,\"Uma, the second\",,,unregistered", "1002,U…,,,unregistered"},
                        {"1003,\U0001F600 Kim,@odd,staff,7", "1003,\U0001F600…,@…,staff,7"},
                        {"1004,,no address,,personal", "1004,,n…,,personal"},
                        {"1005,,\"a@b\"\"@museum.example\",,personal", "1005,,a…@museum.example,,personal"}};
    for (const Row& row : rows) {
        CAPTURE(row.exact);
        const QString head = QStringLiteral("code,name,email,content-key,kind,language\n%1,de\n");
        CHECK(Shortened::people(head.arg(QString::fromUtf8(row.exact))) == head.arg(QString::fromUtf8(row.shortened)));
    }
}

TEST_CASE("shortened: an answer from outside is recorded without what belongs to a person")
{
    Bedrock::PersonalTexts::remember(QStringLiteral("Uma Ott"));
    struct Row
    {
        const char* what;
        char kind;
        QByteArray exact;
        Content content;
        QByteArray shortened;
    };
    const Row rows[] = {
        {"people", 'r', "code,name,email,content-key,kind,language\n7,Ann,ann@a.example,,personal,\n", Content::Bytes,
         "code,name,email,content-key,kind,language\n7,A…,a…@a.example,,personal,\n"},
        {"a registry that could not be read", 'r', "!", Content::Bytes, "!"},
        {"a page", 'j', R"(V{"success":true,"userpageurl":"http://h/p/Ab3dEf9hIjKlMnOpQrStUv"})", Content::Bytes,
         R"(V{"success":true,"userpageurl":"http://h/p/Ab3d…"})"},
        {"a refusal of the media server", 'j', "EThere is no room for Uma Ott", Content::Bytes, "EThere is no room for U…"},
        {"a refusal of the mail server", 'm', "Rno mailbox uma.ott@museum.example", Content::Bytes,
         "Rno mailbox u…@museum.example"},
        {"mail that waits", 'd', "1", Content::Bytes, "1"},
        {"a picture that stands for a page's address", 'n', "PNG", Content::Nothing, ""},
        {"an answer of an unknown kind", 'q', "Ann", Content::Nothing, ""}};
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const Bedrock::Arrival shortened = Shortened::arrival({5, 2, row.kind, Content::Bytes, row.exact});
        CHECK(shortened.job == 5);
        CHECK(shortened.part == 2);
        CHECK(shortened.kind == row.kind);
        CHECK(shortened.content == row.content);
        CHECK(shortened.bytes == row.shortened);
    }
    CHECK(Shortened::arrival({5, 0, 'r', Content::Nothing, {}}).content == Content::Nothing);
    CHECK(Shortened::arrival({5, 0, 'i', Content::Work, {}}).content == Content::Work);
}
