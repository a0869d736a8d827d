#include "commands/TableCommandLine.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
struct Chairs : TableCommandLine
{
    Chairs()
        : TableCommandLine(QStringLiteral("chairs"), QStringLiteral("count PRESENTATION"), QStringLiteral("Counts."), {"count"})
    {
    }
};
}

TEST_CASE("table command line: the data of the table are in the folder of --data, with what its cards have collected")
{
    Folder folder;
    folder.write(QStringLiteral("show/presentation.json"), "{}");
    const QString show = folder.path(QStringLiteral("show"));
    Chairs chairs;
    REQUIRE_FALSE(chairs.parse({"count", show, "--data", folder.path(QStringLiteral("data"))}));
    const auto presentation = chairs.loadPresentation();
    REQUIRE(presentation);
    CHECK(chairs.tableFolder(*presentation) == folder.path(QStringLiteral("data")));
    const auto place = chairs.collectionPlace(*presentation);
    REQUIRE(place);
    CHECK(place->address.file == folder.path(QStringLiteral("data/collections/collections.sqlite")));
}

TEST_CASE("table command line: a presentation that cannot be read is none, and an empty --data is no folder")
{
    const Folder folder;
    Chairs chairs;
    REQUIRE_FALSE(chairs.parse({"count", folder.path()}));
    CHECK_FALSE(chairs.loadPresentation());
    Chairs without;
    const auto exit = without.parse({"count", folder.path(), "--data", ""});
    REQUIRE(exit);
    CHECK(exit->code == 2);
    CHECK(exit->text == "--data wants a folder");
}

TEST_CASE("table command line: words are the codes of cards, and the first that is none is named")
{
    Chairs chairs;
    REQUIRE_FALSE(chairs.parse({"count", "show", "1001", "18446744073709551615"}));
    const auto codes = chairs.cardCodes();
    REQUIRE(codes);
    CHECK(*codes == std::vector<unsigned long>{1001, 18446744073709551615u});
    for (const char* word : {"ten", "-1", "18446744073709551616", "0x10"}) {
        CAPTURE(word);
        Chairs wrong;
        REQUIRE_FALSE(wrong.parse({"count", "show", "1", word, "x"}));
        const auto refused = wrong.cardCodes();
        REQUIRE_FALSE(refused);
        CHECK(refused.error().code == 2);
        CHECK(refused.error().text
              == QStringLiteral("\"%1\" is no card code, a whole number is expected").arg(QLatin1String(word)));
    }
}

TEST_CASE("table command line: its help ends with what the exit codes mean")
{
    CHECK(Chairs().help().contains(QLatin1String("--data DIR")));
    CHECK(Chairs().help().trimmed().endsWith(
        QLatin1String("Exit code: 0, 1 when it could not be done, 2 for a command line that makes no sense.")));
}
