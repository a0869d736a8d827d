#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Tavola/Package.hpp>
#include <Tavola/PluginLoader.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <dlfcn.h>

using Tavola::PluginLoader;
using TestSupport::TestHost;

namespace
{
bool isMapped()
{
    void* const handle = dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

void write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(text);
}
}

TEST_CASE("plug-in loader: a plug-in registers when it is loaded, is gone when it is unloaded, and can be loaded again")
{
    TestHost host;
    for (int round = 0; round < 3; ++round) {
        CAPTURE(round);
        CHECK_FALSE(isMapped());
        QString error;
        auto plugin = PluginLoader::load(TEST_PLUGIN, error);
        CAPTURE(error.toStdString());
        REQUIRE(plugin);
        CHECK(error.isEmpty());
        CHECK(plugin->path() == TEST_PLUGIN);
        CHECK(isMapped());
        CHECK(host.tavola().factories().count("thing") == 1);
        REQUIRE(host.tavola().packageOfComponent("thing"));
        CHECK(host.tavola().packageOfComponent("thing")->name() == "test-plugin");
        {
            const auto widget = host.ui().createStockWidget("thing", "main");
            REQUIRE(widget);
            CHECK(widget->cssType() == "ThingWidget");
        }
        host.frames(2); // the widget's code goes with the plug-in

        plugin.reset();
        CHECK(host.tavola().factories().empty());
        CHECK_FALSE(host.tavola().packageOfComponent("thing"));
        CHECK_FALSE(isMapped());
    }
}

TEST_CASE("plug-in loader: a plug-in may be unloaded after the application is gone")
{
    TestHost host;
    QString error;
    auto plugin = PluginLoader::load(TEST_PLUGIN, error);
    REQUIRE(plugin);
    host.destroyTavola();
    plugin.reset();
    CHECK_FALSE(isMapped());
}

TEST_CASE("plug-in loader: a file that is no library gives its reason, and its package goes again")
{
    TestHost host;
    const QTemporaryDir folder;
    const QString path = folder.filePath("libbroken.so");
    write(path, QByteArray(1000, 'x'));
    write(folder.filePath("broken.json"), R"({ "components": { "broken": { "type": "widget" } } })");
    QString error;
    CHECK_FALSE(PluginLoader::load(path, error));
    CHECK(error.contains(path));
    CHECK(error.contains("invalid ELF header"));
    CHECK_FALSE(host.tavola().packageOfComponent("broken"));
}

TEST_CASE("plug-in loader: a file that is not there is named")
{
    TestHost host;
    QString error;
    CHECK_FALSE(PluginLoader::load("/no/such/plugin.so", error));
    CHECK(error == "/no/such/plugin.so: no such file");
}

TEST_CASE("plug-in loader: without a package file a plug-in is loaded with a warning")
{
    TestHost host;
    const QTemporaryDir folder;
    const QString path = folder.filePath("libalone.so");
    REQUIRE(QFile::copy(TEST_PLUGIN, path));
    TestSupport::expectWarning("PluginLoader # " + folder.filePath("alone.json").toStdString() + " is missing; "
                               + path.toStdString() + " can register no components");
    QString error;
    const auto plugin = PluginLoader::load(path, error);
    CAPTURE(error.toStdString());
    REQUIRE(plugin);
    CHECK(host.tavola().factories().empty());
}

TEST_CASE("plug-in loader: a broken package file is a warning, and nothing registers")
{
    TestHost host;
    const QTemporaryDir folder;
    const QString path = folder.filePath("alone.so");
    REQUIRE(QFile::copy(TEST_PLUGIN, path));
    write(folder.filePath("alone.json"), "{");
    TestSupport::expectWarningStartingWith("Package::load # " + folder.filePath("alone.json").toStdString() + ":1:");
    QString error;
    const auto plugin = PluginLoader::load(path, error);
    REQUIRE(plugin);
    CHECK(host.tavola().factories().empty());
}

TEST_CASE("plug-in loader: without an application nothing is loaded")
{
    QString error;
    CHECK_FALSE(PluginLoader::load(TEST_PLUGIN, error));
    CHECK(error == QString(TEST_PLUGIN) + ": there is no application to load it into");
    CHECK_FALSE(isMapped());
}
