#include "services/email/LetterSections.hpp"

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

TEST_CASE("letter sections: those of one language are kept, and what stands outside is part of every letter")
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
        CHECK(LetterSections::keep(kLetter, row.languages)
              == QStringLiteral("The Museum\n%1\n\nhttps://a.example\n").arg(QLatin1String(row.kept)));
    }
}

TEST_CASE("letter sections: a language that only some parts have decides for all of them")
{
    const QString text =
        QStringLiteral("[language en]\nHello\n[end]\n[language fi]\nHei\n[end]\n<links>\n[language en]\nBye\n[end]\n");
    CHECK(LetterSections::keep(text, {"fi"}) == "Hei\n<links>\n");
    CHECK(LetterSections::keep(text, {"en"}) == "Hello\n<links>\nBye\n");
}

TEST_CASE("letter sections: a text without sections stays as it is, with whatever looks like a mark")
{
    for (const char* text : {"", "Hello\n", "[end]\n", "see [language de]\nbelow\n", "[language]\n", "[language de] now\n"}) {
        CAPTURE(text);
        CHECK(LetterSections::keep(QLatin1String(text), {"de"}) == text);
    }
}

TEST_CASE("letter sections: marks that do not belong together are told with their line")
{
    CHECK(LetterSections::fault(kLetter).isEmpty());
    CHECK(LetterSections::fault(QStringLiteral("Hello\n")).isEmpty());
    CHECK(LetterSections::fault(QStringLiteral("a\n[language de]\nb\n"))
          == "line 2: the section does not end; write [end] on a line after it");
    CHECK(LetterSections::fault(QStringLiteral("[language de]\nb\n[language en]\nc\n[end]\n"))
          == "line 1: the section does not end; write [end] on a line after it");
    CHECK(LetterSections::fault(QStringLiteral("[language de]\n[end]\n[end]\n"))
          == "line 3: [end] without a section; begin one with [language de] on a line before it");
}

TEST_CASE("letter sections: a text in several languages is that of the first that there is, or the one for all others, or any")
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
