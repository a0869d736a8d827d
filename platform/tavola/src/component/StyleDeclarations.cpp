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
    const QJsonArray list = entries.list(key, "names");
    for (int i = 0; i < list.size(); ++i) {
        if (list.at(i).isString())
            names.append(list.at(i).toString());
        else
            entries.skip(QStringLiteral("%1[%2]").arg(key, QString::number(i)), QStringLiteral("expected a name"));
    }
    return names;
}

std::vector<Cascara::StyleAttribute> attributesOf(const JsonEntries& attributes)
{
    const QStringList kinds = Cascara::StyleAttribute::kinds();
    std::vector<Cascara::StyleAttribute> result;
    for (const QString& name : attributes.object().keys()) {
        const QJsonValue values = attributes.value(name);
        if (values.isArray()) {
            const QStringList words = namesOf(attributes, name);
            if (!words.isEmpty())
                result.emplace_back(name, words);
            else
                result.emplace_back(name, QString());
            continue;
        }
        const QString kind = values.toString();
        if (!kinds.contains(kind))
            attributes.skip(name,
                            QStringLiteral("expected one of %1, or a list of words%2")
                                .arg(kinds.join(QStringLiteral(", ")), Facet::didYouMean(kind, kinds)));
        result.emplace_back(name, kind);
    }
    return result;
}
}

std::vector<Cascara::StyleType> readStyleDeclarations(const QJsonValue& styles, const JsonEntries::Skip& skip)
{
    std::vector<Cascara::StyleType> result;
    const JsonEntries types = JsonEntries::of(styles, QStringLiteral("styles"), skip);
    const QStringList own = types.object().keys();
    for (const QString& name : own) {
        if (!types.value(name).isObject()) {
            types.skip(name, QStringLiteral("expected an object such as { \"is\": \"Widget\", \"attributes\": {} }"));
            continue;
        }
        const JsonEntries type = types.inner(name);
        type.checkKnown(
            {QStringLiteral("is"), QStringLiteral("attributes"), QStringLiteral("classes"), QStringLiteral("states")});
        const QString base = type.text(QStringLiteral("is"));
        if (!base.isEmpty() && !own.contains(base) && !Cascara::StyleVocabulary::hasType(base))
            type.skip(QStringLiteral("is"),
                      QStringLiteral("there is no type '%1'%2")
                          .arg(base, Facet::didYouMean(base, Cascara::StyleVocabulary::types() + own)));
        result.push_back({name.toUtf8(), base.toUtf8(), attributesOf(type.inner(QStringLiteral("attributes"))),
                          namesOf(type, QStringLiteral("classes")), namesOf(type, QStringLiteral("states"))});
    }
    return result;
}
}
