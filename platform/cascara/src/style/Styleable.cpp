#include <Cascara/Styleable.hpp>

#include "style/InvalidationIndex.hpp"
#include "style/NodePrefetch.hpp"
#include "style/StyleEnginePrivate.hpp"
#include "style/StyleNode.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <cassert>
#include <iterator>

namespace Cascara
{
namespace
{
int number(const QByteArray& name)
{
    return Facet::NameTable::instance().number(name);
}

bool isLanguageName(const QByteArray& pseudoClass)
{
    return pseudoClass.startsWith("lang(");
}

QList<QByteArray> namesOf(const NodeFeatures::Names& numbers)
{
    QList<QByteArray> result;
    for (const int number : numbers)
        result.append(Facet::NameTable::instance().name(number));
    return result;
}
}

Styleable::Styleable(Facet::Node& node, StylePlace place) : m_node(node), d(std::make_shared<StyleNode>(*this))
{
    if (place == StylePlace::Attached)
        d->place = 0;
    restyler().addNode(*d);
    m_node.setAttributeObserver(d.get());
}

Styleable::~Styleable()
{
    restyler().removeNode(*d);
    m_node.setAttributeObserver(nullptr);
    Styleable* const parent = m_parent;
    const NodeFeatures* const previous = d->previous;
    const NodeFeatures* const next = d->next;
    leaveStyleParent();
    d->owner = nullptr;
    // Before this object's node is gone; a list in the engine may still hold `d`.
    d->lazyAttributes.clear();
    if (parent && !parent->d->isEnding)
        restyler().restyleSiblings(previous, next);
    while (!m_children.empty()) {
        Styleable* child = m_children.back();
        child->leaveStyleParent();
        restyler().restyleSubtree(*child);
    }
}

void Styleable::leaveStyleParent()
{
    d->unlink();
    if (m_parent)
        m_parent->m_children.erase(std::find(m_parent->m_children.begin(), m_parent->m_children.end(), this));
    m_parent = nullptr;
}

void Styleable::beginStyleEnd() noexcept
{
    d->isEnding = true;
}

void Styleable::animationCovers(Facet::Attribute&) {}

void Styleable::animationUncovers(Facet::Attribute&) {}

// Each change ends with the restyling: a listener may destroy this object in it.

void Styleable::setCSSType(const QByteArray& type)
{
    const int before = d->type;
    d->type = number(type);
    if (d->type == before)
        return;
    const Feature changed[] = {{Feature::Kind::Type, before}, {Feature::Kind::Type, d->type}};
    restyler().restyleAfterChange(*this, std::begin(changed), std::end(changed));
}

QByteArray Styleable::cssType() const
{
    return Facet::NameTable::instance().name(d->type);
}

void Styleable::setCSSId(const QByteArray& id)
{
    const int before = d->id;
    d->id = number(id);
    if (d->id == before)
        return;
    const Feature changed[] = {
        {Feature::Kind::Id, before}, {Feature::Kind::Id, d->id}, {Feature::Kind::Attribute, idAttribute()}};
    restyler().restyleAfterChange(*this, std::begin(changed), std::end(changed));
}

QByteArray Styleable::cssId() const
{
    return Facet::NameTable::instance().name(d->id);
}

void Styleable::addCSSClass(const QByteArray& name)
{
    prefetchNode(*this);
    const int added = number(name);
    if (StyleNode::contains(d->classes, added))
        return;
    d->classes.append(added);
    restyler().restyleAfterChange(*this, {Feature::Kind::Class, added});
}

void Styleable::removeCSSClass(const QByteArray& name)
{
    prefetchNode(*this);
    const int removed = Facet::NameTable::instance().findNumber(name);
    const auto found = std::find(d->classes.begin(), d->classes.end(), removed);
    if (found == d->classes.end())
        return;
    d->classes.erase(found);
    restyler().restyleAfterChange(*this, {Feature::Kind::Class, removed});
}

void Styleable::removeCSSClasses(const QList<QByteArray>& names)
{
    std::vector<Feature> removed;
    for (const QByteArray& name : names) {
        const auto found = std::find(d->classes.begin(), d->classes.end(), Facet::NameTable::instance().findNumber(name));
        if (found == d->classes.end())
            continue;
        removed.push_back({Feature::Kind::Class, *found});
        d->classes.erase(found);
    }
    if (!removed.empty())
        restyler().restyleAfterChange(*this, removed.data(), removed.data() + removed.size());
}

bool Styleable::hasCSSClass(const QByteArray& name) const
{
    return StyleNode::contains(d->classes, Facet::NameTable::instance().findNumber(name));
}

QList<QByteArray> Styleable::cssClasses() const
{
    return namesOf(d->classes);
}

void Styleable::setPseudoClass(const QByteArray& name, bool on)
{
    prefetchNode(*this);
    const int changed = number(name);
    const auto found = std::find(d->pseudoClasses.begin(), d->pseudoClasses.end(), changed);
    if (on == (found != d->pseudoClasses.end()))
        return;
    if (on)
        d->pseudoClasses.append(changed);
    else
        d->pseudoClasses.erase(found);
    const bool isLanguage = isLanguageName(name);
    if (isLanguage) {
        const QList<QByteArray> names = pseudoClasses();
        d->hasLanguage = std::any_of(names.begin(), names.end(), isLanguageName);
    }
    const Feature features[] = {{Feature::Kind::PseudoClass, changed}, InvalidationIndex::kAnyLanguage};
    restyler().restyleAfterChange(*this, features, features + (isLanguage ? 2 : 1));
}

bool Styleable::hasPseudoClass(const QByteArray& name) const
{
    return StyleNode::contains(d->pseudoClasses, Facet::NameTable::instance().findNumber(name));
}

QList<QByteArray> Styleable::pseudoClasses() const
{
    return namesOf(d->pseudoClasses);
}

void Styleable::updateStyle()
{
    d->isNew = false;
    restyler().restyleSubtree(*this);
}

void Styleable::setStyleParent(Styleable* parent)
{
    if (parent == m_parent)
        return;
    for (const Styleable* above = parent; above; above = above->m_parent) {
        assert(above != this && "a node cannot be its own ancestor");
        if (above == this)
            return;
    }
    const NodeFeatures* previous = d->previous;
    const NodeFeatures* next = d->next;
    if (m_parent && m_parent->d->isEnding)
        previous = next = nullptr;
    leaveStyleParent();
    if (parent) {
        d->link(*parent);
        m_parent = parent;
        m_parent->m_children.push_back(this);
    }
    restyler().restyleMoved(*this, previous, next);
}
}
