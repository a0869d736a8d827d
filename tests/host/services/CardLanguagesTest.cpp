#include "services/CardLanguages.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
Person personSpeaking(unsigned long code, const char* email, const char* language)
{
    return {code, {}, QString::fromUtf8(email), {}, 0, QString::fromUtf8(language)};
}
}

TEST_CASE("card languages: a card without a language has that of the table")
{
    CardLanguages languages({personSpeaking(1, "", "fi"), personSpeaking(2, "", "")});
    CHECK(languages.ofCard(1) == "fi");
    CHECK(languages.ofCard(2) == "en");
    languages.setUsual(QStringLiteral("de"));
    CHECK(languages.ofCard(1) == "fi");
    CHECK(languages.ofCard(2) == "de");
    CHECK(languages.ofCard(3) == "de");
    CHECK(languages.ownOfCard(1) == "fi");
    CHECK(languages.ownOfCard(2).isEmpty());
    CHECK(languages.ownOfCard(3).isEmpty());
}

TEST_CASE("card languages: an address has the language of its owner's lowest card, in any case of its letters")
{
    CardLanguages languages(
        {personSpeaking(7, "a@b.org", "fr"), personSpeaking(3, " A@B.org", "fi"), personSpeaking(1, "a@b.org", "")});
    CHECK(languages.ofOwner(QStringLiteral("A@b.ORG ")) == "fi");
    CHECK(languages.ofOwner(QStringLiteral("c@b.org")).isEmpty());
    CHECK(languages.ofOwner(QString()).isEmpty());
    languages.insert(personSpeaking(3, "c@b.org", "fi"));
    CHECK(languages.ofOwner(QStringLiteral("a@b.org")) == "fr");
    CHECK(languages.ofOwner(QStringLiteral("c@b.org")) == "fi");
    languages.insert(personSpeaking(7, "a@b.org", ""));
    CHECK(languages.ofOwner(QStringLiteral("a@b.org")).isEmpty());
    CHECK(languages.ownOfCard(7).isEmpty());
}

TEST_CASE("card languages: people without an address share none")
{
    const CardLanguages languages({personSpeaking(1, "", "fi")});
    CHECK(languages.ofOwner(QString()).isEmpty());
}

TEST_CASE("card languages: other people take the place of the known ones, and the table's language stays")
{
    CardLanguages languages({personSpeaking(1, "a@b.org", "fi")});
    languages.setUsual(QStringLiteral("fr"));
    CardLanguages others({personSpeaking(2, "c@d.org", "de")});
    languages.swapPeople(others);
    CHECK(languages.ofCard(1) == "fr");
    CHECK(languages.ofCard(2) == "de");
    CHECK(languages.ofOwner(QStringLiteral("a@b.org")).isEmpty());
    CHECK(languages.ofOwner(QStringLiteral("c@d.org")) == "de");
    CHECK(others.ofCard(1) == "fi");
}

TEST_CASE("card languages: a text may be shown in the language, in its parents, in the table's and in English")
{
    CardLanguages languages;
    languages.setUsual(QStringLiteral("pt"));
    CHECK(languages.chain(QStringLiteral("zh-hant-tw")) == QStringList{"zh-hant-tw", "zh-hant", "zh", "pt", "en"});
    CHECK(languages.chain(QStringLiteral("pt-br")) == QStringList{"pt-br", "pt", "en"});
    CHECK(languages.chain(QStringLiteral("en")) == QStringList{"en", "pt"});
    CHECK(languages.chain(QString()) == QStringList{"pt", "en"});
    CHECK(languageAndParents(QString()).isEmpty());
}
