#include <Tavola/ComponentUse.hpp>

#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>

namespace Tavola
{
std::shared_ptr<UIComponent> ComponentUse::makeComponent() const
{
    const auto application = Tavola::instance();
    std::shared_ptr<UIComponent> made = application ? application->createComponent(component) : nullptr;
    if (!made) {
        Bedrock::Trace::warning("ComponentUse # %s: there is no component \"%s\"; it is left out", qUtf8Printable(place),
                                qUtf8Printable(component));
        return nullptr;
    }
    made->setProperties(properties);
    for (const auto& slot : slotContents)
        for (const ComponentUse& inner : slot.second)
            if (auto innerComponent = inner.makeComponent())
                made->assign(slot.first.toUtf8(), std::move(innerComponent));
    return made;
}
}
