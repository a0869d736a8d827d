#include <Tavola/ContentMenuWidget.hpp>

#include "menu/ContentMenuNode.hpp"
#include "menu/MenuFile.hpp"
#include "shared/AttributeDefaults.hpp"
#include "shared/TableGeometry.hpp"

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/Utils.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <map>

namespace Tavola
{
namespace
{
constexpr float kFadeOutSeconds = 0.2f;

const Facet::AttributeT<MenuStyle>::Names kStyles{{QStringLiteral("ring"), MenuStyle::Ring},
                                                  {QStringLiteral("list"), MenuStyle::List}};
}

struct ContentMenuWidget::MenuPrivate
{
    /// An open node, and the node and entry it was opened from (0 for a first level).
    struct OpenNode
    {
        Bedrock::IntrusiveWeakPtr<ContentMenuNode> widget;
        NodeId opener = 0;
        std::size_t entry = 0;
    };

    explicit MenuPrivate(ContentMenuWidget& widget) : host(widget) {}

    ContentMenuWidget& host;
    Facet::AttributeT<QString> menu{&host, "menu"};
    Facet::AttributeT<MenuStyle> style{&host, "menu-style", kStyles, MenuStyle::Ring};
    Facet::AttributeT<float> openingSeconds{&host, "content-opening-duration", 0.3f};
    std::map<NodeId, OpenNode> nodes;
    NodeId lastNode = 0;

    Bedrock::IntrusivePtr<ContentMenuNode> makeNode(Trellis::Widget& parent, std::shared_ptr<const Menu> file,
                                                    const std::vector<MenuEntry>& entries, OpenNode from);
    NodeId find(const ContentMenuNode& node) const;
    NodeId findOpenedFrom(NodeId opener, std::size_t entry) const;
    void entryTapped(const std::shared_ptr<const Menu>& file, ContentMenuNode& node, std::size_t entry);
    void launch(const ContentMenuNode& node, std::size_t entry);
    void forget(NodeId node);
};

namespace
{
/// What a menu launches is not in it, and speaks its language all the same.
void giveLanguage(const Trellis::Widget& from, Trellis::Widget& to)
{
    for (const QByteArray& name : from.pseudoClasses())
        if (name.startsWith("lang("))
            to.setPseudoClass(name, true);
}

void readEntries(MenuFiles& files, const std::vector<MenuEntry>& entries, QStringList& paths);

/// `paths`: those that were read already, since menus may launch one another.
void readMenus(MenuFiles& files, const ComponentUse& use, QStringList& paths)
{
    const QString path = use.properties.value(QLatin1String("attributes")).toObject().value(QLatin1String("menu")).toString();
    if (use.component == QLatin1String("content-menu") && !path.isEmpty() && !paths.contains(path)) {
        paths.append(path);
        const auto menu = files.menu(path);
        readEntries(files, menu->entries, paths);
    }
    for (const auto& slot : use.slotContents)
        for (const ComponentUse& content : slot.second)
            readMenus(files, content, paths);
}

void readEntries(MenuFiles& files, const std::vector<MenuEntry>& entries, QStringList& paths)
{
    for (const MenuEntry& entry : entries) {
        readEntries(files, entry.entries, paths);
        if (entry.content)
            readMenus(files, *entry.content, paths);
    }
}
}

void ContentMenuWidget::readFiles(const ComponentUse& use)
{
    QStringList paths;
    readMenus(Tavola::instance()->part<MenuFiles>(), use, paths);
}

ContentMenuWidget::ContentMenuWidget(Trellis::Widget* parent) : Trellis::Widget(parent), d(std::make_unique<MenuPrivate>(*this))
{
    // Has no size: its nodes stand where they were opened.
    setDefaults(
        *this,
        {{"position", "absolute"}, {"left", "0"}, {"top", "0"}, {"width", "0"}, {"height", "0"}, {"input-transparent", "true"}});
    setCSSType("ContentMenuWidget");
}

ContentMenuWidget::~ContentMenuWidget() = default;

ContentMenuWidget::NodeId ContentMenuWidget::prepare(Vecta::Vector2T<float> point)
{
    const auto application = Tavola::instance();
    const QString& path = d->menu.value();
    if (path.isEmpty() || !application) {
        Bedrock::Trace::warning("ContentMenuWidget # Menu '%s' has no file; set its attribute \"menu\"", cssId().constData());
        setUpdating(true);
        return 0;
    }
    const auto file = application->part<MenuFiles>().menu(path);
    if (file->entries.empty()) {
        setUpdating(true); // as after the last node
        return 0;
    }
    const auto node = d->makeNode(*this, file, file->entries, {});
    setDefault(*node, "movable", "true");
    node->open(mapFromParent(point), d->openingSeconds.value(), true);
    return d->lastNode;
}

void ContentMenuWidget::closeNode(NodeId node)
{
    const auto found = d->nodes.find(node);
    if (found == d->nodes.end())
        return;
    const auto widget = found->second.widget.lock();
    const auto opener = d->nodes.find(found->second.opener);
    if (opener != d->nodes.end())
        if (const auto from = opener->second.widget.lock())
            from->setOpen(found->second.entry, false);
    d->forget(node);
    setUpdating(true); // until the last one has faded
    if (widget)
        Trellis::FadeAnimator::fadeOutAndDelete(*widget, kFadeOutSeconds, 0.f);
}

Bedrock::IntrusivePtr<Trellis::Widget> ContentMenuWidget::nodeWidget(NodeId node) const
{
    const auto found = d->nodes.find(node);
    return found != d->nodes.end() ? found->second.widget.lock() : nullptr;
}

void ContentMenuWidget::update(const Trellis::FrameInfo& frame)
{
    Widget::update(frame);
    if (!children().empty()) {
        setUpdating(d->nodes.empty());
        return;
    }
    setUpdating(false);
    removeFromParent();
}

Bedrock::IntrusivePtr<ContentMenuNode> ContentMenuWidget::MenuPrivate::makeNode(Trellis::Widget& parent,
                                                                                std::shared_ptr<const Menu> file,
                                                                                const std::vector<MenuEntry>& entries,
                                                                                OpenNode from)
{
    ContentMenuNode::Handlers handlers;
    const Bedrock::IntrusiveWeakPtr<ContentMenuWidget> weak(&host);
    handlers.entryTapped = [weak, file](ContentMenuNode& node, std::size_t entry) {
        if (const auto menuWidget = weak.lock())
            menuWidget->d->entryTapped(file, node, entry);
    };
    handlers.closeTapped = [weak](ContentMenuNode& node) {
        if (const auto menuWidget = weak.lock())
            menuWidget->closeNode(menuWidget->d->find(node));
    };
    const Bedrock::IntrusivePtr<ContentMenuNode> node(
        new ContentMenuNode(&parent, style.value(), std::move(file), entries, std::move(handlers)));
    node->postConstruct();
    node->arrange();
    from.widget = node;
    nodes.emplace(++lastNode, std::move(from));
    return node;
}

ContentMenuWidget::NodeId ContentMenuWidget::MenuPrivate::find(const ContentMenuNode& node) const
{
    for (const auto& open : nodes)
        if (open.second.widget.lock().get() == &node)
            return open.first;
    return 0;
}

ContentMenuWidget::NodeId ContentMenuWidget::MenuPrivate::findOpenedFrom(NodeId opener, std::size_t entry) const
{
    for (const auto& open : nodes)
        if (open.second.opener == opener && open.second.entry == entry)
            return open.first;
    return 0;
}

void ContentMenuWidget::MenuPrivate::entryTapped(const std::shared_ptr<const Menu>& file, ContentMenuNode& node,
                                                 std::size_t entry)
{
    const NodeId opener = find(node);
    if (opener == 0)
        return; // fading out
    const MenuEntry& tapped = node.entries()[entry];
    if (tapped.content) {
        launch(node, entry);
        return;
    }
    if (const NodeId open = findOpenedFrom(opener, entry)) {
        host.closeNode(open);
        return;
    }
    const auto next = makeNode(node, file, tapped.entries, {{}, opener, entry});
    node.setOpen(entry, true);
    next->open(centerOnTable(*next, next->scale(), node, node.placeBeside(entry, next->size())), openingSeconds.value(), false);
}

void ContentMenuWidget::MenuPrivate::launch(const ContentMenuNode& node, std::size_t entry)
{
    const auto application = Tavola::instance();
    const auto component = application ? node.entries()[entry].content->makeComponent() : nullptr;
    const auto widget = component ? component->createContentWidget() : nullptr;
    if (!widget)
        return; // logged
    const auto mainWidget = application->ui()->mainWidget();
    giveLanguage(host, *widget);
    mainWidget->addChild(widget);
    widget->raiseToTop(false);
    widget->addCSSClass(Utils::temporaryWidgetCSSClass());
    const float scale = sceneScale(node) / sceneScale(*mainWidget);
    const Vecta::Vector2f beside = node.placeBeside(entry, widget->size() * (widget->scale() / scale));
    const Vecta::Vector2f center = mainWidget->mapFromScene(node.mapToScene(beside));
    if (auto* menuWidget = dynamic_cast<ContentMenuWidget*>(widget.get())) {
        menuWidget->prepare(center);
        return;
    }
    widget->setRotation(sceneRotation(node) - sceneRotation(*mainWidget));
    const auto opening = Bedrock::makeIntrusive<LaunchedContentOperator>(false, center, openingSeconds.value());
    opening->keepOnTable(); // also when it gets its size later
    widget->addOperator(opening);
}

/// The node and what was opened from it; the widgets go with the node's widget.
void ContentMenuWidget::MenuPrivate::forget(NodeId node)
{
    nodes.erase(node);
    std::vector<NodeId> opened;
    for (const auto& open : nodes)
        if (open.second.opener == node)
            opened.push_back(open.first);
    for (const NodeId next : opened)
        forget(next);
}
}
