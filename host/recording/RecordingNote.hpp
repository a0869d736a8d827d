#pragma once

#include <QString>
#include <QStringList>

#include <string>

namespace Host
{
/// What a recording says of the table beside its input, for whoever replays it. A plain record.
struct RecordingNote
{
    QString presentation;     ///< its folder, absolute
    QStringList mediaServers; ///< the names of the configured ones, in their order
    QString people;           ///< who was known when the table opened, as PeopleFile has it; empty without a registry

    [[nodiscard]] std::string toText() const;
    /// Everything is empty that the text does not tell.
    [[nodiscard]] static RecordingNote fromText(const std::string& text);
};
}
