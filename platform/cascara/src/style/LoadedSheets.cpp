#include "style/LoadedSheets.hpp"

#include "motion/AnimationList.hpp"
#include "sheet/SheetMessages.hpp"
#include "style/DeclaredValue.hpp"
#include "values/ValueParser.hpp"
#include "values/Variables.hpp"

#include <Bedrock/LocalPath.hpp>
#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
void reportMissingKeyframes(const Declaration& declaration, const QStringList& known)
{
    MotionValues values{};
    values[std::size_t(MotionLonghand::AnimationName)] = &declaration.value;
    AnimationList list;
    QString ignored;
    (void)AnimationList::read(values, list, ignored);
    for (const Animation& animation : list.all())
        if (!known.contains(animation.name))
            reportDeclaration(declaration,
                              QStringLiteral("there are no @keyframes '%1'%2; nothing moves")
                                  .arg(animation.name, Facet::didYouMean(animation.name, known)));
}

void reportMissingVariables(const Declaration& declaration, const QSet<QString>& known)
{
    for (const QString& name : requiredVariables(*declaration.tokens))
        if (!known.contains(name))
            reportDeclaration(declaration,
                              QStringLiteral("there is no variable '%1'%2; %3")
                                  .arg(name, Facet::didYouMean(name, known.values()),
                                       declaration.isInherited ? QStringLiteral("the inherited value is used")
                                                               : QStringLiteral("the default is used")));
}

bool namesFile(const Declaration& declaration, const QString& path)
{
    const auto isIt = [&](const QString& url) {
        return Bedrock::localPath(ValueParser::resolve(url, declaration.rule->sheet->baseDirectory)) == path;
    };
    for (const Facet::StyleTerm& term : declaration.value.terms)
        if (term.kind == Facet::StyleTerm::Kind::Url && isIt(term.text))
            return true;
    if (!declaration.tokens)
        return false;
    // `url("file")` is a function with a text.
    return std::any_of(declaration.tokens->list.begin(), declaration.tokens->list.end(), [&](const Token& token) {
        return (token.kind == Token::Kind::Url || token.kind == Token::Kind::String) && isIt(token.text);
    });
}

const Declaration* findFile(const Rule& rule, const QString& path)
{
    const auto found = std::find_if(rule.declarations.begin(), rule.declarations.end(),
                                    [&path](const Declaration& declaration) { return namesFile(declaration, path); });
    return found != rule.declarations.end() ? &*found : nullptr;
}
}

QString LoadedSheets::placeOfFile(const QString& path) const
{
    for (const auto& sheet : m_sheets) {
        const Declaration* named = nullptr;
        for (std::size_t i = 0; i < sheet->rules.size() && !named; ++i)
            named = findFile(*sheet->rules[i], path);
        if (named)
            return QStringLiteral("%1:%2:%3").arg(sheet->name).arg(named->line).arg(named->column);
    }
    return {};
}

void LoadedSheets::add(Sheets sheets)
{
    for (auto& sheet : sheets)
        m_sheets.push_back(std::move(sheet));
    m_isChecked = false;
}

void LoadedSheets::retireAll()
{
    for (auto& sheet : m_sheets)
        m_retired.push_back(std::move(sheet));
    m_sheets.clear();
}

bool LoadedSheets::updateRulesInForce(const Media& media)
{
    bool changes = false;
    for (const auto& sheet : m_sheets) {
        for (const auto& rule : sheet->rules)
            if (rule->media)
                changes |= std::exchange(rule->isInForce, rule->media->matches(media)) != rule->isInForce;
        for (const auto& keyframes : sheet->keyframes)
            if (keyframes->media)
                changes |= std::exchange(keyframes->isInForce, keyframes->media->matches(media)) != keyframes->isInForce;
    }
    return changes;
}

std::shared_ptr<const Keyframes> LoadedSheets::findKeyframes(const QString& name) const
{
    for (auto sheet = m_sheets.rbegin(); sheet != m_sheets.rend(); ++sheet)
        for (auto keyframes = (*sheet)->keyframes.rbegin(); keyframes != (*sheet)->keyframes.rend(); ++keyframes)
            if ((*keyframes)->name == name && (*keyframes)->isInForce)
                return *keyframes;
    return nullptr;
}

QStringList LoadedSheets::keyframeNames() const
{
    QStringList names;
    for (const auto& sheet : m_sheets)
        for (const auto& keyframes : sheet->keyframes)
            names.append(keyframes->name);
    return names;
}

QSet<QString> LoadedSheets::variableNames() const
{
    QSet<QString> names;
    for (const auto& sheet : m_sheets)
        for (const auto& rule : sheet->rules)
            for (const Declaration& declaration : rule->declarations)
                if (declaration.isVariable)
                    names << QString::fromUtf8(declaration.attribute);
    return names;
}

void LoadedSheets::reportMissing()
{
    if (std::exchange(m_isChecked, true))
        return;
    const SheetMessages::Collection inOrder;
    const QStringList keyframes = keyframeNames();
    const QSet<QString> variables = variableNames();
    for (const auto& sheet : m_sheets)
        for (const auto& rule : sheet->rules)
            for (const Declaration& declaration : rule->declarations) {
                if (declaration.motionLonghand == int(MotionLonghand::AnimationName) && declaration.isConstant())
                    reportMissingKeyframes(declaration, keyframes);
                else if (declaration.tokens && !declaration.isVariable && !declaration.isFollowing)
                    reportMissingVariables(declaration, variables);
            }
}
}
