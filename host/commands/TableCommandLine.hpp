#pragma once

#include "commands/CommandLine.hpp"
#include "presentation/Presentation.hpp"
#include "services/collections/CollectionDatabase.hpp"

#include <tl/expected.hpp>

#include <optional>
#include <vector>

namespace Host
{
/// The command line of a command with actions that works on what a presentation's table keeps, with the option "--data".
class TableCommandLine : public CommandLine
{
public:
    /// `usage` and `description`: see Help; the footer is that of all such commands.
    TableCommandLine(const QString& name, const QString& usage, const QString& description, const QStringList& actions);

    /// The presentation of the command line; nothing, with the error written, when it cannot be read.
    [[nodiscard]] std::optional<Presentation> loadPresentation() const;
    /// The folder of the presentation's table.
    [[nodiscard]] QString tableFolder(const Presentation& presentation) const;
    /// Where the table keeps what cards collect, or a sentence for the operator.
    [[nodiscard]] tl::expected<CollectionPlace, QString> collectionPlace(const Presentation& presentation) const;
    /// Writes what a database of collections cannot do as errors of this command line, which outlives it.
    [[nodiscard]] CollectionDatabase::Report collectionErrors() const;
    /// The words as codes of cards; the exit names the first one that is none.
    [[nodiscard]] tl::expected<std::vector<unsigned long>, Exit> cardCodes() const;

private:
    QString m_data;
};
}
