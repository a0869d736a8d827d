#include "style/MotionResolver.hpp"

#include "style/DeclaredValue.hpp"
#include "style/StyleEnginePrivate.hpp"

namespace Cascara
{
namespace
{
/// The value that the declaration has for the node, or null where it is the initial one.
std::shared_ptr<const Facet::StyleValue> valueFor(StyleNode& node, const Declaration* declaration)
{
    if (!declaration)
        return nullptr;
    const DeclaredValue declared(node, *declaration);
    if (!declared.isValid())
        return nullptr;
    if (declared.keyword() == WideKeyword::Inherit) {
        const Styleable* const parent = node.owner->styleParent();
        return parent ? valueFor(StyleNode::of(*parent),
                                 restyler().motionOf(StyleNode::of(*parent))[std::size_t(declaration->motionLonghand)])
                      : nullptr;
    }
    if (declared.keyword() != WideKeyword::None)
        return nullptr;
    QString expected;
    if (checkMotionValue(MotionLonghand(declaration->motionLonghand), declared.value(), expected))
        return declared.sharedValue();
    declared.reportUnfit(expected);
    return nullptr;
}
}

template <class List>
std::shared_ptr<const List> MotionResolver::resolve(StyleNode& node, const MotionDeclarations& declarations, int first, int end,
                                                    Cache<List>& cache)
{
    Key key{};
    bool isConstant = true;
    bool isAny = false;
    for (int i = first; i < end; ++i) {
        const Declaration* const declaration = declarations[std::size_t(i)];
        if (!declaration)
            continue;
        isAny = true;
        isConstant = isConstant && declaration->isConstant();
        key[std::size_t(i - first)] = declaration->serial;
    }
    if (!isAny)
        return nullptr;
    if (isConstant)
        if (const auto found = cache.find(key); found != cache.end())
            return found->second;
    std::shared_ptr<const Facet::StyleValue> values[kMotionLonghandCount];
    MotionValues read{};
    for (int i = first; i < end; ++i) {
        values[i] = valueFor(node, declarations[std::size_t(i)]);
        read[std::size_t(i)] = values[i].get();
    }
    auto list = std::make_shared<List>();
    QString ignored; // each value was checked
    (void)List::read(read, *list, ignored);
    if (isConstant)
        cache[key] = list;
    return list;
}

std::shared_ptr<const TransitionList> MotionResolver::transitions(StyleNode& node, const MotionDeclarations& declarations)
{
    return resolve(node, declarations, int(MotionLonghand::TransitionProperty), int(MotionLonghand::AnimationName),
                   m_transitions);
}

std::shared_ptr<const AnimationList> MotionResolver::animations(StyleNode& node, const MotionDeclarations& declarations)
{
    if (!declarations[std::size_t(MotionLonghand::AnimationName)])
        return nullptr;
    auto list = resolve(node, declarations, int(MotionLonghand::AnimationName), kMotionLonghandCount, m_animations);
    return list->all().empty() ? nullptr : list;
}

void MotionResolver::clear()
{
    m_transitions.clear();
    m_animations.clear();
}
}
