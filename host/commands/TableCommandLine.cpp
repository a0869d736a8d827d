#include "commands/TableCommandLine.hpp"

#include "presentation/DataFolder.hpp"

namespace Host
{
TableCommandLine::TableCommandLine(const QString& name, const QString& usage, const QString& description,
                                   const QStringList& actions)
    : CommandLine(name,
                  {usage, description,
                   QStringLiteral("Exit code: 0, 1 when it could not be done, 2 for a command line that makes no sense.")},
                  actions)
{
    addOption({"--data", "DIR", "the folder given to tavola run --data (default: the user's data folder)",
               QStringLiteral("a folder"), [this](const QString& value) {
                   m_data = value;
                   return !value.isEmpty();
               }});
}

std::optional<Presentation> TableCommandLine::loadPresentation() const
{
    QString error;
    auto result = Presentation::load(presentation(), error);
    if (!result)
        fail(error, 1);
    return result;
}

QString TableCommandLine::tableFolder(const Presentation& presentation) const
{
    return dataFolder(presentation.folder, m_data);
}

tl::expected<CollectionPlace, QString> TableCommandLine::collectionPlace(const Presentation& presentation) const
{
    return CollectionPlace::of(presentation.collectionsDatabase(), collectionsFile(tableFolder(presentation)));
}

CollectionDatabase::Report TableCommandLine::collectionErrors() const
{
    return [this](const QString& what, const QString& reason, const QString& remedy) {
        fail(QStringLiteral("failed to %1 (%2); %3").arg(what, reason, remedy), 1);
    };
}

tl::expected<std::vector<unsigned long>, CommandLine::Exit> TableCommandLine::cardCodes() const
{
    std::vector<unsigned long> result;
    for (const QString& word : words()) {
        bool isNumber = false;
        result.push_back(word.toULongLong(&isNumber));
        if (!isNumber)
            return tl::unexpected(Exit{2, QStringLiteral("\"%1\" is no card code, a whole number is expected").arg(word)});
    }
    return result;
}
}
