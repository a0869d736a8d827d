#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/Package.hpp>

#include <QJsonArray>

#include <atomic>
#include <stdexcept>
#include <thread>

using Bedrock::makeIntrusive;
using Tavola::ComponentFactory;
using TestSupport::TestHost;

namespace
{
std::shared_ptr<ComponentFactory> makeFactory()
{
    auto factory = std::make_shared<ComponentFactory>();
    factory->create = [] { return std::make_shared<Tavola::WidgetComponent>([] { return makeIntrusive<Trellis::Widget>(); }); };
    factory->type = &typeid(Tavola::WidgetComponent);
    return factory;
}
}

TEST_CASE("tavola: there is an instance exactly while the application exists")
{
    CHECK_FALSE(Tavola::Tavola::instance());
    CHECK(Tavola::Tavola::weakInstance().expired());
    {
        TestHost host;
        CHECK(Tavola::Tavola::instance().get() == &host.tavola());
        CHECK(Tavola::Tavola::weakInstance().lock().get() == &host.tavola());
        host.destroyTavola();
        CHECK_FALSE(Tavola::Tavola::instance());
        CHECK(Tavola::Tavola::weakInstance().expired());
    }
    CHECK_FALSE(Tavola::Tavola::instance());
}

TEST_CASE("tavola: other threads may ask for the instance")
{
    const auto askOnThread = [] {
        bool found = false;
        std::thread([&found] { found = Tavola::Tavola::weakInstance().lock() && Tavola::Tavola::instance(); }).join();
        return found;
    };
    CHECK_FALSE(askOnThread());
    TestHost host;
    CHECK(askOnThread());
    host.destroyTavola();
    CHECK_FALSE(askOnThread());
}

TEST_CASE("tavola: another thread may ask while applications come and go")
{
    Trellis::Application toolkit({100.f, 100.f});
    std::atomic<bool> stop{false};
    std::thread asker([&stop] {
        while (!stop)
            (void)Tavola::Tavola::weakInstance(); // a strong pointer could make this thread the last owner
    });
    for (int i = 0; i < 50; ++i)
        CHECK(Tavola::Tavola::create() != nullptr);
    stop = true;
    asker.join();
    CHECK(Tavola::Tavola::weakInstance().expired());
}

TEST_CASE("tavola: factories are entered by name and taken out by iterator")
{
    TestHost host;
    auto& tavola = host.tavola();
    CHECK(tavola.factories().empty());
    const auto b = tavola.registerFactory("b", makeFactory());
    const auto a = tavola.registerFactory("a", makeFactory());
    REQUIRE(tavola.factories().size() == 2);
    CHECK(b->first == "b");
    tavola.unregisterFactory(a);
    CHECK(tavola.factories().count("a") == 0);
    CHECK(b->first == "b"); // still valid
    tavola.unregisterFactory(b);
    CHECK(tavola.factories().empty());
}

TEST_CASE("tavola: a name that is taken stays with the first factory")
{
    TestHost host;
    auto& tavola = host.tavola();
    const auto factory = makeFactory();
    const auto first = tavola.registerFactory("a", factory);
    TestSupport::expectWarning("Tavola::registerFactory # Component 'a' is registered already; the first one stays");
    const auto second = tavola.registerFactory("a", makeFactory());
    CHECK(tavola.factories().at("a") == factory);
    tavola.unregisterFactory(second);
    CHECK(tavola.factories().at("a") == factory);
    tavola.unregisterFactory(first);
    CHECK(tavola.factories().empty());
}

TEST_CASE("tavola: makes components of registered names only")
{
    TestHost host;
    host.tavola().registerFactory("a", makeFactory());
    auto empty = std::make_shared<ComponentFactory>();
    host.tavola().registerFactory("no function", empty);
    host.tavola().registerFactory("nothing", nullptr);
    const auto component = host.tavola().createComponent("a");
    REQUIRE(component);
    CHECK(component->name() == "a");
    CHECK_FALSE(host.tavola().createComponent("b"));
    CHECK_FALSE(host.tavola().createComponent("no function"));
    CHECK_FALSE(host.tavola().createComponent("nothing"));
}

TEST_CASE("tavola: a component whose factory throws is an error, and none is made")
{
    TestHost host;
    auto factory = std::make_shared<ComponentFactory>();
    factory->create = []() -> std::shared_ptr<Tavola::UIComponent> { throw std::runtime_error("no wood"); };
    host.tavola().registerFactory("chair", factory);
    TestSupport::expectError("Tavola::createComponent # Component 'chair' failed (no wood)");
    CHECK_FALSE(host.tavola().createComponent("chair"));
}

TEST_CASE("tavola: a component has the schema of its factory")
{
    TestHost host;
    auto factory = makeFactory();
    factory->schema = Tavola::Schema({{"type", "widget"}, {"restrictions", QJsonArray{"lock"}}});
    host.tavola().registerFactory("a", factory);
    CHECK(host.tavola().createComponent("a")->schema().restrictions() == QStringList{"lock"});
}

TEST_CASE("tavola: a part is made once, when it is first asked for, and goes with the application, the last made first")
{
    static QByteArray log;
    struct First
    {
        First() { log += "+1"; }
        ~First() { log += "-1"; }
    };
    struct Second
    {
        Second() { log += "+2"; }
        ~Second() { log += "-2"; }
    };
    log.clear();
    TestHost host;
    auto& first = host.tavola().part<First>();
    static_cast<void>(host.tavola().part<Second>());
    CHECK(&host.tavola().part<First>() == &first);
    CHECK(log == "+1+2");
    host.destroyTavola();
    CHECK(log == "+1+2-2-1");
}

TEST_CASE("tavola: finds the package that declares a component")
{
    TestHost host;
    CHECK_FALSE(host.tavola().packageOfComponent("a"));
    const auto package =
        Tavola::Package::fromJson({{"components", QJsonObject{{"a", QJsonObject{{"type", "widget"}}}}}}, "x.json");
    host.tavola().addPackage(package);
    host.tavola().addPackage(nullptr);
    CHECK(host.tavola().packageOfComponent("a") == package);
    CHECK_FALSE(host.tavola().packageOfComponent("b"));
    host.tavola().removePackage(package);
    CHECK_FALSE(host.tavola().packageOfComponent("a"));
}

TEST_CASE("tavola: an error message is an error in the log and reaches the handler")
{
    TestHost host;
    TestSupport::expectError("Tavola # Couldn't find package for component x.");
    host.tavola().errorMessage("Couldn't find package for component x.");
    REQUIRE(host.errorMessages().size() == 1);
    CHECK(host.errorMessages().front() == "Couldn't find package for component x.");
    host.tavola().setErrorMessageHandler(nullptr);
    TestSupport::expectError("Tavola # 100% wrong");
    host.tavola().errorMessage("100% wrong");
    CHECK(host.errorMessages().size() == 1);
}

TEST_CASE("tavola: a second application is a warning")
{
    TestHost host;
    TestSupport::expectWarning("Tavola::create # There is an application already; the new one takes its place");
    const auto second = Tavola::Tavola::create();
    CHECK(Tavola::Tavola::instance() == second);
}
