#include "sheet/StyleSheetParser.hpp"

#include "selectors/SelectorParser.hpp"
#include "sheet/DeclarationParser.hpp"
#include "sheet/FontFaceParser.hpp"
#include "sheet/KeyframesParser.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <tuple>
#include <utility>

namespace Cascara
{
namespace
{
using Kind = Token::Kind;
const QStringList kAtRules{QStringLiteral("import"), QStringLiteral("media"), QStringLiteral("keyframes"),
                           QStringLiteral("font-face")};

bool isNamed(const Token& at, const char* name)
{
    return at.text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}
}

std::unique_ptr<StyleSheet> StyleSheetParser::parse(const QString& text, const QString& name, const QString& baseDirectory)
{
    auto sheet = std::make_unique<StyleSheet>();
    Tokens tokens = Tokenizer::run(text);
    sheet->name = name;
    sheet->baseDirectory = baseDirectory;
    sheet->errors = std::move(tokens.errors);
    StyleSheetParser(std::move(tokens), baseDirectory, *sheet).parseSheet();
    auto& errors = sheet->errors;
    std::stable_sort(errors.begin(), errors.end(),
                     [](const auto& a, const auto& b) { return std::tie(a.line, a.column) < std::tie(b.line, b.column); });
    return sheet;
}

void StyleSheetParser::parseSheet()
{
    while (kind() != Kind::End) {
        if (kind() == Kind::Cdo || kind() == Kind::Cdc)
            ++m_reader.position;
        else
            parseNext();
    }
}

/// A rule, an at-rule, or blanks.
void StyleSheetParser::parseNext()
{
    if (kind() == Kind::Whitespace)
        ++m_reader.position;
    else if (kind() == Kind::AtKeyword)
        parseAtRule();
    else
        parseRule();
}

void StyleSheetParser::parseAtRule()
{
    const Token& at = token(m_reader.position++);
    if (m_mediaDepth < kDeepestNesting && isNamed(at, "media")) {
        parseMedia(at);
        return;
    }
    if (isNamed(at, "keyframes")) {
        KeyframesParser(m_reader, m_media).parse(at);
        return;
    }
    const int first = m_reader.position;
    bool hasBlock = false;
    int block = 0;
    while (kind() != Kind::Semicolon && kind() != Kind::End && !hasBlock) {
        hasBlock = kind() == Kind::OpenCurly;
        block = m_reader.position;
        m_reader.skipComponent();
    }
    const int end = m_reader.position;
    if (!hasBlock && kind() == Kind::Semicolon)
        ++m_reader.position;
    if (isNamed(at, "charset") && !hasBlock)
        return; // style sheets are UTF-8 here
    if (isNamed(at, "font-face") && hasBlock) {
        if (m_media)
            m_reader.error(at,
                           QStringLiteral("@font-face cannot stand inside @media: put it outside, and name the family inside; "
                                          "it is skipped"));
        else
            FontFaceParser(m_reader).parse(at, block, end);
        return;
    }
    const bool isImport = isNamed(at, "import") && !hasBlock;
    if (isImport && parseImport(first, end, at))
        return;
    if (!isImport)
        m_reader.error(at,
                       isNamed(at, "font-face") ? QStringLiteral("@font-face: expected '{' after it; it is skipped")
                                                : QStringLiteral("@%1 is not supported%2; it is skipped")
                                                      .arg(at.text, Facet::didYouMean(at.text.toLower(), kAtRules)));
}

void StyleSheetParser::parseMedia(const Token& at)
{
    const int first = m_reader.position;
    while (kind() != Kind::OpenCurly && kind() != Kind::Semicolon && kind() != Kind::End)
        m_reader.skipComponent();
    if (kind() != Kind::OpenCurly) {
        m_reader.error(at, QStringLiteral("expected '{' after '@media'; it is skipped"));
        m_reader.position += kind() == Kind::Semicolon ? 1 : 0;
        return;
    }
    auto scope = std::make_shared<MediaScope>();
    scope->query = MediaQuery::parse(m_reader.tokens(), first, m_reader.position, m_reader.sheet().errors);
    scope->around = m_media;
    const auto around = std::exchange(m_media, std::move(scope));
    const Token& open = token(m_reader.position++);
    ++m_mediaDepth;
    while (kind() != Kind::End && kind() != Kind::CloseCurly)
        parseNext();
    --m_mediaDepth;
    m_media = around;
    if (kind() == Kind::End)
        m_reader.error(open, QStringLiteral("the block is not closed; it ends with the file"));
    else
        ++m_reader.position;
}

bool StyleSheetParser::parseImport(int first, int end, const Token& at)
{
    if (!m_reader.sheet().rules.empty() || !m_reader.sheet().keyframes.empty() || m_media) {
        m_reader.error(at, QStringLiteral("@import must stand before all rules; it is skipped"));
        return true;
    }
    ValueParser parser(m_reader.tokens(), QString());
    Facet::StyleValue value;
    if (!parser.parse(first, end, value) || value.terms.size() != 1
        || (value.terms[0].kind != Facet::StyleTerm::Kind::String && value.terms[0].kind != Facet::StyleTerm::Kind::Url)) {
        m_reader.error(at, QStringLiteral("@import: expected one file name in quotes; it is skipped"));
        return true;
    }
    m_reader.sheet().imports.push_back({value.terms[0].text, at.line, at.column});
    return true;
}

void StyleSheetParser::parseRule()
{
    const int first = m_reader.position;
    while (kind() != Kind::OpenCurly && kind() != Kind::End && !(m_mediaDepth > 0 && kind() == Kind::CloseCurly))
        m_reader.skipComponent();
    if (kind() != Kind::OpenCurly) {
        m_reader.error(token(first),
                       QStringLiteral("expected '{' after '%1'; the rule is skipped")
                           .arg(m_reader.tokens().textBetween(first, m_reader.position)));
        return;
    }
    int end = m_reader.position;
    while (end > first && token(end - 1).kind == Kind::Whitespace)
        --end;
    auto rule = std::make_unique<Rule>();
    rule->sheet = &m_reader.sheet();
    rule->media = m_media;
    SelectorParser selectors(m_reader.tokens(), first, end);
    const bool isSelector = selectors.parseList(rule->selectors);
    rule->names = selectors.names();
    m_reader.sheet().errors.insert(m_reader.sheet().errors.end(), selectors.listErrors().begin(), selectors.listErrors().end());
    if (!isSelector) {
        m_reader.sheet().errors.push_back(selectors.error());
        m_reader.sheet().errors.back().text += QStringLiteral("; the rule is skipped");
        m_reader.skipComponent();
        return;
    }
    DeclarationParser(m_reader, DeclarationParser::Block::Rule).parseBlock(*rule);
    m_reader.sheet().rules.push_back(std::move(rule));
}
}
