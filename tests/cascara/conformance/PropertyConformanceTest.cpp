#include "conformance/ConformanceList.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/InheritedValues.hpp"
#include "values/ValueParser.hpp"

#include <Facet/Attribute.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <doctest/doctest.h>

namespace
{
using CascaraTest::ConformanceList;

/// The initial value of a property; of a shorthand that of its first longhand.
QString initialValue(const QJsonObject& properties, const QString& name)
{
    const QJsonValue initial = properties[name].toObject()[QStringLiteral("initial")];
    return initial.isArray() ? initialValue(properties, initial.toArray().first().toString()) : initial.toString();
}

/// Sets the value as a style sheet would. Empty when it is the default; else the difference.
QString differenceFromDefault(Facet::Attribute& attribute, const QString& css)
{
    const QString byDefault = attribute.toText();
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(css);
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    QString error;
    if (!attribute.setStyleValue(value, Facet::kStyleLayer, &error))
        return QStringLiteral("the default is '%1', '%2' is refused: %3").arg(byDefault, css, error);
    const QString set = attribute.toText();
    attribute.clearValue(Facet::kStyleLayer);
    return set == byDefault ? QString() : QStringLiteral("the default is '%1', not '%2'").arg(byDefault, css);
}

void compare(ConformanceList& list, const QJsonObject& properties, Facet::Attribute& attribute)
{
    const QString name = QString::fromUtf8(attribute.name());
    if (!properties.contains(name)) // one of this house alone
        return;
    const bool isInherited = properties[name].toObject()[QStringLiteral("inherited")].toBool();
    const bool isOursInherited = Cascara::isInheritedAttribute(attribute.name());
    list.add(name + QStringLiteral(" inheritance"),
             isInherited == isOursInherited ? QString()
                                            : QStringLiteral("expected %1, got %2").arg(isInherited).arg(isOursInherited));
    list.add(name + QStringLiteral(" initial"), differenceFromDefault(attribute, initialValue(properties, name)));
}
}

TEST_CASE("property conformance: attributes with names of CSS have the initial values and the inheritance of CSS")
{
    ConformanceList list(QStringLiteral("properties"));
    QFile file(qEnvironmentVariable("TAVOLA_CONFORMANCE") + QStringLiteral("/node_modules/mdn-data/css/properties.json"));
    CAPTURE(file.fileName().toStdString());
    REQUIRE(file.open(QIODevice::ReadOnly));
    const QJsonObject properties = QJsonDocument::fromJson(file.readAll()).object();
    REQUIRE_FALSE(properties.isEmpty());
    const auto text = Bedrock::makeIntrusive<Trellis::TextEditWidget>();
    const auto image = Bedrock::makeIntrusive<Trellis::ImageWidget>();
    for (Facet::Attribute* attribute : text->attributes())
        compare(list, properties, *attribute);
    for (Facet::Attribute* attribute : image->attributes())
        if (!text->attribute(attribute->name()))
            compare(list, properties, *attribute);
    list.check();
}
