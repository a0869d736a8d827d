#pragma once

#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "detector/PersonalTesselDetectorWidget.hpp"
#include "folder/MarkerTrackerOperator.hpp"
#include "folder/PersonalFolderWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"
#include "registration/FactoryRegistrant.hpp"
#include "registration/PersonalComponents.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/MarkerReceiver.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/InputGrabber.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace PluginTest
{
/// Content of a folder: 100 by 50, styled 30 to the right of and 40 below the point where it is opened. Accepts cards, and
/// records what happens to it.
class FolderItem final : public Trellis::Widget, public Tavola::MarkerReceiver
{
public:
    explicit FolderItem(std::string itemName = "item", std::shared_ptr<Strings> log = nullptr)
        : name(std::move(itemName)), m_log(std::move(log))
    {
        setCSSType("FolderItem");
        write("made");
    }
    void receiveMarker(const Tactile::Marker& marker) override
    {
        taken.push_back(marker);
        write("took card");
        if (onTake)
            onTake();
    }

    const std::string name;
    std::vector<Tactile::Marker> taken;
    std::function<void()> onTake;

private:
    void write(const char* what)
    {
        if (m_log)
            m_log->push_back(name + " " + what);
    }
    std::shared_ptr<Strings> m_log;
};

/// The operators of one class that a widget has.
template <class Type>
[[nodiscard]] std::vector<Type*> operatorsOf(const Trellis::Widget& widget)
{
    std::vector<Type*> found;
    for (const auto& op : widget.operators())
        if (auto* typed = dynamic_cast<Type*>(op.get()))
            found.push_back(typed);
    return found;
}

inline constexpr Vecta::Vector2f kCard{600.f, 400.f};      ///< where Table::putCard puts the card
inline constexpr Vecta::Vector2f kStyledPlace{30.f, 40.f}; ///< of a FolderItem

/// Whether the host closes the widget when it is not used.
inline bool isTemporary(const Trellis::Widget& widget)
{
    return widget.hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
}

/// A table whose host has every component of the plug-in. Detector, folder and card are added by the test; fixtures of single
/// test files derive from this one.
struct Table
{
    using Detector = Tavola::PersonalTesselDetectorWidget;
    using Folder = Tavola::PersonalFolderWidget;
    using Component = Tavola::CustomWidgetInstanceComponent;
    static constexpr const char* kRelative = "content-widget-relative";
    static constexpr const char* kAbsolute = "content-widget-absolute";

    TestSupport::TestHost host;
    std::optional<Tavola::FactoryRegistrant<Tavola::WidgetComponent>> spaceRegistrant;
    std::optional<Tavola::FactoryRegistrant<Tavola::WidgetComponent>> popupRegistrant;
    std::optional<Tavola::FactoryRegistrant<Component>> folderRegistrant;
    std::optional<Tavola::FactoryRegistrant<Component>> detectorRegistrant;
    Bedrock::IntrusivePtr<Detector> detector; ///< null until addDetector
    unsigned long code = newCode();           ///< of the card that most tests use
    std::int64_t id = 0;                      ///< on the table, of the card of putCard
    std::shared_ptr<Strings> log = std::make_shared<Strings>();
    std::shared_ptr<Component> component; ///< of the folder
    Bedrock::IntrusivePtr<Folder> folder; ///< null until addFolder
    QTemporaryDir files;

    Table()
    {
        host.declareComponents(
            {"personal-space-widget", "email-widget-popup", "personal-folder", "tavola-personal-tessel-detector"});
        spaceRegistrant.emplace("personal-space-widget", Tavola::makePersonalSpaceComponent);
        popupRegistrant.emplace("email-widget-popup", Tavola::makeEmailPopupComponent);
        folderRegistrant.emplace("personal-folder", Tavola::makePersonalFolderComponent);
        detectorRegistrant.emplace("tavola-personal-tessel-detector", Tavola::makeTesselDetectorComponent);
        host.style("PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
                   "PersonalTesselDetectorWidget { width: 800px; height: 600px; position: absolute; left: 200px; top: 100px }"
                   "FolderItem { width: 100px; height: 50px; position: absolute; left: 30px; top: 40px }"
                   "ContentMenuNode { width: 80px; height: 60px; position: absolute }");
    }

    // ---- Detector ------------------------------------------------------------------------------------------------------

    /// A detector of 800 by 600 at (200, 100), made as the host makes one for a presentation.
    void addDetector()
    {
        const auto made = host.tavola().createComponent("tavola-personal-tessel-detector")->createContentWidget();
        detector = Bedrock::dynamicPointerCast<Detector>(made);
        host.mainWidget().addChild(detector);
    }
    /// An attribute of the detector.
    template <class Type>
    Facet::AttributeT<Type>& attribute(const char* name)
    {
        return dynamic_cast<Facet::AttributeT<Type>&>(*detector->attribute(name));
    }
    [[nodiscard]] std::vector<Tavola::PersonalSpaceWidget*> spaces()
    {
        std::vector<Tavola::PersonalSpaceWidget*> found;
        for (const auto& child : host.mainWidget().children())
            if (auto* space = dynamic_cast<Tavola::PersonalSpaceWidget*>(child.get()))
                found.push_back(space);
        return found;
    }
    /// Content that the host describes, 50 by 50, under the main widget.
    Bedrock::IntrusivePtr<PlainContent> content()
    {
        const Bedrock::IntrusivePtr<PlainContent> made(new PlainContent(&host.mainWidget()));
        made->source.setValue("https://example.org/page");
        made->setSize({50.f, 50.f});
        return made;
    }
    /// Gives the detector a card that was put on a widget, at (700, 500).
    void putOn(Trellis::Widget& widget, unsigned long card, float rotationRadians = 0.f)
    {
        detector->tesselOnWidget(widget, Tactile::Marker(1, card, {700.f, 500.f}, rotationRadians));
    }

    // ---- Cards ---------------------------------------------------------------------------------------------------------

    /// Puts a card of this code down and cranks a frame; its id on the table.
    std::int64_t putDown(unsigned long card, Vecta::Vector2f point = {600.f, 400.f}, float rotationRadians = 0.f)
    {
        const auto put = host.input.markerDown(card, point, rotationRadians);
        host.frame();
        return put;
    }
    void lift(std::int64_t card)
    {
        host.input.markerUp(card);
        host.frame();
    }
    /// Puts the card of most tests at `kCard`; its id is `id` from here on.
    void putCard(float rotationRadians = 0.f)
    {
        id = putDown(code, kCard, rotationRadians);
        host.frame();
    }
    /// Moves, and turns, the card of `putCard`.
    void moveCard(Vecta::Vector2f to)
    {
        host.input.markerMove(id, to);
        host.frame();
    }
    void moveCard(Vecta::Vector2f to, double rotationRadians)
    {
        host.input.markerMove(id, to, float(rotationRadians));
        host.frame();
    }
    [[nodiscard]] std::optional<Tactile::Marker> card(std::int64_t cardId)
    {
        return host.app().grabManager()->findMarker(cardId);
    }
    /// The widget that has grabbed an object, or null.
    [[nodiscard]] Trellis::Widget* holder(std::int64_t object)
    {
        auto* grabber = host.app().grabManager()->grabber(object);
        return grabber ? dynamic_cast<Trellis::Widget*>(grabber->host()) : nullptr;
    }

    // ---- Folder --------------------------------------------------------------------------------------------------------

    [[nodiscard]] std::shared_ptr<Component> makeFolderComponent()
    {
        return std::dynamic_pointer_cast<Component>(host.tavola().createComponent("personal-folder"));
    }
    /// The folder of this table, as a component of the presentation makes it, with nothing in its slots.
    void addFolder()
    {
        component = makeFolderComponent();
        REQUIRE(component);
        folder = Bedrock::dynamicPointerCast<Folder>(component->createContentWidget());
        REQUIRE(folder);
    }
    [[nodiscard]] std::shared_ptr<Tavola::WidgetComponent> itemComponent(const std::string& name) const
    {
        return std::make_shared<Tavola::WidgetComponent>(
            [name, log = log] { return Bedrock::makeIntrusive<FolderItem>(name, log); });
    }
    void addItem(const char* slot, const std::string& name) { component->assign(slot, itemComponent(name)); }
    /// A menu of two entries.
    void addMenu(const char* slot)
    {
        const QString path = files.filePath("menu.json");
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(R"({ "entries": [ { "text": "One", "content": { "component": "personal-space-widget" } },
                                   { "text": "More", "entries": [
                                       { "text": "Two", "content": { "component": "personal-space-widget" } } ] } ] })");
        file.close();
        component->assign(slot, std::make_shared<Tavola::WidgetComponent>([path] {
                              const auto menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>();
                              if (auto* source = dynamic_cast<Facet::AttributeT<QString>*>(menu->attribute("menu")))
                                  source->setValue(path);
                              menu->postConstruct();
                              return menu;
                          }));
    }
    template <class Type>
    void set(const char* name, Type value)
    {
        dynamic_cast<Facet::AttributeT<Type>&>(*folder->attribute(name)).setValue(value);
    }

    /// The opened widgets of a type under the main widget, from the bottom to the top.
    template <class Type>
    [[nodiscard]] std::vector<Type*> opened()
    {
        std::vector<Type*> found;
        for (const auto& child : host.mainWidget().children())
            if (auto* typed = dynamic_cast<Type*>(child.get()))
                found.push_back(typed);
        return found;
    }
    [[nodiscard]] std::vector<FolderItem*> items() { return opened<FolderItem>(); }
    [[nodiscard]] std::vector<Tavola::ContentMenuWidget*> menus() { return opened<Tavola::ContentMenuWidget>(); }
    [[nodiscard]] Strings itemNames()
    {
        Strings names;
        for (const auto* item : items())
            names.push_back(item->name);
        return names;
    }
    [[nodiscard]] FolderItem& item(const std::string& name)
    {
        for (auto* one : items())
            if (one->name == name)
                return *one;
        throw std::runtime_error("no item '" + name + "' stands on the table");
    }
    /// The node that a menu shows.
    [[nodiscard]] static Trellis::Widget& nodeOf(const Trellis::Widget& menu)
    {
        auto* node = menu.findByType("ContentMenuNode");
        if (!node)
            throw std::runtime_error("the menu shows no node");
        return *node;
    }
    /// Frames until every opening has ended.
    void finishOpening() { host.frames(30); }
    /// Where a point of a widget is seen.
    [[nodiscard]] static Vecta::Vector2f seen(const Trellis::Widget& widget, Vecta::Vector2f point = {0.f, 0.f})
    {
        return widget.mapToScene(point);
    }
    [[nodiscard]] static Vecta::Vector2f seenCentre(const Trellis::Widget& widget)
    {
        return widget.mapToScene(widget.size() * 0.5f);
    }
};

/// A table with a folder and a card that the test gives to the folder itself.
struct CardAndFolder : Table
{
    explicit CardAndFolder(float cardRotation = 0.f)
    {
        addFolder();
        putCard(cardRotation);
    }
    void down() { folder->personalMarkerDown(*card(id)); }
    void up() { folder->personalMarkerUp(*card(id)); }
};
}
