#include "values/ValueSuggestion.hpp"

#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <string>

namespace
{
Facet::StyleValue valueOf(const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Facet::StyleValue value;
    REQUIRE(Cascara::ValueParser(tokens, QString()).parse(0, int(tokens.list.size()) - 1, value));
    return value;
}
}

TEST_CASE("value suggestion: the first function that there is not is reported with the one that was probably meant")
{
    struct Row
    {
        const char* value;
        const char* said;
    };
    const Row rows[] = {
        {"clac(1px)", "expected x (did you mean 'calc'?)"},
        {"1px Linear-Gradeint(red, blue)", "expected x (did you mean 'linear-gradient'?)"},
        {"rgb(1, 2, 3) hls(1, 2, 3)", "expected x (did you mean 'hsl'?)"},
        {"CALC(1px)", "expected x"},
        {"blur(2px)", "expected x"},
        {"clac", "expected x"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.value));
        CHECK(Cascara::withFunctionSuggestion(QStringLiteral("expected x"), valueOf(row.value)).toStdString() == row.said);
    }
    CHECK(Cascara::withFunctionSuggestion(QStringLiteral("expected x (did you mean 'y'?)"), valueOf("clac(1px)"))
          == "expected x (did you mean 'y'?)");
    CHECK(Cascara::functionSuggestion(QStringLiteral("clac")) == " (did you mean 'calc'?)");
    CHECK(Cascara::functionSuggestion(QStringLiteral("Calc")).isEmpty());
}

TEST_CASE("value suggestion: values of shorthands and motion have words and colours, too")
{
    struct Row
    {
        const char* value;
        const char* said;
    };
    const Row rows[] = {
        {"left 1s eaze", "expected x (did you mean 'ease'?)"},
        {"1px soldi red", "expected x (did you mean 'solid'?)"},
        {"1px solid bleu", "expected x (did you mean 'blue'?)"},
        {"url(a.png) no-repaet", "expected x (did you mean 'no-repeat'?)"},
        {"bleu rbg(1, 2, 3)", "expected x (did you mean 'rgb'?)"},
        {"1px solid red", "expected x"},
        {"House 2s", "expected x"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.value));
        CHECK(Cascara::withSuggestion(QStringLiteral("expected x"), valueOf(row.value)).toStdString() == row.said);
    }
}
