#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <memory>

namespace Tavola
{
class CollectionStoreAPI;
class EmailServiceAPI;
class ServiceInstance;
class TesselServiceAPI;
class TesselServiceCache;

/// The services that the presentation has configured. Reading: any thread; configuring: before the table opens.
class TAVOLA_EXPORT ServiceProvider
{
public:
    ServiceProvider();
    ~ServiceProvider();
    ServiceProvider(const ServiceProvider&) = delete;
    ServiceProvider& operator=(const ServiceProvider&) = delete;

    /// The service of a type ("media-server-service") and name; with an empty name the first one configured. May be null.
    [[nodiscard]] std::shared_ptr<ServiceInstance> service(const QString& type, const QString& name) const;
    /// The e-mail service of that name, with an empty name the first one configured; found among the services of type
    /// "email-service". May be null.
    [[nodiscard]] std::shared_ptr<EmailServiceAPI> emailService(const QString& name) const;
    /// The first service of type "collection-store". Null where the presentation keeps no collections.
    [[nodiscard]] std::shared_ptr<CollectionStoreAPI> collectionStore() const;
    /// May be null: no marker service is configured.
    [[nodiscard]] std::shared_ptr<TesselServiceAPI> tesselService() const;
    /// Never null.
    [[nodiscard]] std::shared_ptr<TesselServiceCache> tesselServiceCache() const;

    void addService(const QString& type, const QString& name, std::shared_ptr<ServiceInstance> service);
    void removeService(const std::shared_ptr<ServiceInstance>& service);
    void setTesselService(std::shared_ptr<TesselServiceAPI> service);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
