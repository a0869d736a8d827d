#include "commands/CommandLine.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
/// `tavola lamps`, which switches lamps on and off.
struct Lamps : CommandLine
{
    Lamps()
        : CommandLine(QStringLiteral("lamps"), {"on", "off", "swap"},
                      {{QStringLiteral("--colour"), &colour, QStringLiteral("a colour")},
                       {QStringLiteral("--label"), &label, QStringLiteral("a text"), true}})
    {
    }
    /// The reason why not; empty when all is well.
    QString read(const QStringList& arguments)
    {
        QString error;
        const bool isGood = parse(arguments, error);
        CHECK(isGood == error.isEmpty());
        return error;
    }

    QString colour;
    QString label = QStringLiteral("none");
};
}

TEST_CASE("command line: the action comes first, then the presentation, then the words")
{
    Lamps lamps;
    CHECK(lamps.read({"on", "show", "1", "2"}).isEmpty());
    CHECK(lamps.action() == "on");
    CHECK(lamps.presentation() == "show");
    CHECK(lamps.words() == QStringList{"1", "2"});
    CHECK(lamps.givenOptions().isEmpty());
    CHECK(lamps.label == "none");
}

TEST_CASE("command line: options stand anywhere, and the last one counts")
{
    Lamps lamps;
    CHECK(lamps.read({"--colour", "red", "off", "--label", "", "show", "3", "--colour", "--label"}).isEmpty());
    CHECK(lamps.action() == "off");
    CHECK(lamps.presentation() == "show");
    CHECK(lamps.words() == QStringList{"3"});
    CHECK(lamps.colour == "--label");
    CHECK(lamps.label.isEmpty());
    CHECK(lamps.givenOptions() == QStringList{"--colour", "--label", "--colour"});
}

TEST_CASE("command line: a lone dash and a negative number are words")
{
    Lamps lamps;
    CHECK(lamps.read({"on", "show", "-", "-1"}).isEmpty());
    CHECK(lamps.words() == QStringList{"-", "-1"});
}

TEST_CASE("command line: what makes no sense is told with what to write instead")
{
    const struct
    {
        QStringList arguments;
        QString told;
    } rows[] = {
        {{}, "on, off or swap? See tavola lamps --help"},
        {{"dim", "show"}, "on, off or swap? See tavola lamps --help"},
        {{"off"}, "which presentation? Give its folder, for example: tavola lamps on presentations/gallery"},
        {{"on", "show", "--colour"}, "--colour wants a colour"},
        {{"on", "show", "--colour", ""}, "--colour wants a colour"},
        {{"on", "show", "--label"}, "--label wants a text"},
        {{"on", "show", "--size", "3"}, "unknown option --size; see tavola lamps --help"},
        {{"on", "show", "-s"}, "unknown option -s; see tavola lamps --help"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments.join(' ').toStdString());
        CHECK(Lamps().read(row.arguments).toStdString() == row.told.toStdString());
    }
}
