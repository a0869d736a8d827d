#pragma once

#include <Tavola/Component.hpp>
#include <Tavola/Package.hpp>
#include <Tavola/Tavola.hpp>

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <typeinfo>
#include <utility>

namespace Tavola
{
/// Keeps a component in the host's factory table for as long as the registrant lives; a static object of a plug-in does so from
/// load to unload. Without an application it does nothing; a component that no package declares is reported to the operator
/// and is not registered. T is the component's class. Construct and destroy on the main thread.
template <class T>
class FactoryRegistrant
{
public:
    FactoryRegistrant(const QString& name, std::function<std::shared_ptr<T>()> create) : m_name(name)
    {
        auto factory = std::make_shared<ComponentFactory>();
        factory->create = std::move(create);
        factory->type = &typeid(T);

        const std::shared_ptr<Tavola> application = Tavola::weakInstance().lock();
        if (!application)
            return;
        const std::shared_ptr<Package> package = application->packageOfComponent(name);
        const std::shared_ptr<ComponentDefinition> definition = package ? package->component(name) : nullptr;
        if (!definition) {
            application->errorMessage(QString::fromUtf8("Couldn't find package for component %1.").arg(name));
            return;
        }
        definition->initComponent();
        factory->schema = definition->schema();

        m_entry = application->registerFactory(name, std::move(factory));
        m_application = application;
    }

    FactoryRegistrant(const FactoryRegistrant&) = delete;
    FactoryRegistrant& operator=(const FactoryRegistrant&) = delete;

    ~FactoryRegistrant()
    {
        const std::shared_ptr<Tavola> application = Tavola::weakInstance().lock();
        // The entry belongs to the table of the application that returned it, not to that of a later application.
        if (application && m_entry && application == m_application.lock())
            application->unregisterFactory(*m_entry);
    }

    [[nodiscard]] const QString& name() const noexcept { return m_name; }

private:
    std::optional<FactoryTable::iterator> m_entry;
    std::weak_ptr<Tavola> m_application;
    QString m_name;
};
}
