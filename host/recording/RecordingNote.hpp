#pragma once

#include <QString>
#include <QStringList>

#include <string>

namespace Host
{
/// What a replay needs of the recorded table beside its input. A plain record.
struct RecordingNote
{
    QString presentation;     ///< its folder, absolute
    QStringList mediaServers; ///< the names of the configured ones, in their order
    QString people;           ///< the people known when the table opened, as PeopleFile writes them; empty without a registry

    [[nodiscard]] std::string toText() const;
    /// The same with its people shortened.
    [[nodiscard]] RecordingNote shortened() const;
    /// What the text does not contain is empty.
    [[nodiscard]] static RecordingNote fromText(const std::string& text);
};
}
