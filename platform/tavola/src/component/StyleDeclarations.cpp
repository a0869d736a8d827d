#include "component/StyleDeclarations.hpp"

#include <Facet/NearestWord.hpp>

namespace Tavola
{
namespace
{
/// Those of a list; what is no text is reported.
QStringList namesOf(const JsonEntries& entries, const QString& key)
{
    QStringList names;
    int index = 0;
    const QJsonArray list = entries.list(key, "names"); // constant, so that it is not copied
    for (const QJsonValue& name : list) {
        if (name.isString())
            names.append(name.toString());
        else
            entries.skip(QStringLiteral("%1[%2]").arg(key, QString::number(index)), QStringLiteral("expected a name"));
        ++index;
    }
    return names;
}

std::vector<Cascara::StyleAttribute> attributesOf(const JsonEntries& attributes)
{
    std::vector<Cascara::StyleAttribute> result;
    result.reserve(std::size_t(attributes.object().size()));
    for (auto entry = attributes.object().begin(); entry != attributes.object().end(); ++entry) {
        const QString name = entry.key();
        const QJsonValue values = entry.value();
        if (values.isArray()) {
            const QStringList words = namesOf(attributes, name);
            if (!words.isEmpty())
                result.emplace_back(name, words);
            else
                result.emplace_back(name, QString());
            continue;
        }
        const QString kind = values.toString();
        result.emplace_back(name, kind);
        if (!result.back().judges()) {
            const QStringList kinds = Cascara::StyleAttribute::kinds();
            attributes.skip(name,
                            QStringLiteral("expected one of %1, or a list of words%2")
                                .arg(kinds.join(QStringLiteral(", ")), Facet::didYouMean(kind, kinds)));
        }
    }
    return result;
}
}

std::vector<Cascara::StyleType> readStyleDeclarations(const QJsonValue& styles, const JsonEntries::Skip& skip)
{
    std::vector<Cascara::StyleType> result;
    const JsonEntries types = JsonEntries::of(styles, QStringLiteral("styles"), skip);
    const QJsonObject& own = types.object();
    const QStringList known{QStringLiteral("is"), QStringLiteral("attributes"), QStringLiteral("classes"),
                            QStringLiteral("states")};
    result.reserve(std::size_t(own.size()));
    for (auto entry = own.begin(); entry != own.end(); ++entry) {
        const QString name = entry.key();
        const QJsonValue declaration = entry.value();
        if (!declaration.isObject()) {
            types.skip(name, QStringLiteral("expected an object such as { \"is\": \"Widget\", \"attributes\": {} }"));
            continue;
        }
        const JsonEntries type(declaration.toObject(), types.placeOf(name), skip);
        type.checkKnown(known);
        const QString base = type.text(QStringLiteral("is"));
        if (!base.isEmpty() && !own.contains(base) && !Cascara::StyleVocabulary::hasType(base))
            type.skip(QStringLiteral("is"),
                      QStringLiteral("there is no type '%1'%2")
                          .arg(base, Facet::didYouMean(base, Cascara::StyleVocabulary::types() + own.keys())));
        result.push_back({name.toUtf8(), base.toUtf8(), attributesOf(type.inner(QStringLiteral("attributes"))),
                          namesOf(type, QStringLiteral("classes")), namesOf(type, QStringLiteral("states"))});
    }
    return result;
}
}
