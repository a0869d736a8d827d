#include "Options.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

using MediaServer::Options;

namespace
{

struct Fixture
{
    /// With what is always needed.
    auto parse(const QStringList& more)
    {
        return Options::parse(QStringList{QStringLiteral("tavola-mediaserver"), QStringLiteral("--content"), folder.path(),
                                          QStringLiteral("--database"), QStringLiteral("items.sqlite")}
                              + more);
    }

    Folder folder;
};

} // namespace

TEST_CASE_FIXTURE(Fixture, "options: what is not said has a careful default")
{
    const auto options = parse({});
    REQUIRE(options);
    CHECK(options->address == QLatin1String("127.0.0.1"));
    CHECK(options->publicUrl.isEmpty());
    CHECK(options->limits.bodyBytes == 65536);
    CHECK(options->limits.timeout == std::chrono::seconds(10));
    CHECK(options->limits.clients.perAddress == 64);
}

TEST_CASE_FIXTURE(Fixture, "options: everything can be said")
{
    const auto options =
        parse({QStringLiteral("--port=0"), QStringLiteral("--address"), QStringLiteral("::1"), QStringLiteral("--public-url"),
               QStringLiteral("https://museum.example/table"), QStringLiteral("--max-body"), QStringLiteral("1000"),
               QStringLiteral("--timeout"), QStringLiteral("0.5"), QStringLiteral("--max-per-address"), QStringLiteral("500")});
    REQUIRE(options);
    CHECK(options->port == 0);
    CHECK(options->address == QLatin1String("::1"));
    CHECK(options->contentFolder == folder.path());
    CHECK(options->databaseFile == QLatin1String("items.sqlite"));
    CHECK(options->publicUrl == QLatin1String("https://museum.example/table"));
    CHECK(options->limits.bodyBytes == 1000);
    CHECK(options->limits.timeout == std::chrono::milliseconds(500));
    CHECK(options->limits.clients.perAddress == 500);
}

TEST_CASE_FIXTURE(Fixture, "options: the last of several values counts, and a leading zero is decimal")
{
    const auto options = parse({QStringLiteral("--port"), QStringLiteral("7"), QStringLiteral("--port"), QStringLiteral("010")});
    REQUIRE(options);
    CHECK(options->port == 10);
}

TEST_CASE_FIXTURE(Fixture, "options: help is a success and names every option")
{
    const auto options = parse({QStringLiteral("--help")});
    REQUIRE_FALSE(options);
    CHECK(options.error().code == 0);
    for (const char* name :
         {"--address", "--port", "--content", "--database", "--public-url", "--max-body", "--timeout", "--max-per-address"})
        CHECK(options.error().text.contains(QLatin1String(name)));
}

TEST_CASE_FIXTURE(Fixture, "options: a mistake is named with its option")
{
    struct Row
    {
        QStringList arguments;
        const char* named;
    };
    const Row rows[] = {
        {{QStringLiteral("--port"), QStringLiteral("70000")}, "--port"},
        {{QStringLiteral("--port"), QStringLiteral("x")}, "--port"},
        {{QStringLiteral("--timeout"), QStringLiteral("0")}, "--timeout"},
        {{QStringLiteral("--timeout"), QStringLiteral("nan")}, "--timeout"},
        {{QStringLiteral("--timeout")}, "--timeout"},
        {{QStringLiteral("--max-body"), QStringLiteral("-1")}, "--max-body"},
        {{QStringLiteral("--max-body"), QStringLiteral("0x1000")}, "--max-body"},
        {{QStringLiteral("--max-per-address"), QStringLiteral("1")}, "--max-per-address"},
        {{QStringLiteral("--public-url"), QStringLiteral("museum.example")}, "--public-url"},
        {{QStringLiteral("--public-url"), QStringLiteral("javascript:x")}, "--public-url"},
        {{QStringLiteral("--public-url"), QStringLiteral("https://museum.example/?a")}, "--public-url"},
        {{QStringLiteral("--content"), folder.path(QStringLiteral("none"))}, "--content"},
        {{QStringLiteral("--database"), QString()}, "--database"},
        {{QStringLiteral("--wrong")}, "wrong"},
        {{QStringLiteral("stray")}, "stray"},
    };
    for (const Row& row : rows) {
        const auto options = parse(row.arguments);
        CAPTURE(row.arguments.join(QLatin1Char(' ')).toStdString());
        REQUIRE_FALSE(options);
        CHECK(options.error().code == 2);
        CHECK(options.error().text.contains(QLatin1String(row.named)));
    }
    CHECK_FALSE(Options::parse({QStringLiteral("tavola-mediaserver")}));
}
