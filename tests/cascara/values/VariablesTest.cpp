#include "values/Variables.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <string>
#include <utility>

using namespace Cascara;

namespace
{
using Definitions = std::vector<std::pair<std::string, std::string>>;

Tokens tokensOf(const std::string& text)
{
    return Tokenizer::run(QString::fromStdString(text));
}

VariableSet::Pointer resolve(const Definitions& definitions, const VariableSet::Pointer& inherited = nullptr)
{
    std::vector<VariableDefinition> own;
    for (const auto& [name, value] : definitions)
        own.push_back({Facet::NameTable::instance().number(std::string_view(name)),
                       std::make_shared<const Tokens>(tokensOf(value)), QStringLiteral("t.css:1:2")});
    return VariableSet::resolve(inherited, own);
}

/// The value with its variables, or why there is none, in brackets.
std::string substituted(const std::string& value, const VariableSet::Pointer& variables)
{
    VariableSubstitution substitution(variables.get());
    Tokens result;
    if (!substitution.run(tokensOf(value), result))
        return "[" + substitution.fault().toStdString() + "]";
    return result.source.toStdString();
}
}

TEST_CASE("variables: values are put in as tokens, and fallbacks where there is no valid variable")
{
    const auto variables = resolve({{"--a", "1px"},
                                    {"--A", "2px"},
                                    {"--empty", ""},
                                    {"--b", "var(--a) var(--A)"},
                                    {"--c", "var(--nosuch)"},
                                    {"--d", "var(--c, 4px)"},
                                    {"--e", "var(--c)"},
                                    {"--list", "a, b"},
                                    {"--loop", "var(--loop)"},
                                    {"--x", "var(--y)"},
                                    {"--y", "1px var(--x, 2px)"},
                                    {"--z", "var(--x, 3px)"}});
    struct Row
    {
        const char* value;
        const char* expected;
    };
    const Row rows[] = {
        {"var(--a)", "1px"},
        {"VAR( --a )", "1px"},
        {"var(--A)", "2px"},
        {"var(--b)", "1px 2px"},
        {"0 var(--a) 3", "0 1px 3"},
        {"var(--a)var(--a)", "1px 1px"},
        {"- var(--a)px", "- 1px px"},
        {"f(var(--a),var(--list))", "f( 1px , a, b )"},
        {"var(--empty)", ""},
        {"x var(--empty) y", "x  y"},
        {"var(--nosuch, 5px)", "5px"},
        {"var(--nosuch,)", ""},
        {"var(--nosuch, a, b)", "a, b"},
        {"var(--nosuch, var(--a))", "1px"},
        {"var(--nosuch, var(--none, 7px))", "7px"},
        {"var(--a, var(--nosuch))", "1px"},
        {"var(--d)", "4px"},
        {"var(--loop, 6px)", "6px"},
        {"var(--x, 6px)", "6px"},
        {"var(--y, 6px)", "6px"},
        {"var(--z)", "3px"},
        {"var(--nosuch)", "[there is no variable '--nosuch']"},
        {"var(--nosuch, var(--none))", "[there is no variable '--none']"},
        {"var(--e)",
         "[the variable '--e' (t.css:1:2) is invalid: the variable '--c' (t.css:1:2) is invalid: there is no "
         "variable '--nosuch']"},
        {"var(--loop)", "[the variable '--loop' (t.css:1:2) is invalid: it depends on itself]"},
        {"var(--y)", "[the variable '--y' (t.css:1:2) is invalid: it depends on itself]"},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.value));
        const std::string result = substituted(row.value, variables);
        CHECK(QString::fromStdString(result).trimmed().toStdString() == row.expected);
    }
    CHECK(substituted("var(--a)", nullptr) == "[there is no variable '--a']");
}

TEST_CASE("variables: a set has those that it inherits, and its own before them")
{
    const auto parent = resolve({{"--a", "1"}, {"--b", "var(--a)"}, {"--c", "3"}});
    const auto child = resolve({{"--a", "9"}, {"--d", "var(--b) var(--a)"}, {"--c", "var(--c)"}}, parent);
    CHECK(substituted("var(--a)", child) == "9");
    CHECK(substituted("var(--b)", child) == "1"); // as the parent has it
    CHECK(substituted("var(--d)", child) == "1 9");
    CHECK(substituted("var(--c, 4)", child).find("4") != std::string::npos); // its own one names itself
    CHECK(substituted("var(--a)", parent) == "1");

    std::vector<std::string> names;
    for (const int name : VariableSet::difference(parent.get(), child.get()))
        names.push_back(Facet::NameTable::instance().name(name).toStdString());
    std::sort(names.begin(), names.end());
    CHECK(names == std::vector<std::string>{"--a", "--c", "--d"});
    CHECK(VariableSet::difference(child.get(), child.get()).empty());
    CHECK(VariableSet::difference(nullptr, parent.get()).size() == 3);
    CHECK(VariableSet::difference(parent.get(), nullptr).size() == 3);
    CHECK(VariableSet::difference(parent.get(), resolve({{"--c", "3"}, {"--b", "1"}, {"--a", "1"}}).get()).empty());
}

TEST_CASE("variables: names in one another are followed 32 deep and no further")
{
    Definitions chain{{"--v0", "1"}};
    for (int i = 1; i <= 34; ++i)
        chain.push_back({"--v" + std::to_string(i), "var(--v" + std::to_string(i - 1) + ")"});
    const auto variables = resolve(chain);
    CHECK(substituted("var(--v32)", variables) == "1");
    CHECK(substituted("var(--v33)", variables)
          == "[the variable '--v33' (t.css:1:2) is invalid: variables name one another more than 32 deep]");
}

TEST_CASE("variables: a value that grows beyond 64 KiB is invalid, and so are variables that do together")
{
    Definitions doubling{{"--v0", std::string(100, 'x')}};
    for (int i = 1; i <= 20; ++i) {
        const std::string name = "var(--v" + std::to_string(i - 1) + ")";
        doubling.push_back({"--v" + std::to_string(i), name + " " + name});
    }
    const auto variables = resolve(doubling);
    CHECK(substituted("var(--v9)", variables).size() > 50000);
    CHECK(substituted("var(--v9) var(--v9)", variables) == "[with its variables the value has more than 65536 characters]");
    CHECK(substituted("var(--v10)", variables).find("more than 65536 characters") != std::string::npos);

    const auto exact = resolve({{"--a", std::string(65536, 'x')}, {"--b", std::string(65537, 'x')}});
    CHECK(substituted("var(--a)", exact).size() == 65536);
    CHECK(substituted("var(--b)", exact) == "[with its variables the value has more than 65536 characters]");

    Definitions many{{"--long", std::string(60000, 'x')}};
    for (int i = 0; i < 40; ++i)
        many.push_back({"--m" + std::to_string(i), "var(--long) y"});
    const auto large = resolve(many);
    int valid = 0;
    for (int i = 0; i < 40; ++i)
        valid += substituted("var(--m" + std::to_string(i) + ")", large).front() != '[';
    CHECK(valid == 17);
}

TEST_CASE("variables: blocks in one another are read 32 deep")
{
    for (const int depth : {32, 33}) {
        CAPTURE(depth);
        const std::string open(std::size_t(depth), '(');
        const Tokens tokens = tokensOf(open.c_str());
        StyleSheetError error;
        CHECK(checkVariableTokens(tokens, 0, int(tokens.list.size()) - 1, error) == (depth == 32));
        CHECK(error.column == (depth == 32 ? 1 : 33)); // of the first too many
    }
}

TEST_CASE("variables: what may not stand in a definition or a reference has its place")
{
    struct Row
    {
        const char* value;
        const char* error; ///< null for none
    };
    const Row rows[] = {
        {"", nullptr},
        {"a { b: c; } [d] (e)", nullptr},
        {"var(--a)", nullptr},
        {"var(--a", nullptr},
        {"f(var( --a , b, c))", nullptr},
        {"a)", "2: unexpected ')'"},
        {"(a]", "3: unexpected ']'"},
        {"var()", "5: expected the name of a variable, such as '--name', in 'var()'"},
        {"var(a)", "5: expected the name of a variable, such as '--name', in 'var()'"},
        {"var(--)", "5: expected the name of a variable, such as '--name', in 'var()'"},
        {"var(, b)", "5: expected the name of a variable, such as '--name', in 'var()'"},
        {"var(--a b)", "9: expected ',' or ')' in 'var()'"},
        {"var(--a, var(b))", "14: expected the name of a variable, such as '--name', in 'var()'"},
        {"\"a\nb", "1: the text is not closed on its line"},
        {"a ! b", "3: unexpected '!'"},
        {"var(--a, b ! c)", "12: unexpected '!'"},
        {"var(--a, ;)", "10: unexpected ';'"},
        {"(!;) var(--a, f(!;))", nullptr},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.value));
        const Tokens tokens = tokensOf(row.value);
        StyleSheetError error;
        const bool ok = checkVariableTokens(tokens, 0, int(tokens.list.size()) - 1, error);
        CHECK(ok == (row.error == nullptr));
        if (!ok && row.error)
            CHECK(std::to_string(error.column) + ": " + error.text.toStdString() == row.error);
    }
}
