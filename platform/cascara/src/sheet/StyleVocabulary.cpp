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

QStringList attributesIn(const StyleType& type)
{
    QStringList names;
    for (const StyleAttribute& attribute : type.attributes)
        names.append(attribute.name());
    return names;
}

QStringList classesIn(const StyleType& type)
{
    return type.classes;
}

QStringList statesIn(const StyleType& type)
{
    return type.states;
}

template <class List>
QStringList all(List list)
{
    QStringList result;
    for (const Entry& entry : entries())
        result += list(entry.type);
    return sorted(std::move(result));
}

/// Calls `function` with all that is declared of the type: of itself, and of those it is based on.
template <class Function>
void forEachOf(const QString& type, Function function)
{
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
                function(entry.type);
            open.append(entry.type.base);
        }
    }
}

template <class List>
QStringList allOf(const QString& type, List list)
{
    QStringList names;
    forEachOf(type, [&](const StyleType& declared) { names += list(declared); });
    return sorted(std::move(names));
}

bool hasAttribute(const StyleType& type, const QString& name)
{
    return std::any_of(type.attributes.begin(), type.attributes.end(),
                       [&name](const StyleAttribute& attribute) { return attribute.name() == name; });
}

bool hasState(const StyleType& type, const QString& name)
{
    return type.states.contains(name);
}

/// The names of the types that have something of that name, as `has` says.
template <class Has>
QStringList typesWith(const QString& name, Has has)
{
    QStringList types;
    for (const Entry& entry : entries())
        if (has(entry.type, name))
            types.append(QString::fromUtf8(entry.type.name));
    return sorted(std::move(types));
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
    return all(attributesIn);
}

QStringList StyleVocabulary::states()
{
    return all(statesIn);
}

bool StyleVocabulary::hasType(const QString& type)
{
    const QByteArray name = type.toUtf8();
    return std::any_of(entries().begin(), entries().end(), [&name](const Entry& entry) { return entry.type.name == name; });
}

QString StyleVocabulary::withArticle(const QString& type)
{
    const bool isVowel = !type.isEmpty() && QStringLiteral("AEIOUaeiou").contains(type.at(0));
    return (isVowel ? QStringLiteral("an ") : QStringLiteral("a ")) + type;
}

QStringList StyleVocabulary::attributesOf(const QString& type)
{
    return allOf(type, attributesIn);
}

QStringList StyleVocabulary::classesOf(const QString& type)
{
    return allOf(type, classesIn);
}

QStringList StyleVocabulary::statesOf(const QString& type)
{
    return allOf(type, statesIn);
}

std::vector<StyleAttribute> StyleVocabulary::valuesOf(const QString& type, const QString& attribute)
{
    std::vector<StyleAttribute> result;
    forEachOf(type, [&](const StyleType& declared) {
        for (const StyleAttribute& own : declared.attributes)
            if (own.name() == attribute && own.judges())
                result.push_back(own);
    });
    return result;
}

QStringList StyleVocabulary::typesWithAttribute(const QString& attribute)
{
    return typesWith(attribute, &hasAttribute);
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
    return typesWith(state, &hasState);
}
}
