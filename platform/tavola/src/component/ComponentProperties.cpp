#include "component/ComponentProperties.hpp"

#include "shared/AttributeDefaults.hpp"
#include "json/JsonNumbers.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>
#include <Cascara/LazyAttributeManager.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Facet/AttributeT.hpp>
#include <Facet/NearestWord.hpp>
#include <Tavola/Component.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace Tavola
{
namespace
{
using Facet::StyleTerm;
using Facet::StyleValue;

void warnOfProperty(const Component& component, const QString& property, const QString& what)
{
    Bedrock::Trace::warning("UIComponent # Component '%s': property \"%s\": %s; skipped", qUtf8Printable(component.name()),
                            qUtf8Printable(property), qUtf8Printable(what));
}

/// "UIComponent # presentation.json:4:33: widgets[2].attributes.gap: component 'panel'" where the properties say where the
/// attribute is written; the file is read again for it.
QString whereIs(const Component& component, const QString& attribute)
{
    constexpr int kLargestFileMiB = 4;
    const QJsonObject& properties = component.properties();
    const QString file = properties.value(QLatin1String("file")).toString();
    const QString place = properties.value(QLatin1String("places")).toObject().value(attribute).toString();
    if (file.isEmpty() || place.isEmpty())
        return QStringLiteral("UIComponent # Component '%1': property \"attributes.%2\"").arg(component.name(), attribute);
    QString reason;
    const auto text = Bedrock::readBoundedFile(file, kLargestFileMiB, reason);
    const QString position = text ? JsonNumbers::positionOf(*text, place) : QString();
    return QStringLiteral("UIComponent # %1:%2 %3: component '%4'")
        .arg(file, position.isEmpty() ? QString() : position + QLatin1Char(':'), place, component.name());
}

bool appendJson(const QJsonValue& json, StyleValue& value)
{
    StyleTerm term;
    const QString digits = JsonNumbers::digitsOf(json);
    if (!digits.isEmpty()) {
        term.kind = StyleTerm::Kind::Number;
        term.number = digits.toDouble();
        term.text = digits;
    } else if (json.isDouble()) {
        term.kind = StyleTerm::Kind::Number;
        term.number = json.toDouble();
        term.text = QString::number(term.number, 'g', 15);
    } else if (json.isString()) {
        term.kind = StyleTerm::Kind::String;
        term.text = json.toString();
    } else if (json.isBool()) {
        term.kind = StyleTerm::Kind::Ident;
        term.text = json.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    } else {
        return false;
    }
    value.terms.append(term);
    return true;
}

bool readJson(const QJsonValue& json, StyleValue& value)
{
    if (!json.isArray())
        return appendJson(json, value);
    for (const QJsonValue& element : json.toArray())
        if (!appendJson(element, value))
            return false;
    if (value.terms.isEmpty())
        value = styleValueOf(QStringLiteral("none")); // how a style sheet writes the empty list
    return true;
}

/// The text of numbers and texts: their digits and letters, with commas between the elements of a list ("10,20-25"). Empty for
/// a list that holds anything else.
StyleValue asText(const StyleValue& value)
{
    StyleTerm text;
    text.kind = StyleTerm::Kind::String;
    for (const StyleTerm& term : value.terms) {
        if (term.kind == StyleTerm::Kind::Ident)
            return {};
        text.text += (text.text.isEmpty() ? QString() : QStringLiteral(",")) + term.text;
    }
    StyleValue result;
    result.terms.append(text);
    return result;
}

/// Null, with the reason in `error`, when the widget has none of that name.
Facet::Attribute* findAttribute(Trellis::Widget& widget, const QString& name, QString& error)
{
    Facet::Attribute* found = widget.attribute(name.toUtf8());
    if (!found)
        found = Cascara::LazyAttributeManager::create(widget, name.toUtf8());
    if (!found) {
        const QString type = QString::fromUtf8(widget.cssType());
        error = QStringLiteral("%1 has no such attribute").arg(Cascara::StyleVocabulary::withArticle(type))
            + Facet::didYouMean(name, Cascara::StyleVocabulary::attributesOf(type));
    }
    return found;
}

/// What the attribute accepts of a value; false, with the reason in `error`, for none.
bool fit(const Facet::Attribute& attribute, const QJsonValue& written, StyleValue& value, QString& error)
{
    if (!readJson(written, value)) {
        error = QStringLiteral("expected a text, a number, true, false or a list of these");
        return false;
    }
    const bool hasNumber = std::any_of(value.terms.begin(), value.terms.end(),
                                       [](const StyleTerm& term) { return term.kind == StyleTerm::Kind::Number; });
    if (hasNumber && dynamic_cast<const Facet::AttributeT<QString>*>(&attribute))
        value = asText(value);
    if (attribute.accepts(value, &error))
        return true;
    if (!written.isString())
        return false;
    // A text may hold what JSON has no kind for, a length or a colour.
    value = styleValueOf(written.toString());
    return attribute.accepts(value, nullptr);
}

bool setAttribute(Trellis::Widget& widget, const QString& name, const QJsonValue& written, QString& error)
{
    StyleValue value;
    Facet::Attribute* const attribute = findAttribute(widget, name, error);
    return attribute && fit(*attribute, written, value, error) && attribute->setStyleValue(value, Facet::kUserLayer, &error);
}

bool wouldFit(Trellis::Widget& widget, const QString& name, const QJsonValue& written, QString& error)
{
    StyleValue value;
    const Facet::Attribute* const attribute = findAttribute(widget, name, error);
    return attribute && fit(*attribute, written, value, error);
}

void applyClasses(const Component& component, const QJsonValue& classes, Trellis::Widget& widget)
{
    if (classes.isUndefined())
        return;
    if (!classes.isArray()) {
        warnOfProperty(component, QStringLiteral("classes"), QStringLiteral("expected a list of names"));
        return;
    }
    const QJsonArray list = classes.toArray();
    for (int i = 0; i < list.size(); ++i) {
        const QString name = list.at(i).toString();
        if (name.isEmpty())
            warnOfProperty(component, QStringLiteral("classes[%1]").arg(i), QStringLiteral("expected a name"));
        else
            widget.addCSSClass(name.toUtf8());
    }
}

/// False for a restriction of the component.
bool isReportedAsSkipped(const Component& component, const QString& attribute, const QString& error)
{
    if (!component.schema().restrictions().contains(attribute)) {
        Bedrock::Trace::warning("%s: %s; skipped", qUtf8Printable(whereIs(component, attribute)), qUtf8Printable(error));
        return true;
    }
    Bedrock::Trace::error("%s: %s; the component is left out, because it restricts nothing without this",
                          qUtf8Printable(whereIs(component, attribute)), qUtf8Printable(error));
    return false;
}

bool applyAttributes(const Component& component, const QJsonObject& values, Trellis::Widget& widget)
{
    bool isWhole = true;
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        QString error;
        if (!setAttribute(widget, entry.key(), entry.value(), error))
            isWhole = isReportedAsSkipped(component, entry.key(), error) && isWhole;
    }
    return isWhole;
}
}

bool applyProperties(const Component& component, Trellis::Widget& widget)
{
    const QJsonObject& properties = component.properties();
    const QJsonValue id = properties.value(QLatin1String("id"));
    if (id.isString())
        widget.setCSSId(id.toString().toUtf8());
    else if (!id.isUndefined())
        warnOfProperty(component, QStringLiteral("id"), QStringLiteral("expected a name"));
    applyClasses(component, properties.value(QLatin1String("classes")), widget);
    const QJsonValue attributes = properties.value(QLatin1String("attributes"));
    if (!attributes.isObject() && !attributes.isUndefined())
        warnOfProperty(component, QStringLiteral("attributes"), QStringLiteral("expected an object of names and values"));
    return applyAttributes(component, attributes.toObject(), widget);
}

bool checkAttributes(const Component& component, Trellis::Widget& sample, QStringList& unfit)
{
    bool isWhole = true;
    const QJsonObject values = component.properties().value(QLatin1String("attributes")).toObject();
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        QString error;
        if (wouldFit(sample, entry.key(), entry.value(), error))
            continue;
        unfit << entry.key();
        isWhole = isReportedAsSkipped(component, entry.key(), error) && isWhole;
    }
    return isWhole;
}
}
