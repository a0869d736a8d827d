#include "sheet/KeyframesParser.hpp"

#include "sheet/DeclarationParser.hpp"
#include "values/WideKeyword.hpp"

namespace Cascara
{
namespace
{
using Kind = Token::Kind;

bool isWord(const Token& token, const char* word)
{
    return token.kind == Kind::Ident && token.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}
}

void KeyframesParser::skipBlanks()
{
    while (m_reader.kind() == Kind::Whitespace)
        ++m_reader.position;
}

/// Moves to the block in any case.
bool KeyframesParser::readName(QString& name)
{
    skipBlanks();
    const Token& token = m_reader.token(m_reader.position);
    const bool isNone = isWord(token, "none") || (token.kind == Kind::Ident && wideKeyword(token.text) != WideKeyword::None);
    const bool isName = (token.kind == Kind::Ident && !isNone) || (token.kind == Kind::String && !token.text.isEmpty());
    name = token.text;
    if (isName)
        ++m_reader.position;
    skipBlanks();
    if (isName && m_reader.kind() == Kind::OpenCurly)
        return true;
    while (m_reader.kind() != Kind::OpenCurly && m_reader.kind() != Kind::Semicolon && m_reader.kind() != Kind::End)
        m_reader.skipComponent();
    return false;
}

void KeyframesParser::parse(const Token& at)
{
    auto keyframes = std::make_shared<Keyframes>();
    keyframes->media = m_media;
    if (!readName(keyframes->name)) {
        m_reader.error(at, QStringLiteral("expected a name and '{' after '@keyframes'; it is skipped"));
        if (m_reader.kind() != Kind::End)
            m_reader.skipComponent();
        return;
    }
    const Token& open = m_reader.token(m_reader.position++);
    for (;;) {
        skipBlanks();
        if (m_reader.kind() == Kind::End) {
            m_reader.error(open, QStringLiteral("the block is not closed; it ends with the file"));
            break;
        }
        if (m_reader.kind() == Kind::CloseCurly) {
            ++m_reader.position;
            break;
        }
        parseFrame(*keyframes);
    }
    m_reader.sheet().keyframes.push_back(std::move(keyframes));
}

void KeyframesParser::parseFrame(Keyframes& keyframes)
{
    const int first = m_reader.position;
    while (m_reader.kind() != Kind::OpenCurly && m_reader.kind() != Kind::End && m_reader.kind() != Kind::CloseCurly)
        m_reader.skipComponent();
    const QString written = m_reader.tokens().textBetween(first, m_reader.position);
    const Token& where = m_reader.token(first);
    if (m_reader.kind() != Kind::OpenCurly) {
        m_reader.error(where, QStringLiteral("expected '{' after '%1'; the keyframe is skipped").arg(written));
        return;
    }
    std::vector<double> offsets;
    if (!readOffsets(first, m_reader.position, offsets)) {
        m_reader.error(
            where,
            QStringLiteral("expected from, to or a percentage up to 100%, got '%1'; the keyframe is skipped").arg(written));
        m_reader.skipComponent();
        return;
    }
    auto rule = std::make_shared<Rule>();
    rule->sheet = &m_reader.sheet();
    DeclarationParser(m_reader, DeclarationParser::Block::Keyframe).parseBlock(*rule);
    for (const double offset : offsets)
        keyframes.frames.push_back({offset, rule});
}

/// Moments with commas between them.
bool KeyframesParser::readOffsets(int first, int end, std::vector<double>& offsets) const
{
    bool expectsOffset = true;
    for (int i = first; i < end; ++i) {
        const Token& token = m_reader.token(i);
        if (token.kind == Kind::Whitespace)
            continue;
        if (!expectsOffset && token.kind == Kind::Comma) {
            expectsOffset = true;
            continue;
        }
        const bool isShare = token.kind == Kind::Percentage && token.number >= 0.0 && token.number <= 100.0;
        if (!expectsOffset || (!isShare && !isWord(token, "from") && !isWord(token, "to")))
            return false;
        offsets.push_back(isShare ? token.number / 100.0 : isWord(token, "to") ? 1.0 : 0.0);
        expectsOffset = false;
    }
    return !expectsOffset;
}
}
