// The real program's `tavola people`, as a desk uses it.

#include "Folder.hpp"
#include "Patience.hpp"
#include "services/MarkerService.hpp"
#include "services/PeopleRegistry.hpp"
#include "services/PeopleWatch.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Inbox.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QProcess>

#include <vector>

using namespace Host;

namespace
{
struct PeopleAnswer
{
    int code = -1;
    QString out;
    QString err;
};

/// A presentation with people, and the data of its table.
class PeopleDesk
{
public:
    PeopleDesk()
    {
        m_folder.write(QStringLiteral("show/presentation.json"), R"({"people": "people.csv"})");
        m_folder.write(QStringLiteral("show/people.csv"),
                       "code,name,email,content-key,kind\n1001,Ann,ann@museum.example,key,\n1002,,,,unregistered\n");
    }

    const Folder& folder() const { return m_folder; }
    /// `tavola people ACTION show MORE --data DATA`.
    PeopleAnswer ask(const QString& action, const QStringList& more = {}, const QString& data = QStringLiteral("data")) const
    {
        return run(QStringList{action, m_folder.path(QStringLiteral("show"))} + more
                   + QStringList{QStringLiteral("--data"), m_folder.path(data)});
    }
    static PeopleAnswer run(const QStringList& arguments, const QString& standardOutput = QString())
    {
        QProcess program;
        if (!standardOutput.isEmpty())
            program.setStandardOutputFile(standardOutput);
        program.start(QStringLiteral(TAVOLA_PROGRAM), QStringList{QStringLiteral("people")} + arguments);
        REQUIRE(program.waitForFinished(TestSupport::kPatienceMs));
        REQUIRE(program.exitStatus() == QProcess::NormalExit);
        return {program.exitCode(), QString::fromUtf8(program.readAllStandardOutput()),
                QString::fromUtf8(program.readAllStandardError())};
    }
    /// The registry's file in the data folder.
    QString registryFile(const QString& data = QStringLiteral("data")) const
    {
        const QString name = QStringLiteral("people.sqlite");
        const QStringList folders = QDir(m_folder.path(data)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        return m_folder.path(data) + QLatin1Char('/') + (folders.isEmpty() ? QString() : folders.front() + QLatin1Char('/'))
            + name;
    }
    std::unique_ptr<PeopleRegistry> registry(const QString& data = QStringLiteral("data")) const
    {
        REQUIRE(QFile::exists(registryFile(data)));
        QString error;
        auto result = PeopleRegistry::open(registryFile(data), error);
        REQUIRE_MESSAGE(result, error.toStdString());
        return result;
    }
    std::vector<Person> people() const
    {
        const auto read = registry()->people();
        REQUIRE(read);
        return *read;
    }

private:
    Folder m_folder;
};

const Person kAnn{1001, QStringLiteral("Ann"), QStringLiteral("ann@museum.example"), QStringLiteral("key"), 0};
const Person kUnregistered{1002, QString(), QString(), QString(), 3};
using People = std::vector<Person>;

QByteArray contents(const QString& path)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}
}

TEST_CASE("tavola people: a table that never ran begins with the presentation's people")
{
    const PeopleDesk desk;
    const PeopleAnswer answer = desk.ask(QStringLiteral("list"));
    CHECK(answer.code == 0);
    CHECK(answer.out == "1001  Ann  ann@museum.example  personal  content key\n1002  (no name)  (no e-mail)  unregistered\n");
    CHECK(answer.err.isEmpty());
    CHECK(desk.people() == People{kAnn, kUnregistered});
}

TEST_CASE("tavola people: a card is added with what is said of its owner")
{
    const PeopleDesk desk;
    CHECK(desk.ask(QStringLiteral("add"),
                   {"2001", "--name", QString::fromUtf8("Jürgen, \"Åke\" 花子"), "--email", "j@museum.example", "--content-key",
                    "garden"})
              .code
          == 0);
    CHECK(desk.ask(QStringLiteral("add"), {"18446744073709551615", "--kind", "unregistered"}).code == 0);
    CHECK(desk.ask(QStringLiteral("add"), {"5", "--kind", "7"}).code == 0);
    CHECK(desk.people()
          == People{
              {5, QString(), QString(), QString(), 7},
              kAnn,
              kUnregistered,
              {2001, QString::fromUtf8("Jürgen, \"Åke\" 花子"), QStringLiteral("j@museum.example"), QStringLiteral("garden"), 0},
              {18446744073709551615ul, QString(), QString(), QString(), 3}});
}

TEST_CASE("tavola people: a card that is there is not added again")
{
    const PeopleDesk desk;
    const PeopleAnswer answer = desk.ask(QStringLiteral("add"), {"1001", "--name", "Bo"});
    CHECK(answer.code == 1);
    CHECK(answer.err == "tavola people: card 1001 is in the registry already; remove it first, or import a file to replace it\n");
    CHECK(desk.people() == People{kAnn, kUnregistered});
}

TEST_CASE("tavola people: the list has one line for each card, whatever its owner is called")
{
    const PeopleDesk desk;
    REQUIRE(desk.ask(QStringLiteral("remove"), {"1001", "1002"}).code == 0);
    REQUIRE(desk.ask(QStringLiteral("add"), {"7", "--name", " two\nlines ", "--content-key", "%1 100%2"}).code == 0);
    CHECK(desk.ask(QStringLiteral("list")).out == "7  two lines  (no e-mail)  personal  content %1 100%2\n");
    CHECK(desk.people() == People{{7, QStringLiteral(" two\nlines "), QString(), QStringLiteral("%1 100%2"), 0}});
}

TEST_CASE("tavola people: a file is imported, and its owners take the place of others")
{
    const PeopleDesk desk;
    const QString file =
        desk.folder().write(QStringLiteral("new.csv"), "code,name,kind\r\n1001,\"Bo, the second\",\r\n2001,Cy,\r\n");
    const PeopleAnswer answer = desk.ask(QStringLiteral("import"), {file});
    CHECK(answer.code == 0);
    CHECK(answer.out == "2 people imported; cards that were there already have the file's owners now.\n");
    CHECK(answer.err.isEmpty());
    CHECK(desk.people()
          == People{{1001, QStringLiteral("Bo, the second"), QString(), QString(), 0},
                    kUnregistered,
                    {2001, QStringLiteral("Cy"), QString(), QString(), 0}});
}

TEST_CASE("tavola people: a mistake in a file is reported with its line, and none of the file is imported")
{
    struct Row
    {
        const char* lines;
        const char* told;
    };
    const Row rows[] = {
        {"code,name\n2001,Cy\nx,Di\n2002,Ed\n", ":3: 'x' is no card code, a whole number is expected; the line is skipped\n"},
        {"code,name\n2001,Cy\n2001,Di\n", ":3: code 2001 stands in line 2 already; the line is skipped\n"},
        {"code,name\n2001,\"Cy\nand\"\n2002,Smith, Ann\n",
         ":4: 3 fields for 2 columns (put quotes around a field with a comma); the line is skipped\n"},
        {"code,kind\n2001,friend\n",
         ":2: 'friend' is no kind; personal, unregistered or a number is expected; the line is skipped\n"},
        {"code,name\n2001,\"Cy\n2002,Di\n", ":2: a quote is opened and not closed within 4096 characters; the line is skipped\n"},
        {"code,name\n2001,J\xfcrgen\n", ":2: the name is no UTF-8 text (save the file as UTF-8); it is left empty\n"},
        {"code,name,email\n2001,Cy,cy@museum.example\n2002,Uma,umamuseum.example\n",
         ":3: 'u…' is no e-mail address (expected are a name, @ and a domain); it is left empty\n"},
        {"code,e-mail\n2001,a@b\n",
         ":1: unknown column 'e-mail', known are code, name, email, content-key, kind, language; the column is skipped\n"},
        {"2001,Cy\n",
         ":1: the first line must name the columns, \"code\" among them (code,name,email,content-key,kind,language); no people "
         "were "
         "read\n"},
    };
    const PeopleDesk desk;
    for (const Row& row : rows) {
        const QString file = desk.folder().write(QStringLiteral("new.csv"), row.lines);
        const PeopleAnswer answer = desk.ask(QStringLiteral("import"), {file});
        CAPTURE(row.told);
        CAPTURE(answer.err.toStdString());
        CHECK(answer.code == 1);
        CHECK(answer.out.isEmpty());
        CHECK(answer.err.contains(file + QString::fromUtf8(row.told)));
        CHECK(answer.err.endsWith(
            QStringLiteral("tavola people: nothing was imported; mend what is named above and import again\n")));
        CHECK(desk.people() == People{kAnn, kUnregistered});
    }
    const PeopleAnswer missing = desk.ask(QStringLiteral("import"), {QStringLiteral("/none/new.csv")});
    CHECK(missing.code == 1);
    CHECK(missing.err.contains(QStringLiteral("/none/new.csv (No such file or directory)")));
}

TEST_CASE("tavola people: what is exported can be imported elsewhere and is the same there")
{
    const PeopleDesk desk;
    REQUIRE(desk.ask(QStringLiteral("list")).code == 0);
    const People more{kAnn,
                      {1002, QStringLiteral("Smith, \"Bo\""), QStringLiteral(" b@c "), QStringLiteral("two\nlines"), 3},
                      {2001, QString::fromUtf8("花子 Åström"), QString(), QStringLiteral("%1"), 7, QStringLiteral("pt-br")}};
    REQUIRE(desk.registry()->insert(more));
    const QString file = desk.folder().path(QStringLiteral("out.csv"));
    const PeopleAnswer answer = desk.ask(QStringLiteral("export"), {file});
    CHECK(answer.code == 0);
    CHECK(answer.out.isEmpty());
    CHECK(answer.err.isEmpty());
    CHECK(contents(file).startsWith(
        "code,name,email,content-key,kind,language\n1001,Ann,ann@museum.example,key,personal,\n1002,\"Smith, \"\"Bo\"\"\","));

    CHECK(desk.ask(QStringLiteral("import"), {file}, QStringLiteral("elsewhere")).code == 0);
    CHECK(desk.registry(QStringLiteral("elsewhere"))->people() == more);
    CHECK(desk.ask(QStringLiteral("export"), {QStringLiteral("-")}, QStringLiteral("elsewhere")).out.toUtf8() == contents(file));
}

TEST_CASE("tavola people: a card is added with its language, and the list shows it")
{
    const PeopleDesk desk;
    CHECK(desk.ask(QStringLiteral("add"), {"2001", "--language", " PT-br "}).code == 0);
    CHECK(desk.registry()->person(2001)->language == "pt-br");
    CHECK(desk.ask(QStringLiteral("list"))
              .out.endsWith(QStringLiteral("2001  (no name)  (no e-mail)  personal  language pt-br\n")));
}

TEST_CASE("tavola people: an export for a spreadsheet has no formulas, and any other has the names as they are")
{
    const PeopleDesk desk;
    REQUIRE(desk.ask(QStringLiteral("list")).code == 0);
    REQUIRE(desk.registry()->insert({{1001, QStringLiteral("=HYPERLINK(\"http://x\",\"y\")"), {}, QStringLiteral("key"), 0}}));
    CHECK(desk.ask(QStringLiteral("export"), {"-", "--for-spreadsheet"}).out
          == "code,name,email,content-key,kind,language\n1001,\"'=HYPERLINK(\"\"http://"
             "x\"\",\"\"y\"\")\",,key,personal,\n1002,,,,unregistered,\n");
    CHECK(desk.ask(QStringLiteral("export"), {"-"}).out.contains(QStringLiteral(",\"=HYPERLINK(")));
}

TEST_CASE("tavola people: an export that cannot be written is reported")
{
    const PeopleDesk desk;
    const PeopleAnswer answer = desk.ask(QStringLiteral("export"), {QStringLiteral("/none/out.csv")});
    CHECK(answer.code == 1);
    CHECK(answer.err.startsWith(QStringLiteral("tavola people: cannot write /none/out.csv (")));
    for (const QStringList& arguments :
         {QStringList{"export", desk.folder().path("show"), "-"}, QStringList{"list", desk.folder().path("show")}}) {
        const PeopleAnswer full =
            PeopleDesk::run(arguments + QStringList{"--data", desk.folder().path("data")}, QStringLiteral("/dev/full"));
        CHECK(full.code == 1);
        CHECK(full.err == "tavola people: cannot write to standard output\n");
    }
}

TEST_CASE("tavola people: cards are removed together, or none of them")
{
    const PeopleDesk desk;
    const PeopleAnswer answer = desk.ask(QStringLiteral("remove"), {"1001", "4711"});
    CHECK(answer.code == 1);
    CHECK(answer.err == "tavola people: card 4711 is not in the registry; nothing was removed\n");
    CHECK(desk.people() == People{kAnn, kUnregistered});
    CHECK(desk.ask(QStringLiteral("remove"), {"1001", "1001"}).code == 0);
    CHECK(desk.people() == People{kUnregistered});
}

TEST_CASE("tavola people: when all people are removed the presentation's people do not come back")
{
    const PeopleDesk desk;
    CHECK(desk.ask(QStringLiteral("remove"), {"1001", "1002"}).code == 0);
    CHECK(desk.ask(QStringLiteral("list")).out == "No people are registered.\n");
    CHECK(desk.people().empty());
    CHECK(desk.ask(QStringLiteral("export"), {QStringLiteral("-")}).out == "code,name,email,content-key,kind,language\n");
}

TEST_CASE("tavola people: a command line that makes no sense is exit code 2, says why and changes nothing")
{
    const PeopleDesk desk;
    const QString show = desk.folder().path(QStringLiteral("show"));
    struct Row
    {
        QStringList arguments;
        QString told;
    };
    const Row rows[] = {
        {{"lits", show}, "list, add, import, export or remove? See tavola people --help"},
        {{"list"}, "which presentation? Give its folder, for example: tavola people list presentations/gallery"},
        {{"list", show, "1001"}, "list wants a presentation and nothing more"},
        {{"list", show, "--fast"}, "unknown option --fast; see tavola people --help"},
        {{"list", show, "--data"}, "--data wants a folder"},
        {{"list", show, "--name", "Ann"}, "--name belongs to add only"},
        {{"remove", show, "1001", "--kind", "personal"}, "--kind belongs to add only"},
        {{"add", show}, "add wants the code of one card"},
        {{"add", show, "1", "2"}, "add wants the code of one card"},
        {{"add", show, "-1"}, "\"-1\" is no card code, a whole number is expected"},
        {{"add", show, "18446744073709551616"}, "\"18446744073709551616\" is no card code, a whole number is expected"},
        {{"add", show, "Ann"}, "\"Ann\" is no card code, a whole number is expected"},
        {{"remove", show, "1001", "--language", "de"}, "--language belongs to add only"},
        {{"add", show, "7", "--language", "german"}, "\"german\" is no language; a tag such as de or pt-BR is expected"},
        {{"add", show, "7", "--kind", "friend"}, "\"friend\" is no kind; personal, unregistered or a number is expected"},
        {{"add", show, "7", "--email", "umamuseum.example"},
         "\"umamuseum.example\" is no e-mail address; expected are a name, @ and a domain"},
        {{"add", show, "7", "--email", "uma@museum..example"},
         "\"u…@museum..example\" is no e-mail address; expected are a name, @ and a domain"},
        {{"list", show, "--for-spreadsheet"}, "--for-spreadsheet belongs to export only"},
        {{"import", show}, "import wants one CSV file"},
        {{"import", show, "a.csv", "b.csv"}, "import wants one CSV file"},
        {{"export", show}, "export wants the name of one CSV file, or - for standard output"},
        {{"remove", show}, "remove wants the codes of cards"},
        {{"remove", show, "1001", "x"}, "\"x\" is no card code, a whole number is expected"},
    };
    REQUIRE(desk.ask(QStringLiteral("list")).code == 0);
    for (const Row& row : rows) {
        CAPTURE(row.told.toStdString());
        QStringList arguments = row.arguments;
        arguments.insert(1, QStringLiteral("--data"));
        arguments.insert(2, desk.folder().path(QStringLiteral("data")));
        const PeopleAnswer answer = PeopleDesk::run(row.arguments.last() == QLatin1String("--data") ? row.arguments : arguments);
        CHECK(answer.code == 2);
        CHECK(answer.err == QStringLiteral("tavola people: ") + row.told + QLatin1Char('\n'));
        CHECK(answer.out.isEmpty());
    }
    CHECK(desk.people() == People{kAnn, kUnregistered});
    const PeopleAnswer nothing = PeopleDesk::run({});
    CHECK(nothing.code == 2);
    CHECK(nothing.err.startsWith(QStringLiteral("usage: tavola people ACTION PRESENTATION ")));
    CHECK(PeopleDesk::run({QStringLiteral("--help")}).out == nothing.err);
}

TEST_CASE("tavola people: what keeps the registry from opening is exit code 1 and says why")
{
    const PeopleDesk desk;
    const PeopleAnswer none = PeopleDesk::run({"list", desk.folder().path("none")});
    CHECK(none.code == 1);
    CHECK(none.err.startsWith(QStringLiteral("tavola people: cannot read ") + desk.folder().path("none") + QStringLiteral(" (")));

    desk.folder().write(QStringLiteral("empty/presentation.json"), "{}");
    const PeopleAnswer empty = PeopleDesk::run({"list", desk.folder().path("empty"), "--data", desk.folder().path("other")});
    CHECK(empty.code == 1);
    CHECK(empty.err
          == QStringLiteral(
                 "tavola people: %1 knows no people; name a file of them as its \"people\", which may hold its first line only\n")
                 .arg(desk.folder().path("empty")));
    CHECK_FALSE(QFile::exists(desk.folder().path("other")));

    REQUIRE(desk.ask(QStringLiteral("list")).code == 0);
    const QByteArray letter = QByteArray("This is a letter, not a database. ").repeated(300);
    QFile file(desk.registryFile());
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write(letter) == letter.size());
    file.close();
    for (const char* action : {"list", "export"}) {
        const PeopleAnswer broken = desk.ask(QLatin1String(action), action[0] == 'e' ? QStringList{"-"} : QStringList());
        CHECK(broken.code == 1);
        CHECK(broken.out.isEmpty());
        CHECK(broken.err.startsWith(QStringLiteral("tavola people: ") + desk.registryFile()
                                    + QStringLiteral(" cannot be used as the registry of people (")));
    }
    CHECK(contents(desk.registryFile()) == letter);
}

TEST_CASE("tavola people: a table that is open follows what the desk does")
{
    const PeopleDesk desk;
    REQUIRE(desk.ask(QStringLiteral("list")).code == 0);
    const auto cache = std::make_shared<Tavola::TesselServiceCache>();
    PeopleWatch watch(desk.registry(), std::make_shared<MarkerService>(desk.registry(), cache));
    const auto refresh = [&] {
        const bool reads = watch.check();
        watch.waitUntilIdle();
        (void)Bedrock::Inbox::instance().deliver();
        Bedrock::AfterUpdateQueue::instance().drain();
        return reads;
    };
    REQUIRE(desk.ask(QStringLiteral("add"), {"2001", "--name", "Cy"}).code == 0);
    CHECK(refresh());
    REQUIRE(cache->isCached(2001));
    CHECK(cache->markerProperties(2001).personalProperties()->name == "Cy");
    CHECK(cache->isCached(1001));
    REQUIRE(desk.ask(QStringLiteral("remove"), {"1001"}).code == 0);
    CHECK(refresh());
    CHECK_FALSE(cache->isCached(1001));
    CHECK(cache->isCached(2001));
    REQUIRE(desk.ask(QStringLiteral("import"), {desk.folder().write(QStringLiteral("new.csv"), "code,name\n2001,Di\n")}).code
            == 0);
    CHECK(refresh());
    CHECK(cache->markerProperties(2001).personalProperties()->name == "Di");
    Bedrock::Inbox::instance().clear(); // what the watch has read since
}

TEST_CASE("tavola people: the file of a table goes into the database of all tables, whose cards keep the owners that they have")
{
    const PeopleDesk desk;
    const QString file = desk.folder().path(QStringLiteral("data/people.sqlite"));
    {
        QString error;
        QDir().mkpath(desk.folder().path(QStringLiteral("data")));
        const auto own = PeopleRegistry::open(file, error);
        REQUIRE_MESSAGE(own, error.toStdString());
        CHECK(own->insert({{1001, "Anna", "anna@museum.example", {}, 0, {}},
                           {1002, "Bo", "bo@museum.example", {}, 0, {}},
                           {1009, {}, {}, "key", 0, {}}}));
    }
    CHECK(desk.ask("import", {file}).code == 1);
    CHECK(desk.ask("import", {file}).err.contains("has no \"database\" to import a table's file into"));
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    desk.folder().write(QStringLiteral("show/presentation.json"),
                        QStringLiteral(R"({"people": "people.csv", "database": "%1"})").arg(database.address().shown()).toUtf8());
    CHECK(desk.ask("import", {desk.folder().path(QStringLiteral("data/none.sqlite"))}).err.contains("there is no file"));
    const PeopleAnswer answer = desk.ask("import", {file});
    CHECK_MESSAGE(answer.code == 0, answer.err.toStdString());
    CHECK(answer.out.startsWith("2 people imported, 1 cards stay as they are in the database. The file is "));
    CHECK_FALSE(QFile::exists(file));
    CHECK(QFile::exists(desk.folder().path(QStringLiteral("data/people-imported.sqlite"))));
    const QString list = desk.ask("list").out;
    CHECK(list.contains("1001  Ann  ann@museum.example"));
    CHECK(list.contains("1002  Bo  bo@museum.example"));
    CHECK(list.contains("1009"));
}
