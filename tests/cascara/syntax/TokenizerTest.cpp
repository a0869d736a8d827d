#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

using namespace std::string_literals;
using CascaraTest::StyleFixture;

namespace
{
/// What a node of type N gets as "text" (or as the attribute named) from a sheet.
std::string styledBy(const std::string& css, const char* attribute = "text")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet(css.c_str());
    return node.attribute(attribute)->toText().toStdString();
}
}

TEST_CASE("tokens: strings, their escapes and continued lines")
{
    CHECK(styledBy(R"(N { text: "plain" })") == "plain");
    CHECK(styledBy(R"(N { text: 'it "is"' })") == "it \"is\"");
    CHECK(styledBy(R"(N { text: "a\"b\\c" })") == "a\"b\\c");
    CHECK(styledBy(R"(N { text: "\41 B\000043" })") == "ABC");
    CHECK(styledBy(R"(N { text: "\0000412" })") == "A2");
    CHECK(styledBy(R"(N { text: "x\a y" })") == "x\ny");
    CHECK(styledBy("N { text: \"one \\\ntwo\" }") == "one two");
    CHECK(styledBy("N { text: \"one \\\r\ntwo\" }") == "one two");
    CHECK(styledBy(R"(N { text: "\1F600" })") == "\xF0\x9F\x98\x80");
    CHECK(styledBy(R"(N { text: "\0" })") == "\xEF\xBF\xBD");
    CHECK(styledBy(R"(N { text: "\D800" })") == "\xEF\xBF\xBD");
    CHECK(styledBy(R"(N { text: "\110000" })") == "\xEF\xBF\xBD");
    CHECK(styledBy("N { text: \"\xE5\x8F\xB0 \xF0\x9F\x98\x80\" }") == "\xE5\x8F\xB0 \xF0\x9F\x98\x80");
}

TEST_CASE("tokens: an identifier has the characters that its escapes stand for")
{
    CHECK(styledBy("N { text: Sans }") == "Sans");
    CHECK(styledBy("N { text: -moved }") == "-moved");
    CHECK(styledBy("N { text: --two }") == "--two");
    CHECK(styledBy("N { text: _a-1 }") == "_a-1");
    CHECK(styledBy(R"(N { text: \31 st })") == "1st");
    CHECK(styledBy(R"(N { text: a\.b })") == "a.b");
    CHECK(styledBy("N { text: gr\xC3\xBC\xC3\x9F }") == "gr\xC3\xBC\xC3\x9F");
    CHECK(styledBy(R"(\4e { text: ok })") == "ok");
    CHECK(styledBy(R"(N { t\65xt: ok })") == "ok");
}

TEST_CASE("tokens: comments stand wherever a token may and separate nothing")
{
    CHECK(styledBy("/* a */N/* b */{/**/text/* ; */:/* } */ok/*c*/;/***/}/* d */") == "ok");
    CHECK(styledBy("N { text: ok } /* { */ N { color: red } /* / * */") == "ok");
    CHECK(styledBy("N { text: \"/* no comment */\" }") == "/* no comment */");
}

TEST_CASE("tokens: numbers in all their spellings")
{
    struct Row
    {
        const char* written;
        const char* value;
    };
    const Row rows[] = {{"12", "12"},       {"+1.5", "1.5"},   {"-.5", "-0.5"}, {"1e2", "100"},
                        {"1.5E-1", "0.15"}, {"2e+1px", "20"},  {"10px", "10"},  {"10PX", "10"},
                        {"250ms", "0.25"},  {"0.25s", "0.25"}, {"45deg", "45"}, {"1\\70x", "1"}};
    for (const Row& row : rows) {
        INFO(row.written);
        CHECK(styledBy("N { width: "s + row.written + " }", "width") == row.value);
    }
    CHECK(styledBy("N { list: 0x1F, 1001 12.50 18446744073709551615 7% }", "list")
          == "0x1F, 1001, 12.50, 18446744073709551615, 7%");
}

TEST_CASE("tokens: url with and without quotes, relative to the folder of the sheet")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    struct Row
    {
        const char* written;
        const char* value;
    };
    const Row rows[] = {
        {"url(a.png)", "/show/a.png"},
        {"url( img/a.png )", "/show/img/a.png"},
        {"url(\"img/../b c.png\")", "/show/b c.png"},
        {"URL('a.png')", "/show/a.png"},
        {"url(a\\ b.png)", "/show/a b.png"},
        {"url(/abs/a.png)", "/abs/a.png"},
        {"url(http://host/a.png)", "http://host/a.png"},
        {"url(data:image/png;base64,AA==)", "data:image/png;base64,AA=="},
        {"url(:/resource.png)", ":/resource.png"},
        {"url()", ""},
        {"\"a.png\"", "a.png"},
    };
    for (const Row& row : rows) {
        INFO(row.written);
        fixture.engine.addStyleSheet(QStringLiteral("N { text: %1 }").arg(QString::fromUtf8(row.written)),
                                     QStringLiteral("u.css"), QStringLiteral("/show"));
        CHECK(node.text->toStdString() == row.value);
    }
}

TEST_CASE("tokens: an unclosed comment, text or url ends with the file and is said")
{
    using TestSupport::expectWarning;
    SUBCASE("comment")
    {
        expectWarning("StyleEngine # test.css:1:16: the comment is not closed; the rest of the file is taken as comment");
        CHECK(styledBy("N { text: ok } /* N { text: no }") == "ok");
    }
    SUBCASE("text")
    {
        expectWarning("StyleEngine # test.css:1:3: the block is not closed; it ends with the file");
        expectWarning("StyleEngine # test.css:1:11: the text is not closed; it ends with the file");
        CHECK(styledBy("N { text: \"ok }") == "ok }");
    }
    SUBCASE("url")
    {
        expectWarning("StyleEngine # test.css:1:3: the block is not closed; it ends with the file");
        expectWarning("StyleEngine # test.css:1:11: the url() is not closed; it ends with the file");
        CHECK(styledBy("N { text: url(ok") == "ok");
    }
}

TEST_CASE("tokens: a byte order mark and old comment brackets are no content")
{
    CHECK(styledBy("\xEF\xBB\xBFN { text: ok }") == "ok");
    CHECK(styledBy("<!-- N { text: ok } -->") == "ok");
}
