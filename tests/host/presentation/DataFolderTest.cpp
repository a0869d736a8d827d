#include "presentation/DataFolder.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Host;

TEST_CASE("data folder: what is given is taken, and made absolute")
{
    CHECK(dataFolder("/show", "/data") == "/data");
    CHECK(dataFolder("/show", "data") == QDir::currentPath() + "/data");
}

TEST_CASE("data folder: a presentation's own is the user's, has its name, and belongs to no other")
{
    const QString own = dataFolder("/a/show", "");
    CHECK(QFileInfo(own).path() == QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/tavola");
    CHECK(QFileInfo(own).fileName().startsWith("show-"));
    CHECK(own == dataFolder("/a/show", ""));
    CHECK(own != dataFolder("/b/show", ""));
}

TEST_CASE("data folder: its name is the same in each version, so that a table which is updated finds what it has kept")
{
    CHECK(QFileInfo(dataFolder("/a/show", "")).fileName() == "show-e914d478");
}

TEST_CASE("data folder: what cards have collected is in a folder of its own")
{
    CHECK(collectionsFile("/data") == "/data/collections/collections.sqlite");
}

TEST_CASE("data folder: each e-mail service has an outbox of its own, below it whatever its name")
{
    CHECK(outboxFolder("/data", "") == "/data/mail/outbox");
    CHECK(outboxFolder("/data", "post") == "/data/mail/outbox-post");
    CHECK(outboxFolder("/data", "../x") == "/data/mail/outbox-..%2Fx");
    CHECK(outboxFolder("/data", "café 1") == "/data/mail/outbox-caf%C3%A9%201");
}
