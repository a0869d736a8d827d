#pragma once

#include <Facet/Attribute.hpp>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>

namespace Trellis
{
class Widget;

/// Whether the attribute is a member of `object`, or of a member of it.
template <class Object>
[[nodiscard]] bool isMember(const Facet::Attribute& attribute, const Object& object) noexcept
{
    return reinterpret_cast<std::uintptr_t>(&attribute) - reinterpret_cast<std::uintptr_t>(&object) < sizeof(Object);
}

/// Attributes that few widgets give a value, in a struct `Group`: made together when one of them is first asked for by name,
/// as a style sheet does. Until then they read as their defaults, which all widgets share. Nothing can be written here: a value
/// is set through `Facet::Node::attribute`.
///
/// `Group(Widget*)` makes the attributes, for a null pointer without host; `Group::isNamed(int)` says whether the number is that
/// of the name of one of them.
template <class Group>
class RareAttributes
{
public:
    [[nodiscard]] const Group& operator*() const noexcept { return m_group ? *m_group : defaults(); }
    [[nodiscard]] bool isMade() const noexcept { return m_group != nullptr; }
    const Group* operator->() const noexcept { return &**this; }

    /// Makes the group if it has an attribute whose name has that number and was not made before. Returns whether it did.
    bool makeNamed(Widget& host, int nameNumber)
    {
        if (m_group || !Group::isNamed(nameNumber))
            return false;
        make(host);
        return true;
    }
    /// Whether the attribute is one of the group.
    [[nodiscard]] bool holds(const Facet::Attribute& attribute) const noexcept
    {
        return m_group && isMember(attribute, *m_group);
    }
    void make(Widget& host)
    {
        if (!m_group)
            m_group = std::make_unique<Group>(&host);
    }

private:
    [[nodiscard]] static const Group& defaults()
    {
        // Never destroyed: widgets of static objects may go late.
        static const Group& group = *new Group(nullptr);
        return group;
    }

    std::unique_ptr<Group> m_group;
};

/// For `isNamed` of a group.
[[nodiscard]] inline bool isOneOf(int nameNumber, std::initializer_list<Facet::AttributeName> names)
{
    return std::any_of(names.begin(), names.end(),
                       [nameNumber](Facet::AttributeName name) { return name.number() == nameNumber; });
}
}
