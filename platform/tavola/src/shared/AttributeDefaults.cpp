#include "shared/AttributeDefaults.hpp"

#include <Facet/Attribute.hpp>
#include <Trellis/Widget.hpp>

#include <QStringList>

#include <cassert>

namespace Tavola
{
namespace
{
using Facet::StyleTerm;

StyleTerm termOf(const QString& word)
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
}

Facet::StyleValue styleValueOf(const QString& words)
{
    Facet::StyleValue value;
    for (const QString& word : words.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        value.terms.append(termOf(word));
    return value;
}

void setDefault(Trellis::Widget& widget, const char* attribute, const char* value)
{
    Facet::Attribute* const found = widget.attribute(attribute);
    assert(found && "a widget always has the attribute whose default is set");
    QString error;
    const bool fits = found->setStyleValue(styleValueOf(QString::fromLatin1(value)), Facet::kDefaultLayer, &error);
    assert(fits && "a default fits its attribute");
    static_cast<void>(fits);
}

void setDefaults(Trellis::Widget& widget, std::initializer_list<AttributeDefault> defaults)
{
    for (const AttributeDefault& entry : defaults)
        setDefault(widget, entry.attribute, entry.value);
}

void setFreeByDefault(Trellis::Widget& widget)
{
    setDefaults(widget, {{"movable", "true"}, {"rotatable", "true"}, {"scalable", "true"}});
}

void setShown(Trellis::Widget& widget, bool shown)
{
    Facet::Attribute& display = *widget.attribute("display");
    if (shown)
        display.clearValue(Facet::kUserLayer);
    else
        static_cast<void>(display.setStyleValue(styleValueOf(QStringLiteral("none")), Facet::kUserLayer, nullptr));
}
}
