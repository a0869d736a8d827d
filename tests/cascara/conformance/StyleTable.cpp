#include "conformance/StyleTable.hpp"

#include "LogCapture.hpp"
#include "TestNode.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

namespace CascaraTest
{
const char* const kInvalid = "(invalid)";

namespace
{
std::string resultOf(const std::string& css, const char* attribute)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromStdString(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    TestNode node;
    Facet::Attribute& target = *node.attribute(attribute);
    const bool fits = parser.parse(0, int(tokens.list.size()) - 1, value) && !value.terms.isEmpty()
        && target.setStyleValue(value, Facet::kStyleLayer, nullptr);
    return fits ? target.toText().toStdString() : kInvalid;
}

std::string resultOfSheet(const StyleRow& row, const char* attribute)
{
    for (int i = 0; i < row.warnings; ++i)
        TestSupport::expectWarningStartingWith("StyleEngine # test.css:");
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    fixture.add("root", "Panel", "panel", "panel");
    fixture.add("panel", "N", "first");
    TestNode& node = fixture.add("panel", "N", "n", "n");
    fixture.add("panel", "N", "last");
    fixture.sheet(row.css.c_str());
    fixture.engine.advance(1.0 / 60.0);
    for (const char* changed : {"root", "panel", "n"})
        fixture[changed].addCSSClass("after");
    return node.attribute(attribute)->toText().toStdString();
}

template <class Result>
void check(const char* table, const std::vector<StyleRow>& rows, Result result)
{
    int applying = 0;
    int passed = 0;
    for (const StyleRow& row : rows) {
        CAPTURE(row.css);
        const std::string got = result(row);
        if (row.skip) {
            CHECK_MESSAGE(got != row.expected, "passes by now: it applies");
            continue;
        }
        ++applying;
        passed += got == row.expected ? 1 : 0;
        CHECK(got == row.expected);
    }
    MESSAGE(table << ": " << passed << " of " << applying << " that apply, " << rows.size() - std::size_t(applying)
                  << " skipped");
}
}

void checkValues(const char* table, const char* attribute, const std::vector<StyleRow>& rows)
{
    check(table, rows, [attribute](const StyleRow& row) { return resultOf(row.css, attribute); });
}

void checkSheets(const char* table, const char* attribute, const std::vector<StyleRow>& rows)
{
    check(table, rows, [attribute](const StyleRow& row) { return resultOfSheet(row, attribute); });
}
}
