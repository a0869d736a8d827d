#include "sheet/StyleSheetParser.hpp"

#include "selectors/SelectorParser.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/FontSize.hpp"
#include "values/InheritedValues.hpp"
#include "values/Shorthand.hpp"
#include "values/ValueParser.hpp"
#include "values/Variables.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <tuple>
#include <utility>

namespace Cascara
{
namespace
{
using Kind = Token::Kind;
int g_lastSerial = 0;

/// False, with the reason in `expected`, for a value that is none.
bool readTransition(Declaration& declaration, QString& expected)
{
    declaration.isTransition = true;
    if (declaration.tokens || wideKeyword(declaration.value) != WideKeyword::None)
        return true;
    auto list = std::make_shared<TransitionList>();
    if (!TransitionList::read(declaration.value, *list, expected))
        return false;
    declaration.transitions = std::move(list);
    return true;
}

/// Also as the fallback of a variable.
bool saysInherit(const Declaration& declaration)
{
    if (!declaration.tokens)
        return declaration.keyword == WideKeyword::Inherit;
    const auto& list = declaration.tokens->list;
    return std::any_of(list.begin(), list.end(), [](const Token& token) {
        return token.kind == Kind::Ident && wideKeyword(token.text) == WideKeyword::Inherit;
    });
}
}

StyleSheetParser::StyleSheetParser(Tokens tokens, QString baseDirectory)
    : m_tokens(std::move(tokens)), m_baseDirectory(std::move(baseDirectory)), m_sheet(std::make_unique<StyleSheet>())
{
}

std::unique_ptr<StyleSheet> StyleSheetParser::parse(const QString& text, const QString& name, const QString& baseDirectory)
{
    StyleSheetParser parser(Tokenizer::run(text), baseDirectory);
    parser.m_sheet->name = name;
    parser.m_sheet->baseDirectory = baseDirectory;
    parser.m_sheet->errors = std::move(parser.m_tokens.errors);
    parser.parseSheet();
    auto& errors = parser.m_sheet->errors;
    std::stable_sort(errors.begin(), errors.end(),
                     [](const auto& a, const auto& b) { return std::tie(a.line, a.column) < std::tie(b.line, b.column); });
    return std::move(parser.m_sheet);
}

void StyleSheetParser::error(const Token& where, const QString& text)
{
    m_sheet->errors.push_back({where.line, where.column, text});
}

void StyleSheetParser::skipComponent()
{
    std::vector<Kind> closing;
    do {
        switch (kind()) {
        case Kind::End: return;
        case Kind::OpenCurly: closing.push_back(Kind::CloseCurly); break;
        case Kind::OpenSquare: closing.push_back(Kind::CloseSquare); break;
        case Kind::OpenRound:
        case Kind::Function: closing.push_back(Kind::CloseRound); break;
        default:
            if (!closing.empty() && kind() == closing.back())
                closing.pop_back();
            break;
        }
        ++m_position;
    } while (!closing.empty());
}

void StyleSheetParser::skipBlanks()
{
    while (kind() == Kind::Whitespace)
        ++m_position;
}

void StyleSheetParser::parseSheet()
{
    while (kind() != Kind::End) {
        switch (kind()) {
        case Kind::Whitespace:
        case Kind::Cdo:
        case Kind::Cdc: ++m_position; break;
        case Kind::AtKeyword: parseAtRule(false); break;
        default: parseRule(); break;
        }
    }
}

void StyleSheetParser::parseAtRule(bool inBlock)
{
    const Token& at = token(m_position++);
    if (!inBlock && m_mediaDepth < kDeepestNesting && at.text.compare(QLatin1String("media"), Qt::CaseInsensitive) == 0) {
        parseMedia(at);
        return;
    }
    const int first = m_position;
    bool hasBlock = false;
    while (kind() != Kind::Semicolon && kind() != Kind::End && !hasBlock && !(inBlock && kind() == Kind::CloseCurly)) {
        hasBlock = kind() == Kind::OpenCurly;
        skipComponent();
    }
    const int end = m_position;
    if (!hasBlock && kind() == Kind::Semicolon)
        ++m_position;
    const QString name = at.text.toLower();
    if (name == QLatin1String("charset") && !hasBlock && !inBlock)
        return; // style sheets are UTF-8 here
    if (name == QLatin1String("import") && !hasBlock && !inBlock && parseImport(first, end, at))
        return;
    if (name != QLatin1String("import") || hasBlock || inBlock)
        error(at,
              QStringLiteral("@%1 is not supported%2; it is skipped")
                  .arg(at.text,
                       inBlock ? QString() : Facet::didYouMean(name, {QStringLiteral("import"), QStringLiteral("media")})));
}

void StyleSheetParser::parseMedia(const Token& at)
{
    const int first = m_position;
    while (kind() != Kind::OpenCurly && kind() != Kind::Semicolon && kind() != Kind::End)
        skipComponent();
    if (kind() != Kind::OpenCurly) {
        error(at, QStringLiteral("expected '{' after '@media'; it is skipped"));
        m_position += kind() == Kind::Semicolon ? 1 : 0;
        return;
    }
    auto scope = std::make_shared<MediaScope>();
    scope->query = MediaQuery::parse(m_tokens, first, m_position, m_sheet->errors);
    scope->around = m_media;
    const auto around = std::exchange(m_media, std::move(scope));
    const Token& open = token(m_position++);
    ++m_mediaDepth;
    while (kind() != Kind::End && kind() != Kind::CloseCurly) {
        if (kind() == Kind::Whitespace)
            ++m_position;
        else if (kind() == Kind::AtKeyword)
            parseAtRule(false);
        else
            parseRule();
    }
    --m_mediaDepth;
    m_media = around;
    if (kind() == Kind::End)
        error(open, QStringLiteral("the block is not closed; it ends with the file"));
    else
        ++m_position;
}

bool StyleSheetParser::parseImport(int first, int end, const Token& at)
{
    if (!m_sheet->rules.empty() || m_media) {
        error(at, QStringLiteral("@import must stand before all rules; it is skipped"));
        return true;
    }
    ValueParser parser(m_tokens, QString());
    Facet::StyleValue value;
    if (!parser.parse(first, end, value) || value.terms.size() != 1
        || (value.terms[0].kind != Facet::StyleTerm::Kind::String && value.terms[0].kind != Facet::StyleTerm::Kind::Url)) {
        error(at, QStringLiteral("@import: expected one file name in quotes; it is skipped"));
        return true;
    }
    m_sheet->imports.push_back({value.terms[0].text, at.line, at.column});
    return true;
}

void StyleSheetParser::parseRule()
{
    const int first = m_position;
    while (kind() != Kind::OpenCurly && kind() != Kind::End && !(m_mediaDepth > 0 && kind() == Kind::CloseCurly))
        skipComponent();
    if (kind() != Kind::OpenCurly) {
        error(token(first),
              QStringLiteral("expected '{' after '%1'; the rule is skipped").arg(m_tokens.textBetween(first, m_position)));
        return;
    }
    int end = m_position;
    while (end > first && token(end - 1).kind == Kind::Whitespace)
        --end;
    auto rule = std::make_unique<Rule>();
    rule->sheet = m_sheet.get();
    rule->media = m_media;
    SelectorParser selectors(m_tokens, first, end);
    const bool isSelector = selectors.parseList(rule->selectors);
    m_sheet->errors.insert(m_sheet->errors.end(), selectors.listErrors().begin(), selectors.listErrors().end());
    if (!isSelector) {
        m_sheet->errors.push_back(selectors.error());
        m_sheet->errors.back().text += QStringLiteral("; the rule is skipped");
        skipComponent();
        return;
    }
    parseDeclarations(rule.get());
    for (Declaration& declaration : rule->declarations)
        declaration.rule = rule.get();
    m_sheet->rules.push_back(std::move(rule));
}

void StyleSheetParser::parseDeclarations(Rule* rule)
{
    const Token& open = token(m_position++);
    for (;;) {
        switch (kind()) {
        case Kind::Whitespace:
        case Kind::Semicolon: ++m_position; continue;
        case Kind::CloseCurly: ++m_position; return;
        case Kind::End: error(open, QStringLiteral("the block is not closed; it ends with the file")); return;
        case Kind::AtKeyword: parseAtRule(true); continue;
        default: break;
        }
        const int first = m_position;
        while (kind() != Kind::Semicolon && kind() != Kind::CloseCurly && kind() != Kind::End)
            skipComponent();
        parseDeclaration(rule, first, m_position);
    }
}

void StyleSheetParser::parseDeclaration(Rule* rule, int first, int end)
{
    const Token& name = token(first);
    const auto skipped = [this](const Token& where, const QString& text) {
        error(where, text + QStringLiteral("; the declaration is skipped"));
    };
    if (name.kind != Kind::Ident) {
        skipped(name, QStringLiteral("expected an attribute name, got '%1'").arg(m_tokens.textBetween(first, first + 1)));
        return;
    }
    int position = first + 1;
    while (position < end && token(position).kind == Kind::Whitespace)
        ++position;
    if (position == end || token(position).kind != Kind::Colon) {
        skipped(name, QStringLiteral("%1: expected ':' after the attribute name").arg(name.text));
        return;
    }
    ++position;
    const auto trim = [&] {
        while (end > position && token(end - 1).kind == Kind::Whitespace)
            --end;
    };
    trim();
    Declaration declaration;
    if (end - position >= 2 && token(end - 1).kind == Kind::Ident
        && token(end - 1).text.compare(QLatin1String("important"), Qt::CaseInsensitive) == 0) {
        int mark = end - 2;
        while (mark > position && token(mark).kind == Kind::Whitespace)
            --mark;
        if (token(mark).kind == Kind::Delim && token(mark).text == QLatin1String("!")) {
            declaration.isImportant = true;
            end = mark;
            trim();
        }
    }
    StyleSheetError wrong;
    declaration.isVariable = name.text.size() > 2 && name.text.startsWith(QLatin1String("--"));
    if (!parseValue(position, end, declaration, wrong)) {
        wrong.text = QStringLiteral("%1: %2; the declaration is skipped").arg(name.text, wrong.text);
        m_sheet->errors.push_back(wrong);
        return;
    }
    if (!declaration.tokens && declaration.value.terms.isEmpty()) {
        skipped(name, QStringLiteral("%1: expected a value").arg(name.text));
        return;
    }
    declaration.line = name.line;
    declaration.column = name.column;
    const QByteArray attribute = name.text.toUtf8();
    QString expected;
    if (attribute == "transition" && !readTransition(declaration, expected)) {
        skipped(token(position), QStringLiteral("%1: %2, got '%3'").arg(name.text, expected, declaration.value.toString()));
        return;
    }
    if (Shorthand::isShorthand(attribute)) {
        if (!addShorthand(*rule, attribute, declaration, expected))
            skipped(token(position), QStringLiteral("%1: %2, got '%3'").arg(name.text, expected, declaration.value.toString()));
    } else {
        add(*rule, attribute, std::move(declaration));
    }
}

void StyleSheetParser::add(Rule& rule, const QByteArray& attribute, Declaration declaration)
{
    declaration.attribute = attribute;
    declaration.isInherited = isInheritedAttribute(attribute);
    declaration.usesFontSize = usesFontSize(attribute, declaration.value);
    declaration.keyword = wideKeyword(declaration.value);
    declaration.takesFromParent = !declaration.isVariable && !declaration.isInherited && saysInherit(declaration);
    declaration.attributeNumber = Facet::NameTable::instance().number(attribute);
    declaration.serial = ++g_lastSerial;
    rule.declarations.push_back(std::move(declaration));
}

/// One declaration for each attribute that it stands for. False, with the reason in `expected`, when its value cannot be parted.
bool StyleSheetParser::addShorthand(Rule& rule, const QByteArray& name, Declaration declaration, QString& expected)
{
    if (declaration.tokens) { // what they mean shows in a node
        declaration.shorthand = name;
        for (const QByteArray& attribute : Shorthand::attributes(name)) {
            add(rule, attribute, declaration);
            declaration.isFollowing = true;
        }
        return true;
    }
    std::vector<Shorthand::Part> parts;
    if (!Shorthand::expand(name, declaration.value, parts, expected))
        return false;
    for (Shorthand::Part& part : parts) {
        declaration.value = std::move(part.value);
        add(rule, part.attribute, declaration);
    }
    return true;
}

/// Tokens of a variable and of a value that names variables are kept: what they mean shows in a node.
bool StyleSheetParser::parseValue(int first, int end, Declaration& declaration, StyleSheetError& wrong)
{
    if (declaration.isVariable || namesVariables(m_tokens, first, end)) {
        while (first < end && token(first).kind == Kind::Whitespace)
            ++first;
        if (!checkVariableTokens(m_tokens, first, end, wrong))
            return false;
        declaration.tokens = std::make_shared<const Tokens>(cutOut(m_tokens, first, end));
        return true;
    }
    ValueParser values(m_tokens, m_baseDirectory);
    if (values.parse(first, end, declaration.value))
        return true;
    wrong = values.error();
    return false;
}
}
