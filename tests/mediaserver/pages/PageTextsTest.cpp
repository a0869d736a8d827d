#include "pages/PageTexts.hpp"

#include <doctest/doctest.h>

#include <set>
#include <string>

using namespace MediaServer;

TEST_CASE("page texts: the browser's languages decide, the heaviest that pages have")
{
    struct Row
    {
        const char* asked;
        const char* shown;
    };
    for (const Row& row : {Row{"de", "de"},
                           {"de-CH,de;q=0.9,en;q=0.8", "de"},
                           {"sv,fi;q=0.7,en;q=0.8", "en"},
                           {"FR-fr", "fr"},
                           {"sv, fr ; q=0.5", "fr"},
                           {"sv,es", "fi"},
                           {"", "fi"},
                           {"de;q=0", "fi"},
                           {"de;q=x,en;q=0.1", "en"},
                           {"*", "fi"},
                           {",;,", "fi"}}) {
        CAPTURE(row.asked);
        CHECK(std::string(PageTexts::choose(row.asked, "fi").language) == row.shown);
    }
    CHECK(std::string(PageTexts::choose("", "sv").language) == "en");
}

TEST_CASE("page texts: every language has every text, and its placeholders")
{
    std::set<std::string> languages;
    for (const PageTexts* texts = PageTexts::begin(); texts != PageTexts::end(); ++texts) {
        CAPTURE(texts->language);
        languages.insert(texts->language);
        CHECK(PageTexts::find(texts->language) == texts);
        // All members from the first to the months are texts.
        const char* const* const first = &texts->language;
        const auto* const last = reinterpret_cast<const char* const*>(&texts->months);
        for (const char* const* text = first; text != last; ++text) {
            REQUIRE(*text);
            CHECK(std::string(*text).size() > 0);
        }
        for (const char* const text : {texts->leadMany, texts->keptUntil, texts->removeText})
            CHECK(QString::fromUtf8(text).count(QLatin1String("%1")) == 1);
        for (int month = 0; month < 12; ++month)
            CHECK(QString::fromUtf8(texts->months[month]).size() > 2);
    }
    CHECK(languages == std::set<std::string>{"de", "en", "fi", "fr"});
    CHECK_FALSE(PageTexts::find("sv"));
    CHECK_FALSE(PageTexts::find(""));
}

TEST_CASE("page texts: a day is written as people of the language write it")
{
    const QDate day(2026, 12, 3);
    CHECK(PageTexts::find("en")->date(day) == QLatin1String("3 December 2026"));
    CHECK(PageTexts::find("de")->date(day) == QLatin1String("3. Dezember 2026"));
    CHECK(PageTexts::find("fi")->date(day) == QLatin1String("3. joulukuuta 2026"));
    CHECK(PageTexts::find("fr")->date(QDate(2026, 2, 1)) == QString::fromUtf8("1 février 2026"));
}
