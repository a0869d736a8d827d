#pragma once

#include "DetectorHost.hpp"
#include "folder/MarkerTrackerOperator.hpp"
#include "folder/PersonalFolderWidget.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/MarkerTaker.hpp>
#include <Trellis/FrameInfo.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace PluginTest
{
constexpr double kPi = 3.141592653589793;

/// Content of a folder: 100 by 50, styled 30 to the right of and 40 below where it is opened. Takes cards, and writes down
/// what happens to it.
class FolderItem final : public Trellis::Widget, public Tavola::MarkerTaker
{
public:
    explicit FolderItem(std::string itemName = "item", std::shared_ptr<Strings> log = nullptr)
        : name(std::move(itemName)), m_log(std::move(log))
    {
        setCSSType("FolderItem");
        write("made");
    }
    void takeMarker(const Tactile::Marker& marker) override
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

[[nodiscard]] inline bool near(Vecta::Vector2f a, Vecta::Vector2f b, float tolerancePx = 0.05f)
{
    const bool is = std::abs(a.x - b.x) < tolerancePx && std::abs(a.y - b.y) < tolerancePx;
    if (!is)
        MESSAGE("(" << a.x << ", " << a.y << ") is not near (" << b.x << ", " << b.y << ")");
    return is;
}

/// Whether two angles are the same direction.
[[nodiscard]] inline bool sameDirection(double a, double b)
{
    const bool is = std::abs(std::remainder(a - b, 2.0 * kPi)) < 1e-3;
    if (!is)
        MESSAGE(a << " rad is another direction than " << b << " rad");
    return is;
}

/// A table whose host knows every component of the plug-in, with folders beside the detector.
struct FolderHost : DetectorHost
{
    using Folder = Tavola::PersonalFolderWidget;
    using Component = Tavola::CustomWidgetInstanceComponent;
    static constexpr const char* kRelative = "content-widget-relative";
    static constexpr const char* kAbsolute = "content-widget-absolute";

    std::optional<Tavola::FactoryRegistrant<Component>> folderRegistrant;
    std::optional<Tavola::FactoryRegistrant<Tavola::WidgetComponent>> popupRegistrant;
    std::shared_ptr<Strings> log = std::make_shared<Strings>();
    std::shared_ptr<Component> component;
    Bedrock::IntrusivePtr<Folder> folder;
    QTemporaryDir files;

    FolderHost()
    {
        host.declareComponents({"personal-folder", "email-widget-popup"});
        folderRegistrant.emplace("personal-folder", Tavola::makePersonalFolderComponent);
        popupRegistrant.emplace("email-widget-popup", Tavola::makeEmailPopupComponent);
        host.style("FolderItem { width: 100px; height: 50px; position: absolute; left: 30px; top: 40px }"
                   "ContentMenuNode { width: 80px; height: 60px; position: absolute }");
    }

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

    /// What was opened and stands under the main widget, from the bottom to the top.
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
    [[nodiscard]] std::optional<Tactile::Marker> card(std::int64_t id) { return host.app().grabManager()->findMarker(id); }

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

/// A card on the table and a folder that is told of it by the test.
struct CardAndFolder : FolderHost
{
    static constexpr Vecta::Vector2f kCard{600.f, 400.f};
    static constexpr Vecta::Vector2f kStyledPlace{30.f, 40.f}; ///< of an item

    std::int64_t id = 0;

    explicit CardAndFolder(float cardRotation = 0.f)
    {
        addFolder();
        id = putDown(code, kCard, cardRotation);
        host.frame();
    }
    void down() { folder->personalMarkerDown(*card(id)); }
    void up() { folder->personalMarkerUp(*card(id)); }
    void moveCard(Vecta::Vector2f to)
    {
        host.input.markerMove(id, to);
        host.frame();
    }
};
}
