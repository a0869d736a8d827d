// What the package file declares of the plug-in's widgets for style sheets, compared with the widgets.

#include "DeclaredTypes.hpp"
#include "TrackerTable.hpp"
#include "detector/WidgetTesselDetectorOperator.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Tavola/Package.hpp>

#include <doctest/doctest.h>

#include <algorithm>

using PluginTest::TrackerTable;

namespace
{
/// Adds what is of a type that the package declares: the test's own widgets are of others.
void addDeclared(TestSupport::DeclaredTypes& types, const Tavola::Package& package, const Trellis::Widget& widget)
{
    const auto add = [&](const Cascara::Styleable& node) {
        const auto& declared = package.styleTypes();
        if (std::any_of(declared.begin(), declared.end(), [&](const auto& type) { return type.name == node.cssType(); }))
            types.add(node);
    };
    add(widget);
    for (const auto& running : widget.operators())
        add(*running);
    for (const auto& child : widget.children())
        addDeclared(types, package, *child);
}
}

TEST_CASE("style types: what the package file declares is what the plug-in's widgets and operators have")
{
    const auto package = Tavola::Package::load(QStringLiteral(PACKAGE_FILE));
    REQUIRE(package);
    const Cascara::StyleVocabulary::Registrant declared(package->styleTypes());
    const Cascara::LazyAttributeManager::Registrant tracked("track-tessels-on-widget", &Tavola::createTrackTesselsAttribute);
    TrackerTable table;
    table.track();
    table.host.style("FolderItem { track-tessels-on-widget: true }");
    const unsigned long code = PluginTest::newCode();
    table.host.addPerson(code, "Ann");
    table.addDetector();
    table.host.frame();
    table.putDown(code, {900.f, 500.f});
    REQUIRE(table.spaces().size() == 1);
    table.host.mainWidget().addChild(table.folder);
    table.host.mainWidget().addChild(table.host.tavola().createComponent("personal-space-widget")->createContentWidget());
    table.host.mainWidget().addChild(table.host.tavola().createComponent("email-widget-popup")->createContentWidget());
    const auto plain = Bedrock::makeIntrusive<Trellis::Widget>(&table.host.mainWidget());
    REQUIRE(Cascara::LazyAttributeManager::create(*plain, "track-tessels-on-widget"));

    TestSupport::DeclaredTypes types;
    addDeclared(types, *package, table.host.mainWidget());
    types.check();
    for (const Cascara::StyleType& type : package->styleTypes())
        CHECK_MESSAGE(types.hasSeen(QString::fromUtf8(type.name)), type.name.toStdString());
}
