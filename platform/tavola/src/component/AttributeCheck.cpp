#include <Tavola/AttributeCheck.hpp>

#include "component/ComponentProperties.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ComponentUse.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Widget.hpp>

#include <utility>
#include <vector>

namespace Tavola
{
AttributeCheck::AttributeCheck() = default;

AttributeCheck::~AttributeCheck() = default;

void AttributeCheck::runOnSlots(ComponentUse& use)
{
    for (auto& slot : use.slotContents) {
        std::vector<ComponentUse> whole;
        for (ComponentUse& inner : slot.second)
            if (run(inner))
                whole.push_back(std::move(inner));
        slot.second = std::move(whole);
    }
}

bool AttributeCheck::run(ComponentUse& use)
{
    runOnSlots(use);
    QJsonObject attributes = use.properties.value(QLatin1String("attributes")).toObject();
    Trellis::Widget* const widget = attributes.isEmpty() ? nullptr : sample(use.component);
    if (!widget)
        return true;
    const auto component = Tavola::instance()->createComponent(use.component);
    component->setProperties(use.properties);
    QStringList unfit;
    if (!checkAttributes(*component, *widget, unfit))
        return false;
    if (unfit.isEmpty())
        return true;
    for (const QString& name : unfit)
        attributes.remove(name);
    use.properties.insert(QStringLiteral("attributes"), attributes);
    return true;
}

Trellis::Widget* AttributeCheck::sample(const QString& component)
{
    auto found = m_samples.find(component);
    if (found == m_samples.end()) {
        const auto made = Tavola::instance()->createComponent(component);
        found = m_samples.emplace(component, made ? made->createContentWidget() : nullptr).first;
    }
    return found->second.get();
}
}
