#include "commands/CommandLine.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
/// `tavola lamps`, which switches lamps on and off.
struct Lamps : CommandLine
{
    Lamps()
        : CommandLine(QStringLiteral("lamps"),
                      {QStringLiteral("on|off|swap PRESENTATION"), QStringLiteral("Switches lamps."), QStringLiteral("The end.")},
                      {"on", "off", "swap"})
    {
        addFlag("--slowly", isSlow, "fade");
        addOption({"--colour", "NAME", "the colour of the light", QStringLiteral("a colour"), [this](const QString& value) {
                       colour = value;
                       return !value.isEmpty();
                   }});
        addOption({"--label", "TEXT", nullptr, QStringLiteral("a text"), [this](const QString& value) {
                       label = value;
                       return true;
                   }});
    }
    /// The reason of a refusal; empty when all is well.
    QString read(const QStringList& arguments)
    {
        const auto exit = parse(arguments);
        CHECK((!exit || exit->code == 2));
        return exit ? exit->text : QString();
    }

    bool isSlow = false;
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
    CHECK_FALSE(lamps.isGiven("--label"));
    CHECK(lamps.label == "none");
    CHECK_FALSE(lamps.isSlow);
}

TEST_CASE("command line: without actions all words are words")
{
    CommandLine line(QStringLiteral("show"), {});
    CHECK_FALSE(line.parse({"on", "show", "1"}));
    CHECK(line.words() == QStringList{"on", "show", "1"});
    CHECK(line.action().isEmpty());
}

TEST_CASE("command line: options stand anywhere, and the last one counts")
{
    Lamps lamps;
    CHECK(lamps.read({"--colour", "red", "off", "--label", "", "show", "--slowly", "3", "--colour=--blue"}).isEmpty());
    CHECK(lamps.action() == "off");
    CHECK(lamps.presentation() == "show");
    CHECK(lamps.words() == QStringList{"3"});
    CHECK(lamps.colour == "--blue");
    CHECK(lamps.label.isEmpty());
    CHECK(lamps.isSlow);
    CHECK(lamps.isGiven("--label"));
}

TEST_CASE("command line: a value keeps its letters, blanks and brackets")
{
    for (const char* value : {"ä 花", "[a,b]", "{}", "a=b", "\"quoted\"", "'q'", "-1", "-", "%1", "#5", "a\nb"}) {
        CAPTURE(value);
        Lamps lamps;
        CHECK(lamps.read({"on", "show", "--label", QString::fromUtf8(value), QString::fromUtf8(value)}).isEmpty());
        CHECK(lamps.label == QString::fromUtf8(value));
        CHECK(lamps.words() == QStringList{QString::fromUtf8(value)});
    }
}

TEST_CASE("command line: a lone dash and a negative number are words")
{
    Lamps lamps;
    CHECK(lamps.read({"on", "show", "-", "-1"}).isEmpty());
    CHECK(lamps.words() == QStringList{"-", "-1"});
}

TEST_CASE("command line: a mistake is answered with what to write instead")
{
    const struct
    {
        QStringList arguments;
        QString answer;
    } rows[] = {
        {{}, "on, off or swap? See tavola lamps --help"},
        {{"dim", "show"}, "on, off or swap? See tavola lamps --help"},
        {{"off"}, "which presentation? Give its folder, for example: tavola lamps on presentations/gallery"},
        {{"on", "show", "--colour"}, "--colour wants a colour"},
        {{"on", "show", "--colour", ""}, "--colour wants a colour"},
        {{"on", "show", "--colour", "--label", "x"}, "--colour wants a colour"},
        {{"on", "show", "--label"}, "--label wants a text"},
        {{"on", "show", "--size", "3"}, "unknown option --size; see tavola lamps --help"},
        {{"on", "show", "-s"}, "unknown option -s; see tavola lamps --help"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments.join(' ').toStdString());
        CHECK(Lamps().read(row.arguments).toStdString() == row.answer.toStdString());
    }
    const QString flag = Lamps().read({"on", "show", "--slowly=perhaps"});
    CHECK(flag.contains("--slowly"));
    CHECK(flag.endsWith("; see tavola lamps --help"));
}

TEST_CASE("command line: the help has the usage, what the command does, its listed options and the footer, in this order")
{
    for (const QStringList& arguments : {QStringList{"--help"}, {"-h"}, {"on", "show", "--help"}, {"help"}}) {
        CAPTURE(arguments.join(' ').toStdString());
        const auto exit = Lamps().parse(arguments);
        REQUIRE(exit);
        CHECK(exit->code == 0);
        CHECK(exit->text == Lamps().help());
    }
    int at = 0;
    const QString help = Lamps().help();
    for (const char* part : {"usage: tavola lamps on|off|swap PRESENTATION\n", "Switches lamps.\n", "-h,--help", "--slowly",
                             "fade\n", "--colour NAME", "the colour of the light\n", "The end.\n"}) {
        CAPTURE(part);
        const int found = help.indexOf(QLatin1String(part), at);
        CHECK(found >= at);
        at = found;
    }
    CHECK_FALSE(help.contains("--label"));
}
