#include "table/TableServices.hpp"

#include "TablePlace.hpp"
#include "input/TableInput.hpp"
#include "presentation/DataFolder.hpp"
#include "recording/RecordingNote.hpp"
#include "services/email/Outbox.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <Tavola/CollectionStoreAPI.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <TestDatabase.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("table services: people come from the presentation's file the first time and are kept from then on")
{
    TablePlace place;
    place.presentation(R"({"people": "people.csv"})");
    place.folder.write(QStringLiteral("people.csv"), "code,name,kind\n1001,Ann,\n1007,,unregistered\n");
    {
        const auto table = place.open();
        const auto cache = Tavola::Tavola::instance()->services()->tesselServiceCache();
        CHECK(cache->markerProperties(1001).personalProperties()->name == "Ann");
        CHECK(cache->isCached(1007));
        const auto service = Tavola::Tavola::instance()->services()->tesselService();
        REQUIRE(service);
        CHECK(service->registerPersonalMarker(1007, QStringLiteral("Bo"), QString()));
        table->application().frame(0.0);
        CHECK(cache->markerProperties(1007).personalProperties()->name == "Bo");
    }
    place.folder.write(QStringLiteral("people.csv"), "code,name\n1001,Zoe\n");
    const auto table = place.open();
    const auto cache = Tavola::Tavola::instance()->services()->tesselServiceCache();
    CHECK(cache->markerProperties(1001).personalProperties()->name == "Ann");
    CHECK(cache->markerProperties(1007).personalProperties()->name == "Bo");
}

TEST_CASE("table services: the media servers of the presentation are found by name, the first one without")
{
    TablePlace place;
    place.presentation(
        R"({"services": {"media-server-service": [{"name": "one", "address": "http://a/"}, {"name": "two", "address": "http://b/"}]}})");
    const auto service = [](const char* name) {
        return Tavola::Tavola::instance()->services()->service(QStringLiteral("media-server-service"), QLatin1String(name));
    };
    {
        const auto table = place.open();
        REQUIRE(service("one"));
        REQUIRE(service("two"));
        CHECK(service("") == service("one"));
        CHECK_FALSE(service("three"));
    }
    place.options.mediaServer = QStringLiteral("http://c/");
    {
        const auto table = place.open();
        CHECK(service("one"));
        CHECK_FALSE(service("two"));
    }
    place.presentation("{}");
    const auto table = place.open();
    CHECK(service(""));
}

TEST_CASE("table services: collections are kept beside the people where the presentation says so, and nowhere else")
{
    TablePlace place;
    place.presentation("{}");
    const QString file = place.folder.path(QStringLiteral("data/collections/collections.sqlite"));
    {
        const auto table = place.open();
        CHECK_FALSE(Tavola::Tavola::instance()->services()->collectionStore());
        CHECK(table->collectionState().isEmpty());
    }
    CHECK_FALSE(QFile::exists(file));
    place.presentation(R"({"collections": {"keep": "30d"}})");
    const auto keep = [](unsigned long code) {
        const auto store = Tavola::Tavola::instance()->services()->collectionStore();
        REQUIRE(store);
        Tavola::CollectionStoreAPI::CollectedItem item;
        item.key = store->makeKey();
        store->add(code, item);
    };
    {
        const auto table = place.open();
        keep(1001);
        CHECK(table->collectionState().contains(QLatin1String("waiting")));
    }
    CHECK(QFile::exists(file));
    const auto table = place.open();
    auto items = Tavola::Tavola::instance()->services()->collectionStore()->items(1001);
    CHECK(TestSupport::pumpUntil([&] {
        table->application().frame(0.0);
        return items.isReady();
    }));
    CHECK(items.value().size() == 1);
}

TEST_CASE("table services: what a letter has that was accepted when the table was killed is removed when it starts again")
{
    TablePlace place;
    place.presentation(R"({"collections": {"keep": "30d"}, "services": {"email-service": [{"server": "smtp://127.0.0.1:9",
        "startTls": "never", "sender": {"address": "museum@example.net"}}]}})");
    OutboxMessage message;
    message.messageId = QStringLiteral("<1@x>");
    message.state = OutboxMessage::State::Failed; // is not sent in this test
    message.file = Outbox::newFile();
    message.collected.code = 1001;
    const auto keep = [](const char* name) {
        const auto store = Tavola::Tavola::instance()->services()->collectionStore();
        Tavola::CollectionStoreAPI::CollectedItem item;
        item.key = store->makeKey();
        item.displayName = QString::fromUtf8(name);
        store->add(1001, item);
        return store->lastingKey(item.key);
    };
    {
        const auto table = place.open();
        message.collected.keys << keep("sent");
        keep("new");
    }
    REQUIRE(Outbox::open(outboxFolder(place.options.dataFolder, QString()), place.error)->add(message, {10, 10})
            == Outbox::Added::Yes);
    const auto table = place.open();
    auto items = Tavola::Tavola::instance()->services()->collectionStore()->items(1001);
    CHECK(TestSupport::pumpUntil([&] {
        table->application().frame(0.0);
        return items.isReady();
    }));
    REQUIRE(items.value().size() == 1);
    CHECK(items.value().front().displayName == "new");
}

TEST_CASE("table services: files from before there was a database are named with their remedy at each start")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    TablePlace place;
    place.presentation(R"({"people": "people.csv", "collections": {"keep": "30d"}})");
    place.folder.write(QStringLiteral("people.csv"), "code,name\n1001,Ann\n");
    {
        const auto table = place.open();
        const auto store = Tavola::Tavola::instance()->services()->collectionStore();
        Tavola::CollectionStoreAPI::CollectedItem item;
        item.key = store->makeKey();
        store->add(1001, item);
    }
    place.presentation(QStringLiteral(R"({"people": "people.csv", "collections": {"keep": "30d"}, "database": "%1"})")
                           .arg(database.address().shown())
                           .toUtf8());
    TestSupport::expectWarningStartingWith("PeopleRegistry # "
                                           + place.folder.path(QStringLiteral("data/people.sqlite")).toStdString()
                                           + " has people from before the presentation had a \"database\"");
    TestSupport::expectWarningStartingWith(
        "CollectionService # " + place.folder.path(QStringLiteral("data/collections/collections.sqlite")).toStdString()
        + " has what cards collected before the presentation had a \"database\"");
    const auto table = place.open();
}

TEST_CASE("table services: a mail server of the options needs an e-mail service of the presentation")
{
    TablePlace place;
    place.presentation("{}");
    place.options.mailServer = QStringLiteral("smtp://127.0.0.1:2525");
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error == "--mail-server: the presentation has no e-mail service whose server it could replace");
}

TEST_CASE("table services: the note of a recording names the presentation, the media servers in use and the people")
{
    TablePlace place;
    place.presentation(R"({"people": "people.csv", "services": {"media-server-service": [
        {"name": "one", "address": "http://a/"}, {"name": "two", "address": "http://b/"}]}})");
    place.folder.write(QStringLiteral("people.csv"), "code,name\n1001,Ann\n");
    const auto presentation = Presentation::load(place.folder.path(), place.error);
    REQUIRE(presentation);
    const auto input = TableInput::open({}, place.error);
    REQUIRE(input);
    TableServices services;
    CHECK(services.recordingNote(*presentation, place.options).people.isEmpty());
    REQUIRE(services.openPeople(*presentation, place.options, *input, place.error));
    RecordingNote note = services.recordingNote(*presentation, place.options);
    CHECK(note.presentation == place.folder.path());
    CHECK(note.mediaServers == QStringList{"one", "two"});
    CHECK(note.people.contains("1001,Ann"));

    place.options.mediaServer = QStringLiteral("http://c/");
    CHECK(services.recordingNote(*presentation, place.options).mediaServers == QStringList{"one"});
}
