#include "registration/FactoryRegistrant.hpp"

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <memory>
#include <optional>

using Tavola::CustomWidgetInstanceComponent;
using Tavola::FactoryRegistrant;
using Tavola::WidgetComponent;
using TestSupport::TestHost;

namespace
{
std::shared_ptr<WidgetComponent> makeComponent()
{
    return std::make_shared<WidgetComponent>([] { return Bedrock::makeIntrusive<Trellis::Widget>(); });
}

std::shared_ptr<CustomWidgetInstanceComponent> makeCustomComponent()
{
    return std::make_shared<CustomWidgetInstanceComponent>(nullptr, nullptr);
}
}

TEST_CASE("factory registrant: the factory is in the table as long as the registrant lives")
{
    TestHost host;
    host.declareComponents({"some-component"});
    {
        const FactoryRegistrant<WidgetComponent> registrant("some-component", makeComponent);
        REQUIRE(host.tavola().factories().count("some-component") == 1);
        CHECK(registrant.name() == "some-component");
    }
    CHECK(host.tavola().factories().empty());
}

TEST_CASE("factory registrant: the record holds function, type and the schema of the package")
{
    TestHost host;
    host.declareComponents({"one", "two"});
    const FactoryRegistrant<WidgetComponent> one("one", makeComponent);
    const FactoryRegistrant<CustomWidgetInstanceComponent> two("two", makeCustomComponent);
    const auto& first = *host.tavola().factories().at("one");
    CHECK(*first.type == typeid(WidgetComponent));
    CHECK(first.schema.type() == "widget");
    CHECK(std::dynamic_pointer_cast<WidgetComponent>(first.create()));
    CHECK(first.create() != first.create());
    const auto& second = *host.tavola().factories().at("two");
    CHECK(*second.type == typeid(CustomWidgetInstanceComponent));
    CHECK(std::dynamic_pointer_cast<CustomWidgetInstanceComponent>(second.create()));
}

TEST_CASE("factory registrant: a component that no package declares is an error and stays unknown, the others are known")
{
    TestHost host;
    host.declareComponents({"first", "third"});
    const FactoryRegistrant<WidgetComponent> first("first", makeComponent);
    TestSupport::expectError("Tavola # Couldn't find package for component personal-folder.");
    std::optional<FactoryRegistrant<WidgetComponent>> second;
    second.emplace("personal-folder", makeComponent);
    const FactoryRegistrant<WidgetComponent> third("third", makeComponent);
    CHECK(host.errorMessages() == std::vector<QString>{"Couldn't find package for component personal-folder."});
    CHECK(host.tavola().factories().size() == 2);
    second.reset();
    CHECK(host.tavola().factories().size() == 2);
}

TEST_CASE("factory registrant: without an application it does nothing, at its beginning and at its end")
{
    std::optional<FactoryRegistrant<WidgetComponent>> registrant;
    registrant.emplace("some-component", makeComponent);
    {
        TestHost host;
        host.declareComponents({"some-component"});
        CHECK(host.tavola().factories().empty());
        registrant.reset();
        CHECK(host.tavola().factories().empty());
    }
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("factory registrant: an application that was destroyed is not touched at the end")
{
    std::optional<FactoryRegistrant<WidgetComponent>> registrant;
    {
        TestHost host;
        host.declareComponents({"some-component"});
        registrant.emplace("some-component", makeComponent);
    }
    CHECK_NOTHROW(registrant.reset());
}

TEST_CASE("factory registrant: a later application is not touched at the end")
{
    std::optional<FactoryRegistrant<WidgetComponent>> registrant;
    {
        TestHost host;
        host.declareComponents({"some-component"});
        registrant.emplace("some-component", makeComponent);
    }
    TestHost host;
    host.declareComponents({"some-component"});
    const FactoryRegistrant<WidgetComponent> other("some-component", makeComponent);
    registrant.reset();
    CHECK(host.tavola().factories().count("some-component") == 1);
}

TEST_CASE("factory registrant: a name that is taken stays with the first one")
{
    TestHost host;
    host.declareComponents({"some-component"});
    const FactoryRegistrant<WidgetComponent> first("some-component", makeComponent);
    {
        TestSupport::expectWarningStartingWith("Tavola::registerFactory # ");
        const FactoryRegistrant<WidgetComponent> second("some-component", makeComponent);
    }
    CHECK(host.tavola().factories().count("some-component") == 1);
}
