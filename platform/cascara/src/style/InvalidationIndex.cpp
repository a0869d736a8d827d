#include "style/InvalidationIndex.hpp"

#include <algorithm>

namespace Cascara
{
void InvalidationIndex::build(const std::vector<std::unique_ptr<StyleSheet>>& sheets)
{
    m_rightmost.clear();
    m_others.clear();
    m_testsPositions = false;
    m_testedAttributes.clear();
    Path path;
    for (const auto& sheet : sheets)
        for (const auto& rule : sheet->rules)
            for (const Selector& selector : rule->selectorsInForce())
                add(selector, nullptr, selector.parts.front().compound, path);
}

/// `path` leads from the selector's rightmost node to the node that is styled. `around` is null but for a selector in a list.
void InvalidationIndex::add(const Selector& selector, const Compound* around, const Compound& rightmost, Path& path)
{
    const std::size_t length = path.size();
    for (const Selector::Part& part : selector.parts) {
        const Compound& outer = around && path.size() == length ? *around : part.compound;
        add(part.compound, outer, rightmost, path);
        if (&part == &selector.parts.back())
            break;
        // Which node stands to the left depends on the order of siblings.
        if (part.toLeft == Combinator::NextSibling)
            add({Feature::Kind::Position, Feature::Adjacent}, {&part.compound, &outer, &rightmost, 0, 0}, path);
        else if (part.toLeft == Combinator::LaterSibling)
            add({Feature::Kind::Position, Feature::Preceding}, {&part.compound, &outer, &rightmost, 0, 0}, path);
        path.push_back(part.toLeft);
    }
    path.resize(length);
}

void InvalidationIndex::add(const Compound& compound, const Compound& around, const Compound& rightmost, Path& path)
{
    std::vector<Feature> features;
    compound.collectFeatures(features);
    for (const Feature feature : features)
        add(feature, {&compound, &around, &rightmost, 0, 0}, path);
    for (const Alternatives& list : compound.alternatives)
        for (const Selector& selector : list.selectors)
            add(selector, &around, rightmost, path);
}

void InvalidationIndex::add(Feature feature, Reach reach, const Path& path)
{
    if (feature.kind == Feature::Kind::Language) {
        addLanguage(*reach.rightmost, path);
        return;
    }
    m_testsPositions = m_testsPositions || feature.kind == Feature::Kind::Position;
    if (feature.kind == Feature::Kind::Attribute)
        m_testedAttributes.insert(feature.name);
    if (path.empty())
        m_rightmost.insert(feature);
    else
        addOther(feature, along(reach, path));
}

/// A node that gets or loses a language changes that of all nodes below it, and which one these had before is not known.
void InvalidationIndex::addLanguage(const Compound& rightmost, const Path& path)
{
    static const Compound kAnyNode;
    const Reach itself{&kAnyNode, &kAnyNode, &rightmost, 0, 0};
    if (path.empty())
        m_rightmost.insert(kAnyLanguage);
    else
        addOther(kAnyLanguage, along(itself, path));
    Reach below = itself;
    below.levels = Reach::kAny;
    addOther(kAnyLanguage, below);
}

/// Completes `reach` with the steps of the path.
InvalidationIndex::Reach InvalidationIndex::along(Reach reach, const Path& path)
{
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        const bool isSibling = *step == Combinator::NextSibling || *step == Combinator::LaterSibling;
        // A step aside further down stays on its level, all of which counts as reached.
        if (isSibling && reach.levels == 0)
            reach.siblings =
                *step == Combinator::LaterSibling || reach.siblings == Reach::kAny ? Reach::kAny : reach.siblings + 1;
        else if (!isSibling)
            reach.levels = *step == Combinator::Descendant || reach.levels == Reach::kAny ? Reach::kAny : reach.levels + 1;
    }
    return reach;
}

void InvalidationIndex::addOther(Feature feature, const Reach& reach)
{
    auto& list = m_others[feature];
    const bool isKnown = std::any_of(list.begin(), list.end(), [&reach](const Reach& other) {
        return other.siblings == reach.siblings && other.levels == reach.levels && *other.changed == *reach.changed
            && *other.around == *reach.around && *other.rightmost == *reach.rightmost;
    });
    if (!isKnown)
        list.push_back(reach);
}

const std::vector<InvalidationIndex::Reach>* InvalidationIndex::reachOthers(Feature feature) const
{
    const auto found = m_others.find(feature);
    return found == m_others.end() ? nullptr : &found->second;
}
}
