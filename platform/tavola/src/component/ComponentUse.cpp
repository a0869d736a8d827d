#include <Tavola/ComponentUse.hpp>

#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>

namespace Tavola
{
std::shared_ptr<UIComponent> ComponentUse::makeComponent() const
{
    const auto application = Tavola::instance();
    const std::shared_ptr<UIComponent> made = application ? application->createComponent(component) : nullptr;
    if (!made) {
        const bool isKnown = application && application->factories().count(component) > 0;
        Bedrock::Trace::warning(isKnown ? "ComponentUse # %s: component \"%s\" cannot be made; it is left out"
                                        : "ComponentUse # %s: there is no component \"%s\"; it is left out",
                                qUtf8Printable(place), qUtf8Printable(component));
        return nullptr;
    }
    for (const QString& restriction : made->schema().restrictions()) {
        if (!unusableAttributes.contains(restriction))
            continue;
        Bedrock::Trace::error("ComponentUse # %s: component \"%s\" is left out, because it restricts nothing without \"%s\"",
                              qUtf8Printable(place), qUtf8Printable(component), qUtf8Printable(restriction));
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
