#include "services/email/LetterTemplate.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
const QString kLetter = QStringLiteral("The Museum\n"
                                       "[language en]\n"
                                       "Dear Ann,\n"
                                       "[end]\n"
                                       "  [language pt-BR] \n"
                                       "Cara Ann,\n"
                                       "[end]  \n"
                                       "\nhttps://a.example\n");
}

TEST_CASE("letter template: those of one language are kept, and what stands outside is part of every letter")
{
    struct Row
    {
        QStringList languages;
        const char* kept;
    };
    const Row rows[] = {{{"en"}, "Dear Ann,"},       {{"pt-br", "pt", "en"}, "Cara Ann,"},
                        {{"pt", "en"}, "Dear Ann,"}, {{"fi", "pt-br"}, "Cara Ann,"},
                        {{"fi"}, "Dear Ann,"},       {{}, "Dear Ann,"}};
    for (const Row& row : rows) {
        CAPTURE(row.languages.join(' ').toStdString());
        CHECK(LetterTemplate::inLanguage(kLetter, row.languages)
              == QStringLiteral("The Museum\n%1\n\nhttps://a.example\n").arg(QLatin1String(row.kept)));
    }
}

TEST_CASE("letter template: a language that only some parts have decides for all of them")
{
    const QString text =
        QStringLiteral("[language en]\nHello\n[end]\n[language fi]\nHei\n[end]\n<links>\n[language en]\nBye\n[end]\n");
    CHECK(LetterTemplate::inLanguage(text, {"fi"}) == "Hei\n<links>\n");
    CHECK(LetterTemplate::inLanguage(text, {"en"}) == "Hello\n<links>\nBye\n");
}

TEST_CASE("letter template: a text without sections stays as it is, with whatever looks like a mark")
{
    for (const char* text : {"", "Hello\n", "[end]\n", "see [language de]\nbelow\n", "[language]\n", "[language de] now\n"}) {
        CAPTURE(text);
        CHECK(LetterTemplate::inLanguage(QLatin1String(text), {"de"}) == text);
    }
}

TEST_CASE("letter template: an end that ends nothing is text, also in a letter with sections")
{
    const QString text = QStringLiteral("[end]\n[language de]\nHallo\n[end]\n[end]\n[language en]\nHello\n[end]\n");
    CHECK(LetterTemplate::inLanguage(text, {"en"}) == "[end]\n[end]\nHello\n");
    CHECK(LetterTemplate::inLanguage(text, {"fi"}) == "[end]\nHallo\n[end]\n");
}

TEST_CASE("letter template: marks that do not belong together are reported with their line")
{
    CHECK(LetterTemplate::fault(kLetter).isEmpty());
    CHECK(LetterTemplate::fault(QStringLiteral("Hello\n")).isEmpty());
    CHECK(LetterTemplate::fault(QStringLiteral("a\n[language de]\nb\n"))
          == "line 2: the section does not end; write [end] on a line after it");
    CHECK(LetterTemplate::fault(QStringLiteral("[language de]\nb\n[language en]\nc\n[end]\n"))
          == "line 1: the section does not end; write [end] on a line after it");
    CHECK(LetterTemplate::fault(QStringLiteral("[language de]\n[end]\n[end]\n"))
          == "line 3: [end] without a section; begin one with [language de] on a line before it");
}

TEST_CASE("letter template: a text in several languages is that of the first that there is, or the one for all others, or any")
{
    TextInLanguages text;
    CHECK(text.isEmpty());
    CHECK(text.in({"de"}).isEmpty());
    text.texts = {{"de", "Gefunden"}, {"fi", "Löydöt"}};
    CHECK(text.in({"fr", "fi", "de"}) == "Löydöt");
    CHECK(text.in({"fr"}) == "Gefunden");
    text.texts.insert(QString(), "Finds");
    CHECK(text.in({"fr"}) == "Finds");
    CHECK(TextInLanguages(QStringLiteral("Finds")).in({"de"}) == "Finds");
}

TEST_CASE("letter template: html, what stands for the links is found in the filled text")
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
        CHECK(LetterTemplate::compose({"[<links>]", row.textTemplate, row.text, row.name, ""})
              == QStringLiteral("[%1]").arg(row.links));
    }
}

TEST_CASE("letter template: html, text is escaped, lines are kept, web addresses can be clicked")
{
    const auto fromText = [](const QString& text) { return LetterTemplate::compose({"<content>", "", text, "", ""}); };
    CHECK(fromText("a < b & \"c\"\nd") == "a &lt; b &amp; &quot;c&quot;<br>\nd");
    CHECK(fromText("see https://a.example/x?a=1&b=2.")
          == "see <a href=\"https://a.example/x?a=1&amp;b=2\">https://a.example/x?a=1&amp;b=2</a>.");
    CHECK(fromText("javascript:alert(1)") == "javascript:alert(1)");
    CHECK(fromText("http://a\"onclick=x") == "<a href=\"http://a\">http://a</a>&quot;onclick=x");
}

TEST_CASE("letter template: html, name, links and content are filled in")
{
    const QString html = LetterTemplate::compose(
        {"<body><h1><name></h1><links>|<content></body>", "<name>!<links>", "A & B!\nhttp://x\n\n", "A & B", ""});
    CHECK(html
          == "<body><h1>A &amp; B</h1><a href=\"http://x\">http://x</a>|A &amp; B!<br>\n<a "
             "href=\"http://x\">http://x</a><br>\n<br>\n</body>");
}

TEST_CASE("letter template: html, a name that looks like a placeholder stays a name")
{
    CHECK(LetterTemplate::compose({"<name>,<links>", "<links>", "x", "<links>", ""}) == "&lt;links&gt;,x");
}

TEST_CASE("letter template: html, a template without placeholders gets the links before its end")
{
    CHECK(LetterTemplate::compose({"<html><BODY>Hi</BODY></html>", "Hi", "Hi\nhttp://x\n\n", "", ""})
          == "<html><BODY>Hi<p><a href=\"http://x\">http://x</a></p>\n</BODY></html>");
    CHECK(LetterTemplate::compose({"Hi", "Hi", "Hi\n", "", ""}) == "Hi");
}

TEST_CASE("letter template: html, what is said beside the template stands at the end")
{
    CHECK(LetterTemplate::compose({"<body><links></body>", "<links>", "\n", "", "\nToo large:\nbig.mp4\n"})
          == "<body><p>Too large:<br>\nbig.mp4</p>\n</body>");
}
