#include "recording/RecordingNote.hpp"

#include "recording/Shortened.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Host
{
std::string RecordingNote::toText() const
{
    const QJsonObject note{
        {"presentation", presentation}, {"mediaServers", QJsonArray::fromStringList(mediaServers)}, {"people", people}};
    return QJsonDocument(note).toJson(QJsonDocument::Compact).toStdString();
}

RecordingNote RecordingNote::shortened() const
{
    RecordingNote result = *this;
    if (!people.isEmpty())
        result.people = Shortened::people(people);
    return result;
}

RecordingNote RecordingNote::fromText(const std::string& text)
{
    const QJsonObject note = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    RecordingNote result;
    result.presentation = note.value(QLatin1String("presentation")).toString();
    for (const QJsonValue& name : note.value(QLatin1String("mediaServers")).toArray())
        result.mediaServers << name.toString();
    result.people = note.value(QLatin1String("people")).toString();
    return result;
}
}
