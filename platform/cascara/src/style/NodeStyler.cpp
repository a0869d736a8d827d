#include "style/NodeStyler.hpp"

#include "style/DeclaredValue.hpp"
#include "style/StyleEnginePrivate.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Facet/NearestWord.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
auto findApplied(StyleNode& node, int attribute)
{
    return std::lower_bound(node.applied.begin(), node.applied.end(), attribute,
                            [](const StyleNode::Applied& applied, int name) { return applied.attribute < name; });
}

/// The declaration in force, 0 for none.
int appliedDeclaration(StyleNode& node, int attribute)
{
    const auto found = findApplied(node, attribute);
    return found != node.applied.end() && found->attribute == attribute ? found->declaration : 0;
}

void setApplied(StyleNode& node, int attribute, int declaration)
{
    const auto found = findApplied(node, attribute);
    const bool exists = found != node.applied.end() && found->attribute == attribute;
    if (exists && declaration == 0)
        node.applied.erase(found);
    else if (exists)
        found->declaration = declaration;
    else if (declaration != 0)
        node.applied.insert(found, {attribute, declaration});
}
}

NodeStyler::NodeStyler(StyleNode& node, const std::vector<Candidate>& candidates, const MotionDeclarations* motion)
    : m_node(node), m_candidates(candidates), m_restyling(++node.restyling), m_motion(motion)
{
    m_node.missing.reset();
}

template <class Change>
void NodeStyler::changeValue(Facet::Attribute& attribute, Change change)
{
    if (m_node.isAnimated && restyler().animations().covers(m_node, attribute.nameNumber())) {
        if (change() && isCurrent())
            restyler().animations().restWritten(m_node, attribute);
        return;
    }
    RunningTransitions& transitions = restyler().transitions();
    if (!m_transitions && !transitions.isMoving()) {
        (void)change();
        return;
    }
    const QString before = attribute.toText();
    if (change() && isCurrent())
        transitions.valueWritten(m_node, attribute, before, m_transitions.get());
}

void NodeStyler::apply()
{
    if ((m_motion || m_node.isAnimated || restyler().transitions().isMoving()) && !readMotion())
        return;
    if (!withdraw())
        return;
    const Candidate* const last = m_candidates.data() + m_candidates.size();
    for (const Candidate* first = m_candidates.data(); first != last;) {
        const Candidate* const end = endOfAttribute(first, last);
        if (!first->declaration->isVariable && !first->declaration->isInherited && !applyAttribute(first, end))
            return;
        first = end;
    }
    if (!m_node.inheritance)
        return;
    if (m_node.inheritance->applied == m_node.inheritance->values())
        return;
    const InheritedValues::Pointer inherited = m_node.inheritance->values();
    if (inherited)
        for (const InheritedValue& value : inherited->all())
            if (!applyInherited(value))
                return;
    if (m_node.inheritance)
        m_node.inheritance->applied = inherited;
}

/// False when the node is gone or was restyled by an inner round.
bool NodeStyler::readMotion()
{
    MotionResolver& resolver = restyler().motion();
    const auto transitions = m_motion ? resolver.transitions(m_node, *m_motion) : nullptr;
    const auto animations = m_motion ? resolver.animations(m_node, *m_motion) : nullptr;
    m_transitions = restyler().mayMove(m_node) ? transitions : nullptr;
    restyler().transitions().keepOnly(m_node, transitions.get());
    if (isCurrent() && (animations || m_node.isAnimated))
        restyler().animations().setAnimations(m_node, animations, restyler().mayBegin(m_node));
    return isCurrent();
}

/// Whether a candidate or a node above says something of the attribute.
bool NodeStyler::isGiven(int attribute) const
{
    if (m_node.inheritance && m_node.inheritance->values() && m_node.inheritance->values()->find(attribute))
        return true;
    const auto candidate =
        std::lower_bound(m_candidates.begin(), m_candidates.end(), attribute,
                         [](const Candidate& entry, int number) { return entry.declaration->attributeNumber < number; });
    return candidate != m_candidates.end() && candidate->declaration->attributeNumber == attribute
        && !candidate->declaration->isInherited;
}

/// False when the node is gone or was restyled by an inner round.
bool NodeStyler::withdraw()
{
    for (int i = 0; i < m_node.applied.size();) {
        const int number = m_node.applied[i].attribute;
        if (isGiven(number)) {
            ++i;
            continue;
        }
        m_node.applied.erase(m_node.applied.begin() + i);
        if (Facet::Attribute* attribute = m_node.owner->node().attributeNumbered(number)) {
            changed(number);
            changeValue(*attribute, [&] {
                attribute->clearValue(Facet::kStyleLayer);
                return true;
            });
            if (!isCurrent())
                return false;
        }
    }
    return true;
}

void NodeStyler::attributeIsMissing(const Candidate* first, const Candidate* end)
{
    if (!m_node.missing)
        m_node.missing = std::make_unique<std::vector<int>>();
    m_node.missing->push_back(first->declaration->attributeNumber);
    const QByteArray& name = first->declaration->attribute;
    if (Facet::Attribute::isKnownName(name) || LazyAttributeManager::isRegistered(name)
        || !StyleVocabulary::typesWithAttribute(QString::fromUtf8(name)).isEmpty())
        return;
    if (m_node.isNew) {
        restyler().finishLater(m_node);
        return;
    }
    const QString suggestion = Facet::didYouMean(QString::fromUtf8(name), Facet::AttributeDeclaration::knownNames());
    for (const Candidate* candidate = first; candidate != end; ++candidate)
        reportDeclaration(*candidate->declaration,
                          QStringLiteral("no attribute has this name%1; the declaration is skipped").arg(suggestion));
}

/// Whether a shorthand resets an attribute that the node does not have, or makes only when it first has a value.
bool NodeStyler::isUnmadeReset(const Declaration& declaration)
{
    if (m_node.owner->node().hasMadeAttribute(declaration.attributeNumber))
        return false;
    if (!declaration.tokens || declaration.shorthand.isEmpty())
        return declaration.isReset;
    const DeclaredValue declared(m_node, declaration);
    return !declared.isValid() || declared.keyword() == WideKeyword::Initial;
}

/// Gives an attribute the first of its candidates that fits it, or none. False when the node is gone or was restyled meanwhile.
bool NodeStyler::applyAttribute(const Candidate* first, const Candidate* end)
{
    const int number = first->declaration->attributeNumber;
    const int before = appliedDeclaration(m_node, number);
    if (before == first->declaration->serial && first->declaration->isConstant())
        return true;
    if (before != 0 && DeclaredValue::isApplied(m_node, *first->declaration, before))
        return true;
    if (isUnmadeReset(*first->declaration))
        return true;

    Facet::Attribute* attribute = m_node.owner->node().attributeNumbered(number);
    if (!attribute) {
        setApplied(m_node, number, 0);
        attribute = LazyAttributeManager::create(*m_node.owner, first->declaration->attribute);
        if (!isCurrent())
            return false;
    }
    if (!attribute) {
        attributeIsMissing(first, end);
        return true;
    }

    for (const Candidate* candidate = first; candidate != end; ++candidate) {
        const Declaration& declaration = *candidate->declaration;
        if (declaration.isConstant() && declaration.serial == before)
            return true;
        const DeclaredValue declared(m_node, declaration);
        if (declared.isValid() && declared.keyword() == WideKeyword::Inherit) {
            takeFromParent(*attribute, declaration);
            return isCurrent();
        }
        if (!declared.isValid() || declared.keyword() != WideKeyword::None)
            break;
        QString expected;
        const bool fits = write(*attribute, declared.serial(), declared.value(), expected);
        if (!isCurrent())
            return false;
        if (fits)
            return true;
        declared.reportUnfit(expected);
        if (declaration.tokens)
            break;
    }
    clear(*attribute);
    return isCurrent();
}

/// The value that style sheets or its default give the attribute of the parent. What was set there at run time stays there.
void NodeStyler::takeFromParent(Facet::Attribute& attribute, const Declaration& declaration)
{
    const int number = declaration.attributeNumber;
    m_node.obtainInheritance().fromParent.push_back(number);
    const Styleable* const parent = m_node.owner->styleParent();
    const Facet::Attribute* const source = parent ? parent->node().attributeNumbered(number) : nullptr;
    if (!source || !source->isOfSameType(attribute)) {
        clear(attribute);
        return;
    }
    setApplied(m_node, number, declaration.serial);
    changed(number);
    changeValue(attribute, [&] {
        attribute.takeStyledValue(*source);
        return true;
    });
}

bool NodeStyler::applyInherited(const InheritedValue& inherited)
{
    const int before = appliedDeclaration(m_node, inherited.attribute);
    if (before == inherited.serial)
        return true;
    Facet::Attribute* const attribute = m_node.owner->node().attributeNumbered(inherited.attribute);
    if (!attribute) {
        setApplied(m_node, inherited.attribute, 0);
        return true;
    }
    QString unfit; // the node that declares it has a value that fits there: another type of the same name has its default
    const bool fits = write(*attribute, inherited.serial, *inherited.value, unfit);
    if (isCurrent() && !fits)
        clear(*attribute);
    return isCurrent();
}

bool NodeStyler::write(Facet::Attribute& attribute, int serial, const Facet::StyleValue& value, QString& error)
{
    const int number = attribute.nameNumber();
    const int before = appliedDeclaration(m_node, number);
    setApplied(m_node, number, serial); // before the listeners read it
    changed(number);
    bool fits = true;
    changeValue(attribute, [&] { return fits = attribute.setStyleValue(value, Facet::kStyleLayer, &error); });
    if (!fits && isCurrent())
        setApplied(m_node, number, before);
    return fits;
}

void NodeStyler::clear(Facet::Attribute& attribute)
{
    if (appliedDeclaration(m_node, attribute.nameNumber()) == 0)
        return;
    setApplied(m_node, attribute.nameNumber(), 0);
    changed(attribute.nameNumber());
    changeValue(attribute, [&] {
        attribute.clearValue(Facet::kStyleLayer);
        return true;
    });
}

void NodeStyler::changed(int attribute)
{
    if (restyler().isTakenFromParents(attribute))
        m_changedForChildren.push_back(attribute);
}
}
