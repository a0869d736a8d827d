#include "commands/CollectionsCommand.hpp"

#include "commands/SetAside.hpp"
#include "commands/TableCommandLine.hpp"
#include "presentation/DataFolder.hpp"
#include "services/collections/CollectionImport.hpp"

#include <QDateTime>
#include <QFileInfo>

#include <optional>
#include <utility>
#include <vector>

namespace Host
{
namespace
{
class Request : public TableCommandLine
{
public:
    Request()
        : TableCommandLine(
            QStringLiteral("collections"), QStringLiteral("list|clear|import PRESENTATION [CODE ...] [OPTION ...]"),
            QStringLiteral(
                "Shows and removes what a presentation's table keeps of what cards have collected (its \"collections\"),\n"
                "also while the table runs. A space that is open goes on showing what it shows.\n"
                "\n"
                "  list PRESENTATION              each card with the number of its things, and when the first and the\n"
                "                                 last of them were stored\n"
                "  list PRESENTATION CODE ...     the names of the things of these cards\n"
                "  clear PRESENTATION CODE ...    removes what these cards have collected\n"
                "  clear PRESENTATION --all       removes everything\n"
                "  import PRESENTATION            copies what the table kept in a file, before the presentation had a\n"
                "                                 \"database\", into that; end the table first"),
            {"list", "clear", "import"})
    {
        addFlag("--all", all, "clear: of all cards");
    }

    bool all = false;
    std::vector<unsigned long> codes;
};

std::optional<CommandLine::Exit> checked(Request& request)
{
    auto codes = request.cardCodes();
    if (!codes)
        return codes.error();
    request.codes = std::move(*codes);
    const bool isClear = request.action() == QLatin1String("clear");
    if (request.all && !isClear)
        return CommandLine::Exit{2, QStringLiteral("--all belongs to clear only")};
    if (request.action() == QLatin1String("import") && !request.codes.empty())
        return CommandLine::Exit{2, QStringLiteral("import wants a presentation and nothing more")};
    if (isClear && request.all != request.codes.empty())
        return CommandLine::Exit{2, QStringLiteral("clear wants either the codes of cards or --all")};
    return std::nullopt;
}

QString time(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd hh:mm"));
}

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

int listCards(CollectionDatabase& database, const Request& request)
{
    const auto cards = database.cards();
    if (!cards)
        return 1;
    for (const CollectionDatabase::Card& card : *cards)
        CommandLine::print(QStringLiteral("%1  %2 kept  first %3  last %4")
                               .arg(QString::number(card.code), QString::number(card.items), time(card.first), time(card.last)));
    if (cards->empty())
        CommandLine::print(QStringLiteral("Nothing is kept."));
    return request.printed();
}

int listItems(CollectionDatabase& database, const Request& request)
{
    for (const unsigned long code : request.codes) {
        const auto items = database.items(code, 0);
        if (!items)
            return 1;
        for (const CollectedItem& item : *items)
            CommandLine::print(QStringLiteral("%1  %2").arg(QString::number(code), item.displayName.simplified()));
        if (items->empty())
            CommandLine::print(QStringLiteral("%1  nothing is kept").arg(code));
    }
    return request.printed();
}

int importFile(const CollectionPlace& place, const QString& file, const Request& request)
{
    if (!place.isShared())
        return request.fail(QStringLiteral("the presentation has no \"database\" to import into"), 1);
    if (QFileInfo(file).size() == 0) {
        CommandLine::print(QStringLiteral("There is nothing to import: %1 is not there.").arg(file));
        return request.printed();
    }
    const auto imported = CollectionImport::run(file, place);
    if (!imported)
        return request.fail(imported.error() + QStringLiteral("; when that is mended, import again"), 1);
    const QString name = setAside(file);
    if (name.isEmpty())
        return request.fail(QStringLiteral("everything was imported; move %1 away").arg(file), 1);
    CommandLine::print(QStringLiteral("%1 imported, %2 were there or had been removed. The file is %3 now.")
                           .arg(QString::number(imported->added), QString::number(imported->known), name));
    return request.printed();
}

int clear(CollectionDatabase& database, const Request& request)
{
    const auto count = request.all ? database.clearAll(now()) : database.clear(request.codes, now());
    if (!count)
        return request.fail(QStringLiteral("nothing was removed"), 1);
    CommandLine::print(QStringLiteral("%1 removed.").arg(*count));
    return request.printed();
}
}

int CollectionsCommand::run(const QStringList& arguments)
{
    Request request;
    if (const auto exitCode = request.begin(arguments, [&request] { return checked(request); }))
        return *exitCode;
    const auto presentation = request.loadPresentation();
    if (!presentation)
        return 1;
    const auto place = request.collectionPlace(*presentation);
    if (!place)
        return request.fail(place.error(), 1);
    if (request.action() == QLatin1String("import"))
        return importFile(*place, collectionsFile(request.tableFolder(*presentation)), request);
    CollectionDatabase database(*place, {}, request.collectionErrors());
    if (!database.exists()) {
        CommandLine::print(QStringLiteral("Nothing is kept."));
        return request.printed();
    }
    if (!database.open())
        return 1;
    if (request.action() == QLatin1String("clear"))
        return clear(database, request);
    return request.codes.empty() ? listCards(database, request) : listItems(database, request);
}
}
