#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>

#include <QString>

#include <map>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
struct ComponentUse;

/// Checks components that are made later, such as what a menu launches: each attribute is compared with a widget of its
/// component when the file is read, so that a mistake is reported once and before a visitor meets it. The widgets, one for each
/// component, never enter the tree. Needs the application. Main thread only.
class TAVOLA_EXPORT AttributeCheck
{
public:
    AttributeCheck();
    AttributeCheck(const AttributeCheck&) = delete;
    AttributeCheck& operator=(const AttributeCheck&) = delete;
    ~AttributeCheck();

    /// Takes out of the use, and of what is in its slots, the attributes that do not fit; each is a warning. What lacks a
    /// restriction of its schema then is an error and is taken out itself: false when that is the use as a whole.
    [[nodiscard]] bool run(ComponentUse& use);
    /// The same for what is in its slots alone: for a use of which a component is made at once, and reports itself.
    void runOnSlots(ComponentUse& use);

private:
    /// Null for a component that makes none.
    [[nodiscard]] Trellis::Widget* sample(const QString& component);

    std::map<QString, Bedrock::IntrusivePtr<Trellis::Widget>> m_samples; ///< by the component's name
};
}
