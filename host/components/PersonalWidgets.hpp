#pragma once

#include <Bedrock/IntrusivePtr.hpp>

#include <QString>

#include <boost/expected.hpp>

#include <map>
#include <memory>

namespace Tavola
{
struct ComponentUse;
class UIComponent;
}
namespace Trellis
{
class Widget;
}

namespace Host
{
/// The personal widgets that a presentation has for content keys ("folders"): one for each key, made at its first use and kept
/// invisible in the main widget afterwards, because it holds the state of what it opened. Main thread only.
class PersonalWidgets
{
public:
    PersonalWidgets();
    ~PersonalWidgets();
    PersonalWidgets(const PersonalWidgets&) = delete;
    PersonalWidgets& operator=(const PersonalWidgets&) = delete;

    /// Makes the component at once, which logs its mistakes; its widget is made at the first use.
    void add(const QString& contentKey, const Tavola::ComponentUse& use);
    /// The widget for a key, or the reason why there is none.
    [[nodiscard]] boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> widget(const QString& contentKey);

private:
    struct Entry
    {
        std::shared_ptr<Tavola::UIComponent> component;
        Bedrock::IntrusivePtr<Trellis::Widget> widget;
    };
    std::map<QString, Entry> m_entries;
};
}
