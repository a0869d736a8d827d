#include "pages/SiteSettings.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QFile>

#include <sys/stat.h>

using namespace MediaServer;

namespace
{

struct SiteSettingsFixture
{
    SiteSettingsFixture() { folder.write(QStringLiteral("logo.svg"), "<svg xmlns=\"http://www.w3.org/2000/svg\"/>"); }

    Result<SiteSettings> read(const QByteArray& json) const
    {
        folder.write(QStringLiteral("presentation.json"), json);
        return SiteSettings::read(folder.path(QStringLiteral("presentation.json")));
    }

    Folder folder;
};

}

TEST_CASE_FIXTURE(SiteSettingsFixture, "site settings: a venue's page is read from its presentation")
{
    const auto settings = read(R"({"title": "Gallery", "widgets": [], "page": {"museum": "Lake Museum",
        "greeting": {"en": "Thank you", "de": "Danke"}, "imprint": "https://lake.example/imprint?a=1&b=2",
        "privacy": "https://lake.example/privacy", "language": "de", "logo": "logo.svg", "accent": "#102030",
        "accentDark": "#A0B0C0", "keepDays": 30}})");
    REQUIRE(settings);
    CHECK(settings->museum == QLatin1String("Lake Museum"));
    CHECK(settings->greetingIn("en") == QLatin1String("Thank you"));
    CHECK(settings->greetingIn("de") == QLatin1String("Danke"));
    // That of the venue's own language, where there is none.
    CHECK(settings->greetingIn("fi") == QLatin1String("Danke"));
    CHECK(settings->imprint == QLatin1String("https://lake.example/imprint?a=1&b=2"));
    CHECK(settings->privacy == QLatin1String("https://lake.example/privacy"));
    CHECK(settings->language == "de");
    CHECK(settings->logo == folder.path(QStringLiteral("logo.svg")));
    CHECK(settings->accent == "#102030");
    CHECK(settings->accentDark == "#A0B0C0");
    CHECK(settings->keepDays == 30);
}

TEST_CASE_FIXTURE(SiteSettingsFixture, "site settings: everything may be missing, and a greeting may be one for all languages")
{
    const auto none = read(R"({"title": "Gallery"})");
    REQUIRE(none);
    CHECK(none->museum.isEmpty());
    CHECK(none->language == "en");
    CHECK(none->keepDays == 0);
    CHECK(none->greetingIn("fi").isEmpty());
    CHECK(read(R"({"page": {"greeting": "Hello"}})")->greetingIn("fi") == QLatin1String("Hello"));
}

TEST_CASE_FIXTURE(SiteSettingsFixture, "site settings: a mistake names the file and the member")
{
    struct Row
    {
        const char* json;
        const char* wrong;
    };
    const Row rows[] = {
        {R"([])", "it is no JSON object (no error occurred at byte 0)"},
        {R"({"page": 5})", "\"page\" has to be an object"},
        {R"({"page": {"museum": ""}})", "page.museum has to be a text"},
        {R"({"page": {"musuem": "x"}})", "page.musuem is not known"},
        {R"({"page": {"greeting": {"sv": "Hej"}}})", "page.greeting has the language \"sv\"; pages have en, de, fi and fr"},
        {R"({"page": {"greeting": 5}})", "page.greeting has to be a text, or an object with a text for each language"},
        {R"({"page": {"greeting": {"de": 5}}})", "page.greeting has to be a text"},
        {R"x({"page": {"imprint": "javascript:alert(1)"}})x",
         "page.imprint has to be an address that begins with http:// or https://"},
        {R"({"page": {"privacy": 5}})", "page.privacy has to be an address that begins with http:// or https://"},
        {R"({"page": {"accent": "red; } body { display: none"}})", "page.accent has to be a colour such as \"#8f3a1c\""},
        {R"({"page": {"accentDark": "#12345g"}})", "page.accentDark has to be a colour such as \"#8f3a1c\""},
        {R"({"page": {"language": "sv"}})", "page.language has to be \"en\", \"de\", \"fi\" or \"fr\""},
        {R"({"page": {"keepDays": 0}})", "page.keepDays has to be a whole number of days from 1 to 36500"},
        {R"({"page": {"keepDays": 1.5}})", "page.keepDays has to be a whole number of days from 1 to 36500"},
        {R"({"page": {"keepDays": 36501}})", "page.keepDays has to be a whole number of days from 1 to 36500"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.json);
        const auto settings = read(row.json);
        REQUIRE_FALSE(settings);
        CHECK(settings.error()
              == folder.path(QStringLiteral("presentation.json")) + QStringLiteral(": ") + QString::fromUtf8(row.wrong));
    }
    CHECK(read(R"({"page": {"logo": "none.svg"}})").error().contains(QLatin1String("page.logo \"")));
    CHECK(read(R"({"page": {"logo": "presentation.json"}})").error().endsWith(QLatin1String("is no file of a picture")));
    CHECK(
        SiteSettings::read(folder.path(QStringLiteral("gone.json"))).error().contains(QLatin1String("gone.json: No such file")));
}

TEST_CASE_FIXTURE(SiteSettingsFixture, "site settings: a pipe and a file that is too large are refused, with what to do")
{
    const QString path = folder.path(QStringLiteral("pipe.json"));
    REQUIRE(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    CHECK(SiteSettings::read(path).error()
          == path + QStringLiteral(": it is a pipe or a device; save what it gives in a file and name that"));
    CHECK(read(QByteArray((4 << 20) + 1, ' ')).error().endsWith(QLatin1String(": it has 4.0 MiB, the limit is 4 MiB")));
}
