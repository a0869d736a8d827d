#include <Cascara/StyleAttribute.hpp>

#include <doctest/doctest.h>

#include <string>

using Cascara::StyleAttribute;
using Kind = Facet::StyleTerm::Kind;

namespace
{
Facet::StyleValue valueOf(Kind kind, const char* text, double number = 0.0, const char* unit = "")
{
    Facet::StyleValue value;
    value.terms.append({kind, QLatin1String(text), number, unit});
    return value;
}
}

TEST_CASE("style attribute: each kind takes values of its type, and says what it expected")
{
    struct Row
    {
        const char* kind;
        Facet::StyleValue right;
        Facet::StyleValue wrong;
        const char* expected;
    };
    const Row rows[] = {
        {"yes/no", valueOf(Kind::Ident, "TRUE"), valueOf(Kind::Ident, "tru"), "expected true or false (did you mean 'true'?)"},
        {"number", valueOf(Kind::Dimension, "2s", 2.0, "s"), valueOf(Kind::Ident, "two"), "expected a number"},
        {"whole number", valueOf(Kind::Number, "2", 2.0), valueOf(Kind::Number, "2.5", 2.5), "expected a whole number"},
        {"text", valueOf(Kind::String, "two words"), valueOf(Kind::Hash, "fff"), "expected a quoted text"},
        {"list", valueOf(Kind::Ident, "none"), valueOf(Kind::Hash, "fff"), "expected texts separated by commas"},
        {"colour", valueOf(Kind::Hash, "fff"), valueOf(Kind::Ident, "bluee"), "expected a colour (did you mean 'blue'?)"},
    };
    CHECK(StyleAttribute::kinds().size() == int(std::size(rows)));
    for (const Row& row : rows) {
        CAPTURE(std::string(row.kind));
        const StyleAttribute attribute("name", QString::fromUtf8(row.kind));
        QString expected;
        CHECK(attribute.judges());
        CHECK(attribute.accepts(row.right, &expected));
        CHECK(expected.isEmpty());
        CHECK_FALSE(attribute.accepts(row.wrong, &expected));
        CHECK(expected.toStdString() == row.expected);
        CHECK_FALSE(attribute.accepts(row.wrong, nullptr));
    }
}

TEST_CASE("style attribute: a value is one of its words, in small or capital letters")
{
    const StyleAttribute attribute("mode", QStringList{"email", "upload"});
    CHECK(attribute.judges());
    CHECK(attribute.accepts(valueOf(Kind::Ident, "Upload"), nullptr));
    CHECK(attribute.accepts(valueOf(Kind::String, "email"), nullptr));
    QString expected;
    CHECK_FALSE(attribute.accepts(valueOf(Kind::Ident, "uplaod"), &expected));
    CHECK(expected == "expected one of email, upload (did you mean 'upload'?)");
    CHECK_FALSE(attribute.accepts(valueOf(Kind::Number, "1", 1.0), nullptr));
}

TEST_CASE("style attribute: one of which nothing is said takes every value")
{
    for (const StyleAttribute& attribute : {StyleAttribute("size"), StyleAttribute("size", QStringLiteral("length"))}) {
        CHECK(attribute.name() == "size");
        CHECK_FALSE(attribute.judges());
        CHECK(attribute.accepts(valueOf(Kind::Hash, "fff"), nullptr));
    }
}
