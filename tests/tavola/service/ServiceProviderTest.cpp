#include <doctest/doctest.h>

#include "FakeServices.hpp"

#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/TesselServiceCache.hpp>

using Tavola::ServiceProvider;
using TestSupport::FakeMediaServer;

TEST_CASE("service provider: finds a service by type and name, and the first of its type without a name")
{
    ServiceProvider provider;
    const auto first = std::make_shared<FakeMediaServer>();
    const auto second = std::make_shared<FakeMediaServer>();
    CHECK_FALSE(provider.service("media-server-service", ""));
    provider.addService("media-server-service", "one", first);
    provider.addService("media-server-service", "two", second);
    CHECK(provider.service("media-server-service", "") == first);
    CHECK(provider.service("media-server-service", "two") == second);
    CHECK_FALSE(provider.service("media-server-service", "three"));
    CHECK_FALSE(provider.service("other", ""));

    provider.removeService(first);
    CHECK(provider.service("media-server-service", "") == second);
    CHECK_FALSE(provider.service("media-server-service", "one"));
    CHECK(first.use_count() == 1);
}

TEST_CASE("service provider: a service is asked for JSON commands through a cast")
{
    ServiceProvider provider;
    provider.addService("media-server-service", "one", std::make_shared<FakeMediaServer>());
    const auto service = provider.service("media-server-service", "");
    CHECK(dynamic_cast<Tavola::JSONServerServiceAPI*>(service.get()));
}

TEST_CASE("service provider: there is a store of collections only where one is configured")
{
    struct Store final : Tavola::ServiceInstance, Tavola::CollectionStoreAPI
    {
        QString makeKey() override { return {}; }
        QString lastingKey(const QString& key) const override { return key; }
        folly::Future<std::vector<CollectedItem>> items(unsigned long) override
        {
            return folly::makeFuture(std::vector<CollectedItem>());
        }
        void add(unsigned long, const CollectedItem&) override {}
        void update(unsigned long, const CollectedItem&) override {}
        void remove(unsigned long, const QString&) override {}
        bool isShared() const override { return false; }
        void watch(unsigned long, std::function<void()>) override {}
        folly::Future<QList<QString>> claim(const QList<QString>&) override { return folly::makeFuture(QList<QString>()); }
        void release(const QList<QString>&) override {}
    };
    ServiceProvider provider;
    const auto store = std::make_shared<Store>();
    provider.addService("media-server-service", "", store);
    CHECK_FALSE(provider.collectionStore());
    provider.addService("collection-store", "", std::make_shared<FakeMediaServer>());
    CHECK_FALSE(provider.collectionStore());
    ServiceProvider keeping;
    keeping.addService("collection-store", "", store);
    CHECK(keeping.collectionStore() == store);
}

TEST_CASE("service provider: there may be no marker service, but there is always its cache")
{
    ServiceProvider provider;
    CHECK_FALSE(provider.tesselService());
    REQUIRE(provider.tesselServiceCache());
    CHECK(provider.tesselServiceCache() == provider.tesselServiceCache());
    const auto service = std::make_shared<TestSupport::FakeTesselService>();
    provider.setTesselService(service);
    CHECK(provider.tesselService() == service);
    provider.setTesselService(nullptr);
    CHECK_FALSE(provider.tesselService());
}
