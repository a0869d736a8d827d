#include "components/PersonalWidgets.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ComponentUse.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
PersonalWidgets::PersonalWidgets() = default;

PersonalWidgets::~PersonalWidgets()
{
    for (const auto& entry : m_entries)
        if (entry.second.widget)
            entry.second.widget->removeFromParent();
}

void PersonalWidgets::add(const QString& contentKey, const Tavola::ComponentUse& use)
{
    // It shows nothing itself; what it opens are other children of the main widget.
    Tavola::ComponentUse hidden = use;
    QJsonObject attributes = hidden.properties.value(QLatin1String("attributes")).toObject();
    attributes.insert(QStringLiteral("display"), QStringLiteral("none"));
    hidden.properties.insert(QStringLiteral("attributes"), attributes);
    if (auto component = hidden.makeComponent())
        m_entries[contentKey].component = std::move(component);
}

boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> PersonalWidgets::widget(const QString& contentKey)
{
    const auto found = m_entries.find(contentKey);
    if (found == m_entries.end())
        return boost::make_unexpected(
            QStringLiteral("the presentation has nothing for the content key \"%1\"; add it to \"folders\"").arg(contentKey));
    Entry& entry = found->second;
    if (!entry.widget || !entry.widget->parent()) {
        entry.widget = entry.component->createContentWidget();
        if (!entry.widget)
            return boost::make_unexpected(QStringLiteral("component \"%1\" of the content key \"%2\" made no widget")
                                              .arg(entry.component->name(), contentKey));
        Tavola::Tavola::instance()->ui()->mainWidget()->addChild(entry.widget);
    }
    return entry.widget;
}
}
