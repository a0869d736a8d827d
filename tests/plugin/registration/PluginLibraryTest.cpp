#include "LogCapture.hpp"
#include "Patience.hpp"
#include "TestHost.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/PluginLoader.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Operator.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <dlfcn.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <typeinfo>
#include <utility>

using Tavola::PluginLoader;
using TestSupport::TestHost;

namespace
{
std::unique_ptr<PluginLoader> load(const QString& path = PLUGIN_FILE)
{
    QString error;
    auto plugin = PluginLoader::load(path, error);
    INFO(error.toStdString());
    REQUIRE(plugin);
    return plugin;
}

std::vector<std::string> registeredNames(TestHost& host)
{
    std::vector<std::string> names;
    for (const auto& entry : host.tavola().factories())
        names.push_back(entry.first.toStdString());
    return names;
}

bool isMapped(const QString& path)
{
    const std::string file = QFileInfo(path).canonicalFilePath().toStdString();
    std::ifstream maps("/proc/self/maps");
    for (std::string mapping; std::getline(maps, mapping);)
        if (mapping.find(file) != std::string::npos)
            return true;
    return false;
}

/// In the order in which the library registers them.
const std::vector<std::string> kAllNames{"personal-space-widget", "email-widget-popup", "personal-folder",
                                         "tavola-personal-tessel-detector"};

std::vector<std::string> sorted(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    return names;
}

/// Announces the package error of each of these components; returns the texts that the operator sees.
std::vector<std::string> expectPackageErrors(const std::vector<std::string>& names)
{
    std::vector<std::string> texts;
    for (const auto& name : names) {
        texts.push_back("Couldn't find package for component " + name + ".");
        TestSupport::expectError("Tavola # " + texts.back());
    }
    return texts;
}

std::vector<std::string> errorMessages(TestHost& host)
{
    std::vector<std::string> texts;
    for (const auto& text : host.errorMessages())
        texts.push_back(text.toStdString());
    return texts;
}

/// The library with a package file of the test's.
class Copy
{
public:
    explicit Copy(const char* package)
    {
        // The libraries that it links must lie beside it, as beside the library itself.
        const QFileInfo library(PLUGIN_FILE);
        for (const QFileInfo& other : library.dir().entryInfoList({"*.so"}, QDir::Files))
            if (other.fileName() != library.fileName())
                QFile::link(other.filePath(), m_folder.filePath(other.fileName()));
        REQUIRE(QFile::copy(PLUGIN_FILE, path()));
        QFile file(m_folder.filePath("tavola-personal.json"));
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(package);
    }
    [[nodiscard]] QString path() const { return m_folder.filePath(QFileInfo(PLUGIN_FILE).fileName()); }

private:
    QTemporaryDir m_folder;
};
}

TEST_CASE("plug-in: loading fills the factory table, unloading empties it, and it can be loaded again")
{
    TestHost host;
    for (int round = 0; round < 3; ++round) {
        CAPTURE(round);
        CHECK(registeredNames(host).empty());
        CHECK_FALSE(isMapped(PLUGIN_FILE));
        auto plugin = load();
        CHECK(isMapped(PLUGIN_FILE));
        CHECK(registeredNames(host) == sorted(kAllNames));
        plugin.reset();
        CHECK(registeredNames(host).empty());
        CHECK_FALSE(isMapped(PLUGIN_FILE));
    }
    CHECK(host.errorMessages().empty());
}

TEST_CASE("plug-in: the records name the component's class and carry the package's schema")
{
    TestHost host;
    const auto plugin = load();
    const auto& factories = host.tavola().factories();
    const auto& space = *factories.at("personal-space-widget");
    CHECK(*space.type == typeid(Tavola::WidgetComponent));
    CHECK(space.schema.type() == "widget");
    const auto& detector = *factories.at("tavola-personal-tessel-detector");
    CHECK(*detector.type == typeid(Tavola::CustomWidgetInstanceComponent));
    CHECK(detector.schema.type() == "widget-instance");
}

TEST_CASE("plug-in: every component makes its widget, and folder and detector have instances of their own")
{
    TestHost host;
    const auto plugin = load();
    const std::vector<std::pair<const char*, const char*>> types{
        {"personal-space-widget", "PersonalSpaceWidget"},
        {"email-widget-popup", "EmailSendingPopupWidget"},
        {"personal-folder", "PersonalFolderWidget"},
        {"tavola-personal-tessel-detector", "PersonalTesselDetectorWidget"}};
    REQUIRE(types.size() == kAllNames.size());
    for (const auto& [name, cssType] : types) {
        CAPTURE(name);
        const auto& factory = *host.tavola().factories().at(name);
        const bool hasOwnInstance = *factory.type == typeid(Tavola::CustomWidgetInstanceComponent);
        CHECK(hasOwnInstance == (factory.schema.type() == "widget-instance"));
        const auto component = host.tavola().createComponent(name);
        REQUIRE(component);
        CHECK(component != host.tavola().createComponent(name));
        const auto instance = component->createInstance();
        REQUIRE(instance);
        CHECK(instance->component() == component);
        CHECK((typeid(*instance) != typeid(Tavola::WidgetInstance)) == hasOwnInstance);
        CHECK(instance->widget()->cssType() == cssType);
        CHECK_FALSE(instance->widget()->parent());
        CHECK(instance->widget() != component->createContentWidget());
    }
    host.frame();
}

TEST_CASE("plug-in: the filters of a detector may be a number, and a detector whose filters cannot be used is not made")
{
    TestHost host;
    const auto plugin = load();
    const auto made = [&](const QJsonValue& filters) {
        const auto component = host.tavola().createComponent("tavola-personal-tessel-detector");
        component->setProperties({{"attributes", QJsonObject{{"marker-filters", filters}}}});
        return component->createContentWidget();
    };
    for (const QJsonValue& filters : {QJsonValue("10"), QJsonValue(10), QJsonValue(QJsonObject{{"number", "10"}})}) {
        const auto detector = made(filters);
        REQUIRE(detector);
        CHECK(detector->attribute("marker-filters")->toText() == "10");
    }
    for (const QJsonValue& unusable : {QJsonValue(), QJsonValue(QJsonArray{10, true}), QJsonValue(QJsonObject{{"from", 10}})}) {
        TestSupport::expectErrorStartingWith("UIComponent # Component 'tavola-personal-tessel-detector': property "
                                             "\"attributes.marker-filters\": expected ");
        CHECK_FALSE(made(unusable));
    }
    host.frame(); // what creation has queued refers to code of the library
}

TEST_CASE("plug-in: the attribute of tracked widgets is known as long as the library is loaded")
{
    const auto isKnown = [] { return Cascara::LazyAttributeManager::isRegistered("track-tessels-on-widget"); };
    for (const bool applicationGoesFirst : {false, true}) {
        CAPTURE(applicationGoesFirst);
        std::optional<TestHost> host(std::in_place);
        CHECK_FALSE(isKnown());
        auto plugin = load();
        CHECK(isKnown());
        if (applicationGoesFirst)
            host.reset();
        plugin.reset();
        CHECK_FALSE(isKnown());
    }
}

TEST_CASE("plug-in: loaded where no application exists it registers nothing, silently, and leaves so")
{
    void* const library = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
    REQUIRE(library);
    {
        TestHost host;
        CHECK(registeredNames(host).empty());
        CHECK(dlclose(library) == 0);
        CHECK(registeredNames(host).empty());
    }
    CHECK_FALSE(isMapped(PLUGIN_FILE));
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("plug-in: unloading takes the components out in the reverse order of their registration")
{
    TestHost host;
    auto plugin = load();
    std::vector<std::string> gone;
    for (const auto& entry : host.tavola().factories()) {
        // Destroyed with its record, to which only the table has a reference.
        const std::shared_ptr<void> witness(nullptr, [&gone, name = entry.first.toStdString()](void*) { gone.push_back(name); });
        entry.second->create = [witness] { return std::shared_ptr<Tavola::UIComponent>(); };
    }
    CHECK(gone.empty());
    plugin.reset();
    CHECK(gone == std::vector<std::string>(kAllNames.rbegin(), kAllNames.rend()));
}

TEST_CASE("plug-in: a card opens a space through the loaded library, which can be unloaded after that and loaded again")
{
    TestHost host;
    host.addPerson(4711, "Ann");
    host.style("PersonalTesselDetectorWidget { width: 100%; height: 100%; position: absolute; left: 0; top: 0 }"
               "PersonalSpaceWidget { collection-mode: upload }");
    host.mediaServer().script = [](const QJsonObject&) { return QJsonObject{{"success", "true"}, {"userpageurl", "http://p"}}; };
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        auto plugin = load();
        {
            const auto detector = host.tavola().createComponent("tavola-personal-tessel-detector")->createContentWidget();
            host.mainWidget().addChild(detector);
            host.frame();
            const auto card = host.input.markerDown(4711, {500.f, 500.f});
            // The page has no QR address.
            TestSupport::expectWarningStartingWith("PersonalSpaceUploader # Failed to download QR icon for marker 4711 from  : ");
            host.frame();
            const Bedrock::IntrusivePtr<Trellis::Widget> space(host.mainWidget().findByType("PersonalSpaceWidget"));
            REQUIRE(space);
            CHECK(host.frameUntil([&] { return TestSupport::loggedLines().size() == std::size_t(round + 1); }));
            CHECK_FALSE(space->hasPseudoClass("no-user-page"));
            host.input.markerUp(card);
            host.frame();
            CHECK(host.mainWidget().findByType("PersonalSpaceWidget") == space.get());
            space->removeFromParent();
            detector->removeFromParent();
        }
        host.frames(3);
        plugin.reset();
        CHECK_FALSE(isMapped(PLUGIN_FILE));
    }
}

TEST_CASE("plug-in: widgets that outlive the library keep nothing of it")
{
    TestHost host;
    host.style(".tracked { track-tessels-on-widget: true; width: 100px; height: 100px }");
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        auto plugin = load();
        if (round == 0) {
            host.mainWidget().addChild(widget);
            widget->addCSSClass("tracked");
        } else {
            widget->updateStyle();
        }
        REQUIRE(widget->attribute("track-tessels-on-widget"));
        REQUIRE(widget->operators().size() == 1);
        host.frame();
        plugin.reset();
        CHECK_FALSE(isMapped(PLUGIN_FILE));
        CHECK_FALSE(widget->attribute("track-tessels-on-widget"));
        CHECK(widget->operators().empty());
        const auto card = host.input.markerDown(4711, {50.f, 50.f});
        host.frame();
        host.input.markerUp(card);
        host.frame();
    }
}

TEST_CASE("plug-in: a component that no package declares is reported and the others are registered")
{
    TestHost host;
    SUBCASE("the folder is missing")
    {
        const Copy copy(R"({ "components": { "personal-space-widget": { "type": "widget" },
                                             "email-widget-popup": { "type": "widget" },
                                             "tavola-personal-tessel-detector": { "type": "widget-instance" } } })");
        const auto texts = expectPackageErrors({"personal-folder"});
        const auto plugin = load(copy.path());
        CHECK(errorMessages(host) == texts);
        CHECK(registeredNames(host)
              == std::vector<std::string>{"email-widget-popup", "personal-space-widget", "tavola-personal-tessel-detector"});
    }
    SUBCASE("all are missing, and are reported in their order")
    {
        const Copy copy(R"({ "components": {} })");
        const auto texts = expectPackageErrors(kAllNames);
        const auto plugin = load(copy.path());
        CHECK(errorMessages(host) == texts);
        CHECK(registeredNames(host).empty());
    }
    CHECK(registeredNames(host).empty());
}

TEST_CASE("plug-in: unloading after the application is silent")
{
    std::unique_ptr<PluginLoader> plugin;
    {
        TestHost host;
        plugin = load();
    }
    plugin.reset();
    CHECK_FALSE(isMapped(PLUGIN_FILE));
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("plug-in: it exports nothing")
{
    QProcess nm;
    nm.start("nm", {"-D", "--defined-only", PLUGIN_FILE});
    REQUIRE(nm.waitForFinished(TestSupport::kPatienceMs));
    CHECK(nm.exitCode() == 0);
    CHECK(nm.readAllStandardOutput().toStdString().empty());
}
