#include <Tavola/Tavola.hpp>

#include "drag/DragAndDrop.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/Package.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <mutex>
#include <typeindex>
#include <unordered_map>
#include <vector>

namespace Tavola
{
namespace
{
/// Never destroyed: a background thread may read it while the process ends.
struct Current
{
    std::mutex mutex;
    std::weak_ptr<Tavola> application;
};

Current& current()
{
    static Current* const theCurrent = new Current;
    return *theCurrent;
}
}

struct Tavola::Private
{
    /// Destroyed the last made first.
    struct Parts
    {
        ~Parts()
        {
            while (!list.empty())
                list.pop_back();
        }
        std::vector<std::pair<std::type_index, std::shared_ptr<void>>> list;
    };

    ServiceProvider services;
    Parts parts;
    FactoryTable factories;
    std::vector<std::shared_ptr<Package>> packages;
    std::unordered_map<long, std::shared_ptr<WidgetInstance>> instances;
    std::function<void(const QString&)> errorMessageHandler;
    UserInterface ui;
    DragAndDrop dragAndDrop;

    void forget(long widgetId)
    {
        const auto found = instances.find(widgetId);
        if (found == instances.end())
            return;
        const auto instance = std::move(found->second); // its destructor may read the table of instances
        instances.erase(found);
    }
};

Tavola::Tavola() : d(std::make_unique<Private>()) {}

Tavola::~Tavola() = default;

std::shared_ptr<Tavola> Tavola::create()
{
    std::shared_ptr<Tavola> application(new Tavola);
    const std::lock_guard lock(current().mutex);
    if (!current().application.expired())
        Bedrock::Trace::warning("Tavola::create # There is an application already; the new one takes its place");
    current().application = application;
    return application;
}

std::shared_ptr<Tavola> Tavola::instance()
{
    return weakInstance().lock();
}

std::weak_ptr<Tavola> Tavola::weakInstance()
{
    const std::lock_guard lock(current().mutex);
    return current().application;
}

ServiceProvider* Tavola::services() const noexcept
{
    return &d->services;
}

UserInterface* Tavola::ui() const noexcept
{
    return &d->ui;
}

FactoryTable::iterator Tavola::registerFactory(const QString& name, std::shared_ptr<ComponentFactory> factory)
{
    const auto [entry, isNew] = d->factories.emplace(name, std::move(factory));
    if (isNew)
        return entry;
    Bedrock::Trace::warning("Tavola::registerFactory # Component '%s' is registered already; the first one stays",
                            qUtf8Printable(name));
    return d->factories.end();
}

void Tavola::unregisterFactory(FactoryTable::iterator entry)
{
    if (entry != d->factories.end())
        d->factories.erase(entry);
}

const FactoryTable& Tavola::factories() const noexcept
{
    return d->factories;
}

std::shared_ptr<UIComponent> Tavola::createComponent(const QString& name) const
{
    const auto found = d->factories.find(name);
    if (found == d->factories.end() || !found->second || !found->second->create)
        return nullptr;
    std::shared_ptr<UIComponent> component;
    Bedrock::guarded([&] { component = found->second->create(); },
                     [&](const char* reason) {
                         Bedrock::Trace::error("Tavola::createComponent # Component '%s' failed (%s)", qUtf8Printable(name),
                                               reason);
                     });
    if (component) {
        component->setName(name);
        component->setSchema(found->second->schema);
    }
    return component;
}

void Tavola::addPackage(std::shared_ptr<Package> package)
{
    if (package)
        d->packages.push_back(std::move(package));
}

void Tavola::removePackage(const std::shared_ptr<Package>& package)
{
    d->packages.erase(std::remove(d->packages.begin(), d->packages.end(), package), d->packages.end());
}

std::shared_ptr<Package> Tavola::packageOfComponent(const QString& component) const
{
    for (const auto& package : d->packages)
        if (package->component(component))
            return package;
    return nullptr;
}

std::shared_ptr<WidgetInstance> Tavola::widgetInstance(long widgetId) const
{
    const auto found = d->instances.find(widgetId);
    return found != d->instances.end() ? found->second : nullptr;
}

void Tavola::errorMessage(const QString& text)
{
    Bedrock::Trace::error("Tavola # %s", qUtf8Printable(text));
    // A copy: the handler may replace itself.
    if (const auto handler = d->errorMessageHandler)
        handler(text);
}

void Tavola::setErrorMessageHandler(std::function<void(const QString&)> handler)
{
    d->errorMessageHandler = std::move(handler);
}

void Tavola::keepInstance(Trellis::Widget& widget, std::shared_ptr<WidgetInstance> instance)
{
    const long id = widget.id();
    d->instances[id] = std::move(instance);
    widget.addEndListener([id, application = weak_from_this()] {
        if (const auto alive = application.lock())
            alive->d->forget(id);
    });
}

std::shared_ptr<void> Tavola::findPart(const std::type_info& type) const
{
    for (const auto& part : d->parts.list)
        if (part.first == type)
            return part.second;
    return nullptr;
}

void Tavola::keepPart(const std::type_info& type, std::shared_ptr<void> part)
{
    d->parts.list.emplace_back(type, std::move(part));
}
}
