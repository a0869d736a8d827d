#include "recording/Shortened.hpp"

#include "services/PeopleFile.hpp"

#include <Bedrock/LogText.hpp>

namespace Host::Shortened
{
namespace
{
using Content = Bedrock::Arrival::Content;

// The kinds of jobs whose answers are texts.
constexpr char kPeople = 'r';
constexpr char kMediaServer = 'j';
constexpr char kEmail = 'm';
constexpr char kMailDelay = 'd';

QString shortName(const QString& name)
{
    if (name.isEmpty())
        return name;
    const int first = name.at(0).isHighSurrogate() ? 2 : 1;
    return name.left(first) + QChar(0x2026);
}

QString shortAddress(const QString& address)
{
    const int at = address.lastIndexOf(QLatin1Char('@'));
    return at < 1 ? shortName(address) : shortName(address.left(at)) + address.mid(at);
}
}

QString people(const QString& text)
{
    bool isComplete = false;
    std::vector<Person> people = PeopleFile::parse(text, QStringLiteral("the recording"), isComplete);
    for (Person& person : people) {
        person.name = shortName(person.name);
        person.email = shortAddress(person.email);
    }
    return PeopleFile::format(people);
}

Bedrock::Arrival arrival(const Bedrock::Arrival& exact)
{
    Bedrock::Arrival result = exact;
    if (exact.content != Content::Bytes)
        return result;
    switch (exact.kind) {
    case kPeople:
        // Where the registry could not be read, a mark stands in place of people.
        if (exact.bytes.startsWith("code,"))
            result.bytes = people(QString::fromUtf8(exact.bytes)).toUtf8();
        break;
    case kMediaServer:
    case kEmail: result.bytes = QByteArray::fromStdString(Bedrock::withoutSecrets(exact.bytes.toStdString())); break;
    case kMailDelay: break;
    default: result.content = Content::Nothing; result.bytes.clear();
    }
    return result;
}
}
