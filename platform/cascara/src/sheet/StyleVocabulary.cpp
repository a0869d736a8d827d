#include <Cascara/StyleVocabulary.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
struct Entry
{
    long id;
    StyleType type;
};

std::vector<Entry>& entries()
{
    // Never destroyed: registrants are static objects of libraries.
    static std::vector<Entry>& instance = *new std::vector<Entry>;
    return instance;
}

long g_lastEntry = 0;

QStringList sorted(QStringList names)
{
    names.removeDuplicates();
    names.sort();
    return names;
}

template <class List>
QStringList all(List list)
{
    QStringList result;
    for (const Entry& entry : entries())
        result += list(entry.type);
    return sorted(std::move(result));
}

/// The list of the type and of those it is based on.
QStringList allOf(const QString& type, QStringList StyleType::*list)
{
    QStringList names;
    QList<QByteArray> open{type.toUtf8()};
    QList<QByteArray> seen;
    while (!open.isEmpty()) {
        const QByteArray next = open.takeLast();
        if (next.isEmpty() || seen.contains(next))
            continue;
        seen.append(next);
        for (const Entry& entry : entries()) {
            if (entry.type.name != next)
                continue;
            if (entry.type.isForOthers || next == type.toUtf8())
                names += entry.type.*list;
            open.append(entry.type.base);
        }
    }
    return sorted(std::move(names));
}

QStringList typesWith(const QString& name, QStringList StyleType::*list)
{
    return all([&](const StyleType& type) {
        return (type.*list).contains(name) ? QStringList{QString::fromUtf8(type.name)} : QStringList{};
    });
}
}

StyleVocabulary::Registrant::Registrant(std::vector<StyleType> types) : m_entry(++g_lastEntry)
{
    for (StyleType& type : types)
        entries().push_back({m_entry, std::move(type)});
}

StyleVocabulary::Registrant::~Registrant()
{
    auto& all = entries();
    all.erase(std::remove_if(all.begin(), all.end(), [this](const Entry& entry) { return entry.id == m_entry; }), all.end());
}

QStringList StyleVocabulary::types()
{
    return all([](const StyleType& type) { return QStringList{QString::fromUtf8(type.name)}; });
}

QStringList StyleVocabulary::attributes()
{
    return all([](const StyleType& type) { return type.attributes; });
}

QStringList StyleVocabulary::states()
{
    return all([](const StyleType& type) { return type.states; });
}

bool StyleVocabulary::hasType(const QString& type)
{
    return types().contains(type);
}

QStringList StyleVocabulary::attributesOf(const QString& type)
{
    return allOf(type, &StyleType::attributes);
}

QStringList StyleVocabulary::classesOf(const QString& type)
{
    return allOf(type, &StyleType::classes);
}

QStringList StyleVocabulary::statesOf(const QString& type)
{
    return allOf(type, &StyleType::states);
}

QStringList StyleVocabulary::typesWithAttribute(const QString& attribute)
{
    return typesWith(attribute, &StyleType::attributes);
}

std::vector<std::shared_ptr<Facet::Node>> StyleVocabulary::makeSamples()
{
    std::vector<std::shared_ptr<Facet::Node>> samples;
    const std::vector<Entry> all = entries(); // a constructor may load a library
    for (const Entry& entry : all)
        if (entry.type.sample)
            samples.push_back(entry.type.sample());
    return samples;
}

QStringList StyleVocabulary::typesWithState(const QString& state)
{
    return typesWith(state, &StyleType::states);
}
}
