#include "presentation/LanguageTexts.hpp"

#include "Folder.hpp"

#include <JsonError.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

using namespace Host;

using TestSupport::expectWarning;

namespace
{
std::string told(const QString& file, int line)
{
    return "LanguageTexts # " + file.toStdString() + ':' + std::to_string(line) + ": ";
}

QString written(const std::vector<LanguageTexts>& languages)
{
    QStringList result;
    for (const LanguageTexts& language : languages)
        for (const LanguageTexts::Text& text : language.texts)
            result << QStringLiteral("%1:%2:%3=%4").arg(language.tag).arg(text.line).arg(text.name, text.text);
    return result.join(' ');
}

LanguageTexts language(const char* tag, const char* text)
{
    return {QLatin1String(tag), QStringLiteral("/texts/%1.json").arg(QLatin1String(tag)), {{"a", QString::fromUtf8(text), 2}}};
}

QStringList sheets(const std::vector<LanguageTexts>& languages, const char* tableLanguage)
{
    QStringList result;
    for (const LanguageSheet& sheet : languageSheets(languages, QLatin1String(tableLanguage)))
        result << sheet.css;
    return result;
}
}

TEST_CASE("language texts: the files of each folder are read in the order of their tags, with the lines of their texts")
{
    const Folder folder;
    folder.write("one/en.json", "{\n  \"sent\": \"Sent.\",\n  \"back\": \"Back\"\n}");
    folder.write("one/pt-BR.json", "{ \"back\": \"Voltar\",\n \"sent\": \"Enviado.\" }");
    folder.write("one/notes.txt", "no language");
    folder.write("two/en.json", "{ \"more\": \"More\" }");
    const auto languages = LanguageTexts::read({folder.path("one"), folder.path("two")});
    CHECK(written(languages) == "en:3:back=Back en:2:sent=Sent. pt-br:1:back=Voltar pt-br:2:sent=Enviado. en:1:more=More");
    REQUIRE(languages.size() == 3);
    CHECK(languages[1].file == folder.path("one/pt-BR.json"));
}

TEST_CASE("language texts: a text that one language has and another lacks is reported with both files and the line")
{
    const Folder folder;
    folder.write("de.json", "{ \"back\": \"Zurück\",\n \"sent\": \"Gesendet.\" }");
    const QString fi = folder.write("fi.json", "{ \"back\": \"Takaisin\" }");
    expectWarning(told(fi, 1) + "there is no text \"sent\", which de.json:2 has; that of the table's language is shown");
    CHECK(LanguageTexts::read({folder.path()}).size() == 2);
}

TEST_CASE("language texts: what is no text, no name, no language and no JSON costs itself alone")
{
    const Folder folder;
    const QString en = folder.write("en.json", "{\n\"a\": 1,\n\"B\": \"x\",\n\"c d\": \"y\",\n\"e-1\": \"z\"\n}");
    const QString deutsch = folder.write("deutsch.json", "{}");
    const QString broken = folder.write("de.json", "{\n\"a\": \"x\"\n\"b\": \"y\"\n}");
    const QString list = folder.write("fi.json", "[]");
    expectWarning(told(en, 2) + "a: expected a text; it is skipped");
    for (const auto& [line, name] : {std::pair(3, "B"), {4, "c d"}})
        expectWarning(told(en, line) + '"' + name
                      + "\" is no name of a text (a letter, then letters, digits and hyphens, all in lower case); it is skipped");
    expectWarning(told(deutsch, 1)
                  + "the name of the file is no language (expected is a tag, as in de.json or pt-BR.json); it is skipped");
    expectWarning(told(broken, 3) + TestSupport::jsonError("{\n\"a\": \"x\"\n\"b\": \"y\"\n}") + "; its texts are missing");
    expectWarning(told(list, 1) + "expected an object of names and texts; its texts are missing");
    CHECK(written(LanguageTexts::read({folder.path()})) == "en:5:e-1=z");
}

TEST_CASE("language texts: a style sheet has each text as a variable, whatever stands in it")
{
    LanguageTexts language{"de", {}, {{"back", "Zur\u00fcck", 1}, {"say", "a \"b\" \\c\n1; } <br> %1", 2}}};
    CHECK(language.styleSheet(":lang(de)")
          == QString::fromUtf8(":lang(de) { --back: \"Zur\u00fcck\"; --say: \"a \\\"b\\\" \\\\c\\a 1; } <br> %1\"; }"));
}

TEST_CASE("language texts: the table has its own language over English, and each card's language is for what it opens")
{
    const std::vector<LanguageTexts> languages{language("de", "Ja"), language("en", "Yes"), language("fi", "Kyllä")};
    CHECK(sheets(languages, "en")
          == QStringList{":root { --a: \"Yes\"; }", ":lang(de):not(:lang(de) > *) { --a: \"Ja\"; }",
                         ":lang(en):not(:lang(en) > *) { --a: \"Yes\"; }",
                         QString::fromUtf8(":lang(fi):not(:lang(fi) > *) { --a: \"Kyllä\"; }")});
    CHECK(sheets(languages, "de").mid(0, 2) == QStringList{":root { --a: \"Yes\"; }", ":root { --a: \"Ja\"; }"});
    CHECK(sheets(languages, "sv").mid(0, 2)
          == QStringList{":root { --a: \"Yes\"; }", ":lang(de):not(:lang(de) > *) { --a: \"Ja\"; }"});
    CHECK(sheets({}, "en").isEmpty());
    CHECK(languageSheets(languages, "en").front().file == "/texts/en.json");
}

TEST_CASE("language texts: a region's texts stand over those of its language")
{
    const std::vector<LanguageTexts> languages{language("pt-br", "Oi"), language("pt", "Olá"), language("en", "Hi")};
    CHECK(sheets(languages, "pt-br").mid(0, 3)
          == QStringList{":root { --a: \"Hi\"; }", QString::fromUtf8(":root { --a: \"Olá\"; }"), ":root { --a: \"Oi\"; }"});
    CHECK(sheets(languages, "en").mid(2)
          == QStringList{QString::fromUtf8(":lang(pt):not(:lang(pt) > *) { --a: \"Olá\"; }"),
                         ":lang(pt-br):not(:lang(pt-br) > *) { --a: \"Oi\"; }"});
}

TEST_CASE("language texts: the presentations that come with the table have every text in four languages")
{
    for (const char* name : {"gallery", "mailroom", "cards"}) {
        CAPTURE(name);
        const auto languages = LanguageTexts::read({QStringLiteral(TAVOLA_GALLERY "/../%1/languages").arg(QLatin1String(name))});
        QStringList tags;
        for (const LanguageTexts& language : languages) {
            tags << language.tag;
            CHECK_FALSE(language.texts.empty());
        }
        CHECK(tags == QStringList{"de", "en", "fi", "fr"});
    }
}
