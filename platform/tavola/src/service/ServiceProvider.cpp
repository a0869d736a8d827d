#include <Tavola/ServiceProvider.hpp>

#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>
#include <Tavola/TesselServiceAPI.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <mutex>
#include <vector>

namespace Tavola
{
struct ServiceProvider::Private
{
    struct Entry
    {
        QString type;
        QString name;
        std::shared_ptr<ServiceInstance> service;
    };
    mutable std::mutex mutex;
    std::vector<Entry> services; ///< in the order they were configured
    std::shared_ptr<TesselServiceAPI> tesselService;
    const std::shared_ptr<TesselServiceCache> cache = std::make_shared<TesselServiceCache>();
};

ServiceProvider::ServiceProvider() : d(std::make_unique<Private>()) {}

ServiceProvider::~ServiceProvider() = default;

std::shared_ptr<ServiceInstance> ServiceProvider::service(const QString& type, const QString& name) const
{
    const std::lock_guard lock(d->mutex);
    for (const auto& entry : d->services)
        if (entry.type == type && (name.isEmpty() || entry.name == name))
            return entry.service;
    return nullptr;
}

std::shared_ptr<EmailServiceAPI> ServiceProvider::emailService(const QString& name) const
{
    return std::dynamic_pointer_cast<EmailServiceAPI>(service(QStringLiteral("email-service"), name));
}

std::shared_ptr<CollectionStoreAPI> ServiceProvider::collectionStore() const
{
    return std::dynamic_pointer_cast<CollectionStoreAPI>(service(QStringLiteral("collection-store"), QString()));
}

std::shared_ptr<TesselServiceAPI> ServiceProvider::tesselService() const
{
    const std::lock_guard lock(d->mutex);
    return d->tesselService;
}

std::shared_ptr<TesselServiceCache> ServiceProvider::tesselServiceCache() const
{
    return d->cache;
}

void ServiceProvider::addService(const QString& type, const QString& name, std::shared_ptr<ServiceInstance> service)
{
    const std::lock_guard lock(d->mutex);
    d->services.push_back({type, name, std::move(service)});
}

void ServiceProvider::removeService(const std::shared_ptr<ServiceInstance>& service)
{
    std::vector<Private::Entry> removed; // destroyed outside the lock: a service may request others in its destructor
    const std::lock_guard lock(d->mutex);
    const auto isIt = [&](const Private::Entry& entry) { return entry.service == service; };
    const auto from = std::stable_partition(d->services.begin(), d->services.end(), [&](const auto& e) { return !isIt(e); });
    std::move(from, d->services.end(), std::back_inserter(removed));
    d->services.erase(from, d->services.end());
}

void ServiceProvider::setTesselService(std::shared_ptr<TesselServiceAPI> service)
{
    const std::lock_guard lock(d->mutex);
    d->tesselService.swap(service);
}
}
