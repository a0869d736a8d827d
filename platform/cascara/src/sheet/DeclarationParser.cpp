#include "sheet/DeclarationParser.hpp"

#include "motion/Animatable.hpp"
#include "motion/MotionLonghand.hpp"
#include "sheet/Shorthands.hpp"
#include "values/CurrentColor.hpp"
#include "values/FontSize.hpp"
#include "values/InheritedValues.hpp"
#include "values/ValueParser.hpp"
#include "values/ValueSuggestion.hpp"
#include "values/Variables.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
using Kind = Token::Kind;
int g_lastSerial = 0;

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

void DeclarationParser::parseBlock(Rule& rule)
{
    const Token& open = token(m_reader.position++);
    for (;;) {
        switch (m_reader.kind()) {
        case Kind::Whitespace:
        case Kind::Semicolon: ++m_reader.position; continue;
        case Kind::CloseCurly: ++m_reader.position; return;
        case Kind::End: m_reader.error(open, QStringLiteral("the block is not closed; it ends with the file")); return;
        case Kind::AtKeyword: skipAtRule(); continue;
        default: break;
        }
        const int first = m_reader.position;
        while (m_reader.kind() != Kind::Semicolon && m_reader.kind() != Kind::CloseCurly && m_reader.kind() != Kind::End)
            m_reader.skipComponent();
        parseDeclaration(rule, first, m_reader.position);
    }
}

void DeclarationParser::skipAtRule()
{
    const Token& at = token(m_reader.position++);
    bool hasBlock = false;
    while (m_reader.kind() != Kind::Semicolon && m_reader.kind() != Kind::End && m_reader.kind() != Kind::CloseCurly
           && !hasBlock) {
        hasBlock = m_reader.kind() == Kind::OpenCurly;
        m_reader.skipComponent();
    }
    m_reader.error(at, QStringLiteral("@%1 is not supported; it is skipped").arg(at.text));
}

bool DeclarationParser::takeImportant(int first, int& end) const
{
    if (end - first < 2 || token(end - 1).kind != Kind::Ident
        || token(end - 1).text.compare(QLatin1String("important"), Qt::CaseInsensitive) != 0)
        return false;
    int mark = end - 2;
    while (mark > first && token(mark).kind == Kind::Whitespace)
        --mark;
    if (token(mark).kind != Kind::Delim || token(mark).text != QLatin1String("!"))
        return false;
    end = mark;
    return true;
}

void DeclarationParser::parseDeclaration(Rule& rule, int first, int end)
{
    const Token& name = token(first);
    const auto skipped = [this](const Token& where, const QString& text) {
        m_reader.error(where, text + QStringLiteral("; the declaration is skipped"));
    };
    if (name.kind != Kind::Ident) {
        skipped(name,
                QStringLiteral("expected an attribute name, got '%1'").arg(m_reader.tokens().textBetween(first, first + 1)));
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
    declaration.isImportant = takeImportant(position, end);
    if (declaration.isImportant)
        trim();
    StyleSheetError wrong;
    declaration.isVariable = name.text.size() > 2 && name.text.startsWith(QLatin1String("--"));
    if (!parseValue(position, end, declaration, wrong)) {
        wrong.text = QStringLiteral("%1: %2; the declaration is skipped").arg(name.text, wrong.text);
        m_reader.sheet().errors.push_back(wrong);
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
    if (m_block == Block::Keyframe && declaration.isImportant) {
        skipped(name, QStringLiteral("%1: nothing in a keyframe is !important").arg(name.text));
    } else if (!fitsBlock(attribute, expected)) {
        skipped(name, expected);
    } else if (isShorthand(attribute)) {
        if (!addShorthand(rule, attribute, declaration, expected))
            skipped(token(position),
                    QStringLiteral("%1: %2, got '%3'")
                        .arg(name.text, withSuggestion(expected, declaration.value), declaration.value.toString()));
    } else {
        const int longhand = motionLonghand(attribute);
        const bool isKnown = longhand >= 0 && !declaration.tokens && wideKeyword(declaration.value) == WideKeyword::None;
        if (isKnown && !checkMotionValue(MotionLonghand(longhand), declaration.value, expected))
            skipped(token(position),
                    QStringLiteral("%1: %2, got '%3'")
                        .arg(name.text, withSuggestion(expected, declaration.value), declaration.value.toString()));
        else
            add(rule, attribute, std::move(declaration));
    }
}

/// Whether a declaration of that name may stand in the block; if not, `wrong` says why.
bool DeclarationParser::fitsBlock(const QByteArray& attribute, QString& wrong) const
{
    if (m_block == Block::Rule || attribute == "animation-timing-function")
        return true;
    std::vector<QByteArray> names{attribute};
    if (isShorthand(attribute))
        names = shorthandAttributes(attribute);
    // Of a shorthand some may stay as they are.
    if (std::any_of(names.begin(), names.end(), [](const QByteArray& name) { return isAnimatable(name); }))
        return true;
    wrong = QStringLiteral("'%1' takes no part in animations%2")
                .arg(QString::fromUtf8(attribute), nearestAnimatable(QString::fromUtf8(attribute)));
    return false;
}

void DeclarationParser::add(Rule& rule, const QByteArray& attribute, Declaration declaration)
{
    declaration.attribute = attribute;
    declaration.motionLonghand = motionLonghand(attribute);
    declaration.isInherited = isInheritedAttribute(attribute);
    declaration.usesFontSize = usesFontSize(attribute, declaration.value);
    declaration.usesColor = usesCurrentColor(attribute, declaration.value);
    declaration.keyword = wideKeywordOf(attribute, declaration.value);
    declaration.takesFromParent = !declaration.isVariable && !declaration.isInherited && saysInherit(declaration);
    declaration.attributeNumber = Facet::NameTable::instance().number(attribute);
    declaration.serial = ++g_lastSerial;
    declaration.rule = &rule;
    rule.declarations.push_back(std::move(declaration));
}

/// One declaration for each attribute that it stands for. False, with the reason in `expected`, when its value cannot be parted.
bool DeclarationParser::addShorthand(Rule& rule, const QByteArray& name, Declaration declaration, QString& expected) const
{
    if (declaration.tokens) { // what they mean shows in a node
        declaration.shorthand = name;
        for (const QByteArray& attribute : shorthandAttributes(name)) {
            add(rule, attribute, declaration);
            declaration.isFollowing = true;
        }
        return true;
    }
    std::vector<Shorthand::Part> parts;
    if (!expandShorthand(name, declaration.value, parts, expected))
        return false;
    for (Shorthand::Part& part : parts) {
        declaration.value = std::move(part.value);
        declaration.isReset = wideKeyword(declaration.value) == WideKeyword::Initial;
        // A keyframe says nothing of what its shorthand does not name.
        if (declaration.isReset && m_block == Block::Keyframe)
            continue;
        add(rule, part.attribute, declaration);
    }
    return true;
}

/// Tokens of a variable and of a value that names variables are kept: what they mean shows in a node.
bool DeclarationParser::parseValue(int first, int end, Declaration& declaration, StyleSheetError& wrong) const
{
    const Tokens& tokens = m_reader.tokens();
    if (declaration.isVariable || namesVariables(tokens, first, end)) {
        while (first < end && token(first).kind == Kind::Whitespace)
            ++first;
        if (!checkVariableTokens(tokens, first, end, wrong))
            return false;
        declaration.tokens = std::make_shared<const Tokens>(cutOut(tokens, first, end));
        return true;
    }
    ValueParser values(tokens, m_reader.baseDirectory());
    if (values.parse(first, end, declaration.value))
        return true;
    wrong = values.error();
    return false;
}
}
