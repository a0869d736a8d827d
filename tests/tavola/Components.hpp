#pragma once

#include "TestHost.hpp"

#include <Tavola/Component.hpp>

#include <memory>
#include <utility>

/// Registers a component for as long as the table's application exists; `make` returns each of its widgets.
template <class Make>
void addComponent(TestSupport::TestHost& host, const char* name, Make make, const Tavola::Schema& schema = {})
{
    auto factory = std::make_shared<Tavola::ComponentFactory>();
    factory->create = [make] {
        return std::make_shared<Tavola::WidgetComponent>([make]() -> Bedrock::IntrusivePtr<Trellis::Widget> { return make(); });
    };
    factory->type = &typeid(Tavola::WidgetComponent);
    factory->schema = schema;
    static_cast<void>(host.tavola().registerFactory(QString::fromLatin1(name), std::move(factory)));
}

/// A component whose widgets are of class W.
template <class W>
void addComponentOf(TestSupport::TestHost& host, const char* name, const Tavola::Schema& schema = {})
{
    addComponent(
        host, name, [] { return Bedrock::IntrusivePtr<Trellis::Widget>(new W()); }, schema);
}
