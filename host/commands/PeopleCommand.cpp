#include "commands/PeopleCommand.hpp"

#include "commands/SetAside.hpp"
#include "commands/TableCommandLine.hpp"
#include "services/MailAddress.hpp"
#include "services/PeopleRegistry.hpp"

#include <QDateTime>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <memory>

namespace Host
{
namespace
{
constexpr char kDescription[] =
    "Lists and changes the people a presentation's table knows, also while the table runs (it follows within seconds).\n"
    "\n"
    "  list PRESENTATION              all people: code, name, e-mail address, kind\n"
    "  add PRESENTATION CODE          a card; --name, --email, --content-key, --kind and --language\n"
    "                                 are its owner's\n"
    "  import PRESENTATION FILE.csv   people from a file with the columns code,name,email,content-key,kind,language;\n"
    "                                 all of them, or none when a line cannot be read\n"
    "  import PRESENTATION FILE.sqlite  people of a table's own file, from before the presentation had a \"database\";\n"
    "                                 owners that cards have in the database already stay. End the table first\n"
    "  export PRESENTATION FILE.csv   the same file; - writes to standard output. With --for-spreadsheet nothing in it is\n"
    "                                 run as a formula: names like =1+1 get an apostrophe in front\n"
    "  remove PRESENTATION CODE ...   cards, and what they have collected; all of them, or none when one\n"
    "                                 is unknown";

/// Of a server, in which many thousands of people may be imported while tables write. A file that is locked for longer than its
/// own deadline is so for good.
constexpr std::chrono::seconds kServerDeadline{30};

class Request : public TableCommandLine
{
public:
    Request()
        : TableCommandLine(QStringLiteral("people"), QStringLiteral("ACTION PRESENTATION ... [OPTION ...]"),
                           QString::fromUtf8(kDescription), {"list", "add", "import", "export", "remove"})
    {
        addText("--name", "NAME", "add: the owner's name", person.name);
        addText("--email", "ADDRESS", "add: the owner's e-mail address", person.email);
        addText("--content-key", "KEY", "add: the folder that the card opens", person.contentKey);
        addText("--kind", "KIND", "add: personal (the default), unregistered or a number", kind);
        addText("--language", "TAG", "add: the owner's language, such as de", language);
        addFlag("--for-spreadsheet", forSpreadsheet, "export: no text is a formula");
    }

    QString kind;
    QString language;
    bool forSpreadsheet = false;
    Person person; ///< of the options

private:
    void addText(const char* name, const char* valueName, const char* help, QString& text)
    {
        addOption({name, valueName, help, QStringLiteral("a value; see tavola people --help"), [&text](const QString& value) {
                       text = value;
                       return true;
                   }});
    }
};

std::optional<CommandLine::Exit> checked(Request& request)
{
    for (const char* option : {"--name", "--email", "--content-key", "--kind", "--language"})
        if (request.isGiven(option) && request.action() != QLatin1String("add"))
            return CommandLine::Exit{2, QStringLiteral("%1 belongs to add only").arg(QLatin1String(option))};
    if (request.forSpreadsheet && request.action() != QLatin1String("export"))
        return CommandLine::Exit{2, QStringLiteral("--for-spreadsheet belongs to export only")};
    const QString email = request.person.email.trimmed();
    if (!email.isEmpty() && !isMailAddress(email))
        return CommandLine::Exit{
            2, QStringLiteral("\"%1\" is no e-mail address; expected are a name, @ and a domain").arg(request.person.email)};
    if (!PeopleFile::parseKind(request.kind, request.person.kind))
        return CommandLine::Exit{
            2, QStringLiteral("\"%1\" is no kind; personal, unregistered or a number is expected").arg(request.kind)};
    if (!PeopleFile::parseLanguage(request.language, request.person.language))
        return CommandLine::Exit{
            2, QStringLiteral("\"%1\" is no language; a tag such as de or pt-BR is expected").arg(request.language)};
    return std::nullopt;
}

int list(const PeopleRegistry& registry, const Request& request)
{
    if (!request.words().isEmpty())
        return request.fail(QStringLiteral("list wants a presentation and nothing more"), 2);
    const auto people = registry.people();
    if (!people)
        return 1;
    // A line for each, whatever stands in a name.
    const auto word = [](const QString& text, const char* none) {
        return text.simplified().isEmpty() ? QString::fromUtf8(none) : text.simplified();
    };
    for (const Person& person : *people)
        request.print(
            QStringLiteral("%1  %2  %3  %4%5%6")
                .arg(QString::number(person.code), word(person.name, "(no name)"), word(person.email, "(no e-mail)"),
                     PeopleFile::kindName(person.kind),
                     person.contentKey.isEmpty() ? QString() : QStringLiteral("  content ") + person.contentKey.simplified(),
                     person.language.isEmpty() ? QString() : QStringLiteral("  language ") + person.language));
    if (people->empty())
        request.print(QStringLiteral("No people are registered."));
    return request.printed();
}

int add(PeopleRegistry& registry, Request& request)
{
    if (request.words().size() != 1)
        return request.fail(QStringLiteral("add wants the code of one card"), 2);
    const auto codes = request.cardCodes();
    if (!codes)
        return request.end(codes.error());
    request.person.code = codes->front();
    bool isThere = false;
    if (registry.add(request.person, isThere))
        return 0;
    return request.fail(
        isThere ? QStringLiteral("card %1 is in the registry already; remove it first, or import a file to replace it")
                      .arg(request.person.code)
                : QStringLiteral("nothing was added"),
        1);
}

/// Of a file that a table had for itself. Cards of several tables may have their owner in any of the files.
int importRegistry(PeopleRegistry& registry, const QString& file, const Request& request)
{
    QString error;
    if (!registry.isShared())
        return request.fail(QStringLiteral("the presentation has no \"database\" to import a table's file into"), 1);
    if (!QFileInfo::exists(file))
        return request.fail(QStringLiteral("there is no file %1").arg(file), 1);
    auto source = PeopleRegistry::open(file, error);
    if (!source)
        return request.fail(error, 1);
    const auto people = source->people();
    source.reset(); // all of it is in the file itself from here on
    const auto imported = people ? registry.insertMissing(*people) : std::nullopt;
    if (!imported)
        return request.fail(QStringLiteral("nothing was imported"), 1);
    const QString name = setAside(file);
    if (name.isEmpty())
        return request.fail(QStringLiteral("everything was imported; move %1 away").arg(file), 1);
    request.print(QStringLiteral("%1 people imported, %2 cards stay as they are in the database. The file is %3 now.")
                      .arg(QString::number(*imported), QString::number(int(people->size()) - *imported), name));
    return request.printed();
}

int importFrom(PeopleRegistry& registry, const Request& request)
{
    if (request.words().size() != 1)
        return request.fail(QStringLiteral("import wants one CSV file"), 2);
    if (request.words().first().endsWith(QLatin1String(".sqlite")))
        return importRegistry(registry, request.words().first(), request);
    bool complete = false;
    const auto people = PeopleFile::read(request.words().first(), complete);
    if (!complete)
        return request.fail(QStringLiteral("nothing was imported; mend what is named above and import again"), 1);
    if (!registry.insert(people))
        return request.fail(QStringLiteral("nothing was imported"), 1);
    request.print(
        QStringLiteral("%1 people imported; cards that were there already have the file's owners now.").arg(people.size()));
    return request.printed();
}

int exportTo(const PeopleRegistry& registry, const Request& request)
{
    if (request.words().size() != 1)
        return request.fail(QStringLiteral("export wants the name of one CSV file, or - for standard output"), 2);
    const auto people = registry.people();
    if (!people)
        return request.fail(QStringLiteral("nothing was exported"), 1);
    const QByteArray text =
        PeopleFile::format(*people, request.forSpreadsheet ? PeopleFile::Formulas::Disarm : PeopleFile::Formulas::Keep).toUtf8();
    if (request.words().first() == QLatin1String("-")) {
        std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
        return request.printed();
    }
    QSaveFile file(request.words().first());
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return request.fail(QStringLiteral("cannot write %1 (%2)").arg(file.fileName(), file.errorString()), 1);
    return 0;
}

/// Removes what cards without an owner have collected: their next owners do not see it.
bool clearCollections(const std::vector<unsigned long>& codes, const CollectionPlace& place, const Request& request)
{
    CollectionDatabase database(place, {}, request.collectionErrors());
    return !database.exists() || (database.open() && database.clear(codes, QDateTime::currentSecsSinceEpoch()));
}

int remove(PeopleRegistry& registry, const CollectionPlace& collections, const Request& request)
{
    if (request.words().isEmpty())
        return request.fail(QStringLiteral("remove wants the codes of cards"), 2);
    const auto codes = request.cardCodes();
    if (!codes)
        return request.end(codes.error());
    std::optional<unsigned long> unknown;
    if (registry.remove(*codes, unknown)) {
        if (clearCollections(*codes, collections, request))
            return 0;
        return request.fail(QStringLiteral("the cards were removed, but not what they have collected; "
                                           "run tavola collections clear when the above is mended"),
                            1);
    }
    return request.fail(unknown ? QStringLiteral("card %1 is not in the registry; nothing was removed").arg(*unknown)
                                : QStringLiteral("nothing was removed"),
                        1);
}
}

int PeopleCommand::run(const QStringList& arguments)
{
    Request request;
    if (const auto exitCode = request.begin(arguments, [&request] { return checked(request); }))
        return *exitCode;
    const auto presentation = request.loadPresentation();
    if (!presentation)
        return 1;
    if (presentation->peopleFile.isEmpty())
        return request.fail(
            QStringLiteral("%1 knows no people; name a file of them as its \"people\", which may hold its first line only")
                .arg(presentation->folder),
            1);
    const std::chrono::milliseconds deadline = presentation->database.isEmpty() ? PeopleRegistry::kDeadline : kServerDeadline;
    QString error;
    const auto registry = PeopleRegistry::openFor(presentation->database, request.tableFolder(*presentation),
                                                  PeopleRegistry::Copy::None, error, deadline);
    if (!registry)
        return request.fail(error, 1);
    // As a table that opens: a registry that is new begins with the presentation's people.
    if (registry->isNew()) {
        bool complete = false;
        registry->beginWith(PeopleFile::read(presentation->peopleFile, complete));
    }
    if (request.action() == QLatin1String("list"))
        return list(*registry, request);
    if (request.action() == QLatin1String("add"))
        return add(*registry, request);
    if (request.action() == QLatin1String("import"))
        return importFrom(*registry, request);
    if (request.action() == QLatin1String("export"))
        return exportTo(*registry, request);
    const auto collections = request.collectionPlace(*presentation);
    return collections ? remove(*registry, *collections, request) : request.fail(collections.error(), 1);
}
}
