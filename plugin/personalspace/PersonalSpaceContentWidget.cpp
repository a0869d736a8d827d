#include "personalspace/PersonalSpaceContentWidget.hpp"

#include "shared/AfterUpdate.hpp"
#include "shared/DefaultFileRepresentation.hpp"
#include "shared/IdPayload.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/ImageWidget.hpp>

#include <QStringList>

namespace Tavola
{
namespace
{
constexpr float kFadeInSeconds = 0.4f;
constexpr float kFadeInDelaySeconds = 0.2f;
constexpr float kFadeOutSeconds = 0.2f;
constexpr float kFadeOutDelaySeconds = 0.f;

/// The scale of every tile: at most a third, so that a space with one item looks like one with four.
float tileScale(std::size_t count)
{
    std::size_t columns = 1;
    while (columns * columns < count)
        ++columns;
    return columns <= 2 ? 1.f / 3.f : 1.f / static_cast<float>(columns);
}
}

PersonalSpaceContentWidget::PersonalSpaceContentWidget(Trellis::Widget* parent, unsigned long code)
    : Trellis::Widget(parent), m_code(code), m_contents(PersonalSpaceContents::personalContent(code))
{
    setCSSType("PersonalSpaceContentWidget");
    updateStyle();

    // The area covers the space and stands above the space's buttons: unless a style sheet sets this attribute, touches go to the
    // tiles or through the area. Drops do not depend on it.
    if (auto* transparent = Facet::findAttribute<bool>(*this, "input-transparent"))
        transparent->setValue(true, Facet::kDefaultLayer);

    eventAddOut("empty");
    eventAddOut("content-changed");
    eventAddOut("widget-added");
    eventAddOut("widget-removed");
    eventAddOut("before-remove-item");

    listenToContents();
    m_acceptDrops.addListener(
        [this] {
            // The Leave event of the drag is refused from here on, so the hover state ends now.
            if (!*m_acceptDrops)
                endHover();
        },
        Facet::Attribute::kValueChanged);
}

PersonalSpaceContentWidget::~PersonalSpaceContentWidget()
{
    for (const auto listener : m_contentsListeners)
        m_contents->eventRemoveListener(listener);
    // This widget receives no Leave event any more.
    endHover();
}

void PersonalSpaceContentWidget::listenToContents()
{
    // The lock keeps the widget alive during the call: a listener of the widget's own events may close the space.
    const auto listen = [this](const char* event, auto handler) {
        const Bedrock::IntrusiveWeakPtr<PersonalSpaceContentWidget> weak(this);
        m_contentsListeners.push_back(m_contents->eventAddListenerBd(
            event,
            [weak, handler](Bedrock::BinaryData& data) {
                if (const auto self = weak.lock())
                    handler(*self, data);
            },
            Facet::Node::kImmediate));
    };
    using Self = PersonalSpaceContentWidget;
    listen("item-added", [](Self& self, Bedrock::BinaryData& data) {
        const long id = data.readInt64();
        // An earlier listener may have removed the item again: it gets no tile, since no further event would remove the tile.
        if (self.items().count(id) != 0)
            self.itemAdded(id);
    });
    listen("item-removed", [](Self& self, Bedrock::BinaryData& data) { self.itemRemoved(data.readInt64()); });
    listen("preview-ready", [](Self& self, Bedrock::BinaryData& data) {
        const long id = data.readInt64();
        self.previewReady(id, data.readString());
    });
    listen("item-status-changed", [](Self& self, Bedrock::BinaryData& data) {
        const long id = data.readInt64();
        self.updateStatus(id, static_cast<PersonalSpaceContents::ItemStatus>(data.readInt32()));
    });
}

bool PersonalSpaceContentWidget::canWidgetBeCollected(Trellis::Widget& widget)
{
    if (dynamic_cast<FileRepresentation*>(&widget))
        return true;
    const auto* urls = Facet::findAttribute<QStringList>(widget, "source-tessel-urls");
    if (urls && !urls->value().isEmpty())
        return true;
    const auto* source = Facet::findAttribute<QString>(widget, "source");
    return source && !source->value().isEmpty();
}

void PersonalSpaceContentWidget::addItem(Bedrock::IntrusivePtr<Trellis::Widget> widget)
{
    const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> alive(this);
    PersonalSpaceContents::Item item;
    item.widgetId = widget->id();
    item.status = PersonalSpaceContents::ItemStatus::Pending;
    const long id = m_contents->addItem(item);

    // The results go to the contents, which outlive this widget: closing the space meanwhile must not leave the item Pending.
    const std::shared_ptr<FileRepresentation> representation = fileRepresentationOf(widget);
    afterUpdate(folly::makeFutureWith([&] { return representation->files(); }),
                [contents = m_contents, representation, id](folly::Try<FileRepresentation::FileData>&& files) {
                    if (files.hasException()) {
                        Bedrock::Trace::warning("PersonalSpaceContentWidget::addItem # Failed to load source files (%s)",
                                                failureText(files).constData());
                        return;
                    }
                    contents->filesReady(id, files.value());
                });
    afterUpdate(folly::makeFutureWith([&] { return representation->previewFileName(); }),
                [contents = m_contents, representation, id](folly::Try<QString>&& path) {
                    if (path.hasException()) {
                        Bedrock::Trace::warning("PersonalSpaceContentWidget::addItem # Failed to load preview file (%s)",
                                                failureText(path).constData());
                        return;
                    }
                    contents->previewReady(id, path.value());
                });

    auto data = idPayload(widget->id());
    eventSend("widget-added", data);
}

void PersonalSpaceContentWidget::removeItem(long id)
{
    const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> alive(this);
    auto data = idPayload(id);
    eventSend("before-remove-item", data);
    m_contents->removeItem(id);
}

void PersonalSpaceContentWidget::removeItems()
{
    const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> alive(this);
    m_contents->removeItems();
}

bool PersonalSpaceContentWidget::isEmpty() const
{
    return m_contents->items().empty();
}

const std::map<long, PersonalSpaceContents::Item>& PersonalSpaceContentWidget::items() const
{
    return m_contents->items();
}

bool PersonalSpaceContentWidget::isInside(Vecta::Vector2f point) const
{
    if (parent())
        return parent()->isInside(mapToParent(point));
    return Trellis::Widget::isInside(point);
}

bool PersonalSpaceContentWidget::dropEvent(const DropEvent& event)
{
    if (!*m_acceptDrops || !event.widget || !parent() || !canWidgetBeCollected(*event.widget))
        return false;

    switch (event.type) {
    case DropEvent::Hover: m_hover.hover(mapToScene(event.position)); return true;
    case DropEvent::ValidHover:
        m_hover.markDragged(*event.widget);
        m_hover.hover(mapToScene(event.position));
        return true;
    case DropEvent::Leave: m_hover.leave(*event.widget); return true;
    case DropEvent::Drop: {
        const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> alive(this);
        addItem(event.widget);
        m_hover.removeIndicator();
        return true;
    }
    default: return false;
    }
}

void PersonalSpaceContentWidget::endHover()
{
    m_hover.end();
}

void PersonalSpaceContentWidget::itemAdded(long id)
{
    const Bedrock::IntrusivePtr<Trellis::Widget> container(new Trellis::Widget(this));
    container->addCSSClass("container");
    auto* statusIcon = new Trellis::ImageWidget(container.get());
    statusIcon->addCSSClass("status-icon");
    auto* preview = new Trellis::ImageWidget(container.get());

    m_tiles[id] = preview;
    const Bedrock::IntrusiveWeakPtr<PersonalSpaceContentWidget> weak(this);
    container->eventAddListener(
        "interaction-end",
        [weak, id] {
            if (const auto self = weak.lock())
                self->tileReleased(id);
        },
        Facet::Node::kImmediate);

    checkEmpty();
    resizeContents();
    // A listener of "empty" may have removed the item: its tile then fades out already, and stays on its way out.
    if (findTile(id) == container.get())
        Trellis::FadeAnimator::fadeIn(*container, kFadeInSeconds, kFadeInDelaySeconds);
    eventSend("content-changed");
}

void PersonalSpaceContentWidget::tileReleased(long id)
{
    auto* container = findTile(id);
    if (!container)
        return; // Fading out already, since its item is gone.
    if (container->intersects(*this)) {
        if (auto* location = container->attribute("location"))
            location->clearValue(Facet::kUserLayer);
        container->stopMotion();
        return;
    }
    const PersonalSpaceContents::Item item = m_contents->item(id);
    removeItem(id);
    auto data = idPayload(item.widgetId);
    eventSend("widget-removed", data);
}

void PersonalSpaceContentWidget::itemRemoved(long id)
{
    const auto found = m_tiles.find(id);
    if (found == m_tiles.end())
        return;
    if (auto* container = found->second->parent())
        Trellis::FadeAnimator::fadeOutAndDelete(*container, kFadeOutSeconds, kFadeOutDelaySeconds);
    m_tiles.erase(found);
    checkEmpty();
    resizeContents();
    eventSend("content-changed");
}

void PersonalSpaceContentWidget::previewReady(long id, const QString& path)
{
    const auto found = m_tiles.find(id);
    if (found != m_tiles.end())
        found->second->load(path, Trellis::ImageWidget::kNonBlocking);
}

void PersonalSpaceContentWidget::updateStatus(long id, PersonalSpaceContents::ItemStatus status)
{
    auto* container = findTile(id);
    if (!container)
        return;
    const auto setClass = [container](const char* name, bool on) {
        if (on)
            container->addCSSClass(name);
        else
            container->removeCSSClass(name);
    };
    setClass("uploaded", status == PersonalSpaceContents::ItemStatus::Uploaded);
    setClass("failed", status == PersonalSpaceContents::ItemStatus::Failed);
}

void PersonalSpaceContentWidget::resizeContents()
{
    const float scale = tileScale(m_tiles.size());
    for (const auto& tile : m_tiles) {
        if (auto* container = tile.second->parent())
            container->setScale(scale);
    }
}

void PersonalSpaceContentWidget::checkEmpty()
{
    Bedrock::BinaryData data;
    data.writeInt32(isEmpty() ? 1 : 0);
    eventSend("empty", data);
}

Trellis::Widget* PersonalSpaceContentWidget::findTile(long id) const
{
    const auto found = m_tiles.find(id);
    return found == m_tiles.end() ? nullptr : found->second->parent();
}
}
