#include "services/email/HtmlBody.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("html body: what stands for the links is found in the filled text")
{
    const struct
    {
        const char* textTemplate;
        const char* name;
        const char* text;
        const char* links;
    } rows[] = {
        {"Hi <name>:<links>Bye", "Ann", "Hi Ann:\nhttp://a\n\nBye", "<a href=\"http://a\">http://a</a>"},
        {"Hi", "Ann", "Hi\nx\n\n", "x"},
        {"<links>-<links>", "", "\nx\n\n-\nx\n\n", "x"},
        {"<links>1<links>1", "", "x1x1", "x"},
        {"(.*)<links>?", "", "(.*)x?", "x"},
        {"", "", "\n", ""},
        // A text of another making is given whole.
        {"Hi <name>:<links>Bye", "Ann", "something else", "something else"},
        {"Hi <name>:<links>Bye", "Ann", "Hi", "Hi"},
        {"Hi", "", "Ho", "Ho"},
        {"<links>-<links>", "", "ab-c", "ab-c"},
        {"Hi <links>", "", "Good <evening>", "Good &lt;evening&gt;"},
    };
    for (const auto& row : rows) {
        INFO("text: " << std::string(row.text));
        CHECK(HtmlBody::compose({"[<links>]", row.textTemplate, row.text, row.name, ""})
              == QStringLiteral("[%1]").arg(row.links));
    }
}

TEST_CASE("html body: text is escaped, lines are kept, web addresses can be clicked")
{
    const auto fromText = [](const QString& text) { return HtmlBody::compose({"<content>", "", text, "", ""}); };
    CHECK(fromText("a < b & \"c\"\nd") == "a &lt; b &amp; &quot;c&quot;<br>\nd");
    CHECK(fromText("see https://a.example/x?a=1&b=2.")
          == "see <a href=\"https://a.example/x?a=1&amp;b=2\">https://a.example/x?a=1&amp;b=2</a>.");
    CHECK(fromText("javascript:alert(1)") == "javascript:alert(1)");
    CHECK(fromText("http://a\"onclick=x") == "<a href=\"http://a\">http://a</a>&quot;onclick=x");
}

TEST_CASE("html body: name, links and content are filled in")
{
    const QString html = HtmlBody::compose(
        {"<body><h1><name></h1><links>|<content></body>", "<name>!<links>", "A & B!\nhttp://x\n\n", "A & B", ""});
    CHECK(html
          == "<body><h1>A &amp; B</h1><a href=\"http://x\">http://x</a>|A &amp; B!<br>\n<a "
             "href=\"http://x\">http://x</a><br>\n<br>\n</body>");
}

TEST_CASE("html body: a name that looks like a placeholder stays a name")
{
    CHECK(HtmlBody::compose({"<name>,<links>", "<links>", "x", "<links>", ""}) == "&lt;links&gt;,x");
}

TEST_CASE("html body: a template without placeholders gets the links before its end")
{
    CHECK(HtmlBody::compose({"<html><BODY>Hi</BODY></html>", "Hi", "Hi\nhttp://x\n\n", "", ""})
          == "<html><BODY>Hi<p><a href=\"http://x\">http://x</a></p>\n</BODY></html>");
    CHECK(HtmlBody::compose({"Hi", "Hi", "Hi\n", "", ""}) == "Hi");
}

TEST_CASE("html body: what is said beside the template stands at the end")
{
    CHECK(HtmlBody::compose({"<body><links></body>", "<links>", "\n", "", "\nToo large:\nbig.mp4\n"})
          == "<body><p>Too large:<br>\nbig.mp4</p>\n</body>");
}
