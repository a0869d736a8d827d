#include "services/email/HtmlBody.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("html body: what stands for the links is found in the filled text")
{
    CHECK(HtmlBody::filledLinks("Hi <name>:<links>Bye", "Ann", "Hi Ann:\nhttp://a\n\nBye") == QString("\nhttp://a\n\n"));
    CHECK(HtmlBody::filledLinks("Hi", "Ann", "Hi\nhttp://a\n\n") == QString("\nhttp://a\n\n"));
    CHECK(HtmlBody::filledLinks("<links>-<links>", "", "\nx\n\n-\nx\n\n") == QString("\nx\n\n"));
    CHECK(HtmlBody::filledLinks("", "", "\n") == QString("\n"));
}

TEST_CASE("html body: a text that is not the filled template has no part that stands for the links")
{
    CHECK_FALSE(HtmlBody::filledLinks("Hi <name>:<links>Bye", "Ann", "something else").has_value());
    CHECK_FALSE(HtmlBody::filledLinks("Hi <name>:<links>Bye", "Ann", "Hi").has_value());
    CHECK_FALSE(HtmlBody::filledLinks("Hi", "", "Ho").has_value());
    CHECK_FALSE(HtmlBody::filledLinks("<links>-<links>", "", "ab-c").has_value());
}

TEST_CASE("html body: text is escaped, lines are kept, web addresses can be clicked")
{
    CHECK(HtmlBody::fromText("a < b & \"c\"\nd") == "a &lt; b &amp; &quot;c&quot;<br>\nd");
    CHECK(HtmlBody::fromText("see https://a.example/x?a=1&b=2.")
          == "see <a href=\"https://a.example/x?a=1&amp;b=2\">https://a.example/x?a=1&amp;b=2</a>.");
    CHECK(HtmlBody::fromText("javascript:alert(1)") == "javascript:alert(1)");
    CHECK(HtmlBody::fromText("http://a\"onclick=x") == "<a href=\"http://a\">http://a</a>&quot;onclick=x");
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

TEST_CASE("html body: a text of another making is given whole where the links would stand")
{
    CHECK(HtmlBody::compose({"[<links>]", "Hi <links>", "Good <evening>", "", ""}) == "[Good &lt;evening&gt;]");
}

TEST_CASE("html body: what is said beside the template stands at the end")
{
    CHECK(HtmlBody::compose({"<body><links></body>", "<links>", "\n", "", "\nToo large:\nbig.mp4\n"})
          == "<body><p>Too large:<br>\nbig.mp4</p>\n</body>");
}
