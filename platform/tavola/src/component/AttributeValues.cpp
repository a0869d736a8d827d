#include "component/AttributeValues.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Facet/Attribute.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonArray>
#include <QStringList>

#include <cassert>

namespace Tavola
{
namespace
{
using Facet::StyleTerm;
using Facet::StyleValue;

/// One word as a style sheet has it: "50%", "12px", "3", "#ffcc00", "none".
StyleTerm wordTerm(const QString& word)
{
    StyleTerm term;
    term.text = word;
    if (word.startsWith(QLatin1Char('#'))) {
        term.kind = StyleTerm::Kind::Hash;
        term.text = word.mid(1);
        return term;
    }
    int digits = word.size();
    while (digits > 0 && !word.at(digits - 1).isDigit())
        --digits;
    bool isNumber = false;
    const double number = word.left(digits).toDouble(&isNumber);
    if (!isNumber)
        return term;
    const QString unit = word.mid(digits).toLower();
    term.number = number;
    term.kind = unit.isEmpty()       ? StyleTerm::Kind::Number
        : unit == QLatin1String("%") ? StyleTerm::Kind::Percentage
                                     : StyleTerm::Kind::Dimension;
    if (term.kind == StyleTerm::Kind::Dimension)
        term.unit = unit.toLatin1();
    return term;
}

StyleValue wordsValue(const QString& words)
{
    StyleValue value;
    for (const QString& word : words.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        value.terms.append(wordTerm(word));
    return value;
}

bool appendJson(const QJsonValue& json, StyleValue& value)
{
    StyleTerm term;
    switch (json.type()) {
    case QJsonValue::String:
        term.kind = StyleTerm::Kind::String;
        term.text = json.toString();
        break;
    case QJsonValue::Double:
        term.kind = StyleTerm::Kind::Number;
        term.number = json.toDouble();
        term.text = QString::number(term.number, 'g', 15);
        break;
    case QJsonValue::Bool:
        term.kind = StyleTerm::Kind::Ident;
        term.text = json.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        break;
    default: return false;
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
        value = wordsValue(QStringLiteral("none")); // how a style sheet writes the empty list
    return true;
}
}

void setDefault(Trellis::Widget& widget, const char* attribute, const char* value)
{
    Facet::Attribute* const found = widget.attribute(attribute);
    assert(found && "a widget always has the attribute whose default is set");
    QString error;
    const bool fits = found->setStyleValue(wordsValue(QString::fromLatin1(value)), Facet::kDefaultLayer, &error);
    assert(fits && "a default fits its attribute");
    static_cast<void>(fits);
}

bool setFromJson(Trellis::Widget& widget, const QString& attribute, const QJsonValue& value, QString& error)
{
    const QByteArray name = attribute.toUtf8();
    Facet::Attribute* found = widget.attribute(name);
    if (!found)
        found = Cascara::LazyAttributeManager::create(widget, name);
    if (!found) {
        error = QStringLiteral("a %1 has no such attribute").arg(QString::fromUtf8(widget.cssType()));
        return false;
    }
    StyleValue styleValue;
    if (!readJson(value, styleValue)) {
        error = QStringLiteral("expected a text, a number, true, false or a list of these");
        return false;
    }
    if (found->setStyleValue(styleValue, Facet::kUserLayer, &error))
        return true;
    // A text may hold what JSON has no kind for, a length or a colour.
    return value.isString() && found->setStyleValue(wordsValue(value.toString()), Facet::kUserLayer, nullptr);
}
}
