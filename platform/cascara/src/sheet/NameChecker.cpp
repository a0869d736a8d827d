#include "sheet/NameChecker.hpp"

#include "sheet/SheetWarnings.hpp"
#include "values/InheritedValues.hpp"
#include "values/ValueSuggestion.hpp"

#include <Cascara/StyleVocabulary.hpp>
#include <Facet/AttributeDeclaration.hpp>
#include <Facet/NameTable.hpp>
#include <Facet/NearestWord.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <tuple>

namespace Cascara
{
namespace
{
QString textOf(int name)
{
    return QString::fromUtf8(Facet::NameTable::instance().name(name));
}

/// "; ImageWidget has", or a name that was probably meant, or nothing.
QString hint(const QStringList& owners, const QString& written, const QStringList& words)
{
    constexpr int kMost = 3;
    if (owners.isEmpty())
        return Facet::didYouMean(written, words);
    const QString list = QStringList(owners.mid(0, kMost)).join(QStringLiteral(", "));
    return QStringLiteral("; %1%2 %3")
        .arg(list, owners.size() > kMost ? QStringLiteral(" …") : QString(),
             owners.size() == 1 ? QStringLiteral("has") : QStringLiteral("have"));
}

std::optional<QStringList> typesOf(const Selector& selector);

/// The types that a compound can match; nothing for any.
std::optional<QStringList> typesOf(const Compound& compound)
{
    for (const Feature& feature : compound.features)
        if (feature.kind == Feature::Kind::Type)
            return QStringList{textOf(feature.name)};
    for (const Alternatives& list : compound.alternatives) {
        if (list.isNegation)
            continue;
        QStringList types;
        bool isAny = false;
        for (const Selector& selector : list.selectors) {
            const auto more = typesOf(selector);
            isAny = isAny || !more;
            types += more.value_or(QStringList());
        }
        if (!isAny)
            return types;
    }
    return std::nullopt;
}

std::optional<QStringList> typesOf(const Selector& selector)
{
    return typesOf(selector.parts.front().compound);
}

/// Pseudo-classes of CSS that any widget may have.
const QStringList& structuralStates()
{
    static const QStringList kNames{QStringLiteral("first-child"), QStringLiteral("last-child"), QStringLiteral("root")};
    return kNames;
}

/// Pseudo-classes of browsers that no widget has.
bool isOfBrowsers(const QString& state)
{
    static const QStringList kNames{
        QStringLiteral("hover"),        QStringLiteral("visited"),       QStringLiteral("link"),
        QStringLiteral("only-child"),   QStringLiteral("first-of-type"), QStringLiteral("last-of-type"),
        QStringLiteral("only-of-type"), QStringLiteral("focus-within"),  QStringLiteral("focus-visible")};
    return kNames.contains(state);
}

/// What the engine itself understands.
bool isOfTheEngine(const Declaration& declaration)
{
    return declaration.isVariable || declaration.motionLonghand >= 0;
}
}

void NameChecker::run()
{
    // The texts of a language, say, are variables alone.
    const bool hasAttributes =
        !m_sheet.keyframes.empty() || std::any_of(m_sheet.rules.begin(), m_sheet.rules.end(), [](const auto& rule) {
            return !std::all_of(rule->declarations.begin(), rule->declarations.end(), &isOfTheEngine);
        });
    const auto samples = hasAttributes ? StyleVocabulary::makeSamples() : std::vector<std::shared_ptr<Facet::Node>>();
    for (const auto& sample : samples)
        (void)sample->attributes(); // also those that are made when they are needed
    for (const auto& rule : m_sheet.rules) {
        if (isFull())
            break;
        for (const SelectorName& name : rule->names)
            checkName(name);
        checkRule(*rule);
    }
    for (const auto& keyframes : m_sheet.keyframes)
        for (const Keyframe& frame : keyframes->frames)
            if (!isFull())
                checkRule(*frame.rule);
    std::stable_sort(m_sheet.errors.begin(), m_sheet.errors.end(),
                     [](const auto& a, const auto& b) { return std::tie(a.line, a.column) < std::tie(b.line, b.column); });
}

bool NameChecker::isFull() const
{
    return m_sheet.errors.size() > std::size_t(SheetWarnings::kMost);
}

const NameChecker::Type& NameChecker::typeNamed(const QString& name)
{
    auto found = m_types.find(name);
    if (found == m_types.end())
        found = m_types.insert(
            name, {StyleVocabulary::hasType(name), StyleVocabulary::attributesOf(name), StyleVocabulary::statesOf(name)});
    return *found;
}

const QStringList& NameChecker::owners(const QString& attribute)
{
    auto found = m_owners.find(attribute);
    if (found == m_owners.end())
        found = m_owners.insert(attribute, StyleVocabulary::typesWithAttribute(attribute));
    return *found;
}

const std::vector<StyleAttribute>& NameChecker::valuesOf(const QString& type, const QString& attribute)
{
    const QPair<QString, QString> key{type, attribute};
    auto found = m_values.find(key);
    if (found == m_values.end())
        found = m_values.insert(key, StyleVocabulary::valuesOf(type, attribute));
    return *found;
}

void NameChecker::checkName(const SelectorName& name)
{
    if (name.feature.kind == Feature::Kind::PseudoClass) {
        checkState(name);
        return;
    }
    const QString type = textOf(name.feature.name);
    if (!typeNamed(type).isDeclared)
        m_sheet.errors.push_back({name.line, name.column,
                                  QStringLiteral("there is no type '%1'%2; the selector matches nothing")
                                      .arg(type, Facet::didYouMean(type, StyleVocabulary::types()))});
}

/// Any state may be set on the root, by a switch of the presentation: without a type only what is nearly a known one, or one
/// that browsers have, is a mistake.
void NameChecker::checkState(const SelectorName& name)
{
    const QString state = textOf(name.feature.name);
    const QString type = textOf(name.type);
    QString text;
    if (name.type == 0 || type == QLatin1String("Widget")) {
        const bool isKnown = !StyleVocabulary::typesWithState(state).isEmpty();
        const QString suggestion = isKnown ? QString() : Facet::didYouMean(state, StyleVocabulary::states() + structuralStates());
        if (!suggestion.isEmpty() || (!isKnown && isOfBrowsers(state)))
            text = QStringLiteral("there is no state ':%1'%2").arg(state, suggestion);
    } else if (typeNamed(type).isDeclared && !typeNamed(type).states.contains(state)) {
        text = QStringLiteral("%1 has no state ':%2'%3")
                   .arg(StyleVocabulary::withArticle(type), state,
                        hint(StyleVocabulary::typesWithState(state), state, typeNamed(type).states + structuralStates()));
    }
    if (!text.isEmpty())
        m_sheet.errors.push_back({name.line, name.column, text + QStringLiteral("; the selector matches nothing")});
}

void NameChecker::checkRule(const Rule& rule)
{
    m_matched.clear();
    for (const Selector& selector : rule.selectors)
        m_matched.push_back(typesOf(selector));
    for (const Declaration& declaration : rule.declarations)
        if (!isOfTheEngine(declaration) && !declaration.isReported && !declaration.isReset && !declaration.isFollowing)
            checkAttribute(declaration, QString::fromUtf8(declaration.attribute));
}

void NameChecker::checkAttribute(const Declaration& declaration, const QString& attribute)
{
    if (isInheritedAttribute(declaration.attribute)) { // right on every widget
        report(declaration, complaintAboutValue(declaration, attribute, {QString()}), {});
        return;
    }
    const QStringList& owners = this->owners(attribute);
    if (owners.isEmpty()) {
        // An attribute that a library made without declaring it is not compared.
        if (!Facet::AttributeDeclaration::isKnownName(Facet::AttributeName(declaration.attribute))
            && !m_isMadeLater(declaration.attribute))
            report(declaration,
                   QStringLiteral("no attribute has this name")
                       + Facet::didYouMean(attribute, StyleVocabulary::attributes() + Facet::AttributeDeclaration::knownNames()),
                   {});
        return;
    }
    if (m_matched.empty()) { // keyframes
        report(declaration, complaintAboutValue(declaration, attribute, owners), {});
        return;
    }
    QString text;
    QStringList unfit; // types that do not get the value
    bool fitsSome = false;
    for (const auto& types : m_matched) {
        const QString complaint = complaintAboutTypes(declaration, attribute, types.value_or(QStringList()));
        fitsSome = fitsSome || complaint.isEmpty();
        if (complaint.isEmpty())
            continue;
        if (text.isEmpty())
            text = complaint;
        unfit += types.value_or(QStringList());
    }
    unfit.removeDuplicates();
    report(declaration, text, fitsSome ? unfit : QStringList());
}

/// `types`: those that a selector can match, none where it can match any.
QString NameChecker::complaintAboutTypes(const Declaration& declaration, const QString& attribute, const QStringList& types)
{
    const QStringList& owners = this->owners(attribute);
    if (types.isEmpty())
        return complaintAboutValue(declaration, attribute, owners);
    QStringList having;
    for (const QString& type : types)
        if (!typeNamed(type).isDeclared || typeNamed(type).attributes.contains(attribute))
            having.append(type);
    if (!having.isEmpty())
        return complaintAboutValue(declaration, attribute, having);
    return QStringLiteral("%1 has no '%2'%3")
        .arg(StyleVocabulary::withArticle(types.first()), attribute,
             hint(owners, attribute, typeNamed(types.first()).attributes));
}

/// A value is wrong when it is the one of no type: by its declaration, or else by the attributes of that name that there are.
/// What has variables or depends on the font size shows in a node.
QString NameChecker::complaintAboutValue(const Declaration& declaration, const QString& attribute, const QStringList& types)
{
    if (!declaration.isConstant())
        return {};
    QString expected;
    const auto isAccepted = [&](const QString& type) {
        QString complaint;
        const auto& values = valuesOf(type, attribute);
        const bool accepts = values.empty()
            ? Facet::AttributeDeclaration::anyAccepts(Facet::AttributeName(declaration.attribute), declaration.value, &complaint)
            : std::any_of(values.begin(), values.end(),
                          [&](const StyleAttribute& own) { return own.accepts(declaration.value, &complaint); });
        // Of several complaints the one that suggests something.
        if (expected.isEmpty() || complaint.contains(QLatin1String("(did you mean")))
            expected = complaint;
        return accepts;
    };
    if (std::any_of(types.begin(), types.end(), isAccepted))
        return {};
    return QStringLiteral("%1, got '%2'").arg(withFunctionSuggestion(expected, declaration.value), declaration.value.toString());
}

void NameChecker::report(const Declaration& declaration, const QString& text, const QStringList& unfit)
{
    if (text.isEmpty())
        return;
    declaration.isReported = true;
    const QByteArray& written = declaration.shorthand.isEmpty() ? declaration.attribute : declaration.shorthand;
    const QString forWhich = unfit.isEmpty() ? QString() : QStringLiteral(" for ") + unfit.join(QStringLiteral(", "));
    m_sheet.errors.push_back(
        {declaration.line, declaration.column,
         QString::fromUtf8(written) + QStringLiteral(": ") + text + QStringLiteral("; the declaration is skipped") + forWhich});
}
}
