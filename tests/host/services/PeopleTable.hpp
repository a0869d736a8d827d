#pragma once

#include "Folder.hpp"
#include "services/MarkerService.hpp"
#include "services/PeopleRegistry.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Inbox.hpp>
#include <Tavola/TesselServiceCache.hpp>

#include <doctest/doctest.h>

#include <QDateTime>
#include <QFile>

#include <memory>
#include <thread>

/// A registry with a few people, and the service of a table that has them in its cache.
struct PeopleTable
{
    PeopleTable()
    {
        QString error;
        registry = Host::PeopleRegistry::open(folder.path(QStringLiteral("people.sqlite")), error);
        REQUIRE_MESSAGE(registry, error.toStdString());
        REQUIRE(registry->insert({{1001, QStringLiteral("Ann"), QStringLiteral("ann@museum.example"), QStringLiteral("key"), 0},
                                  {1007, QString(), QString(), QString(), 3}}));
        service = std::make_shared<Host::MarkerService>(registry, cache, languages);
        service->fillCache();
    }
    ~PeopleTable()
    {
        Bedrock::Inbox::instance().clear();
        Bedrock::AfterUpdateQueue::instance().clear();
    }

    /// The registry as another program has it.
    std::unique_ptr<Host::PeopleRegistry> desk() const
    {
        QString error;
        auto result = Host::PeopleRegistry::open(registry->path(), error);
        REQUIRE_MESSAGE(result, error.toStdString());
        return result;
    }
    /// Lets what was read and registered reach the cache, as a frame does. Returns how many functions ran after the update.
    static int bringIn()
    {
        (void)Bedrock::Inbox::instance().deliver();
        return Bedrock::AfterUpdateQueue::instance().drain();
    }
    /// Makes the last write to the registry one of a minute ago.
    void letItSettle() const
    {
        for (const char* ending : {"", "-wal"}) {
            QFile file(registry->path() + QLatin1String(ending));
            REQUIRE(file.open(QIODevice::ReadWrite));
            REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
        }
    }
    QString nameOf(unsigned long code) const
    {
        const auto card = cache->markerProperties(code);
        return card.personalProperties() ? card.personalProperties()->name : QStringLiteral("(none)");
    }

    /// As the plug-in does it: on another thread.
    bool registerOnAThread(unsigned long code, const QString& name, const QString& email)
    {
        bool accepted = false;
        std::thread([&] { accepted = service->registerPersonalMarker(code, name, email); }).join();
        return accepted;
    }

    Folder folder;
    std::shared_ptr<Host::PeopleRegistry> registry;
    std::shared_ptr<Tavola::TesselServiceCache> cache = std::make_shared<Tavola::TesselServiceCache>();
    std::shared_ptr<Host::CardLanguages> languages = std::make_shared<Host::CardLanguages>();
    std::shared_ptr<Host::MarkerService> service;
};
