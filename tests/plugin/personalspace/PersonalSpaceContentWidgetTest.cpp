#include "personalspace/PersonalSpaceContentWidget.hpp"

#include "ContentArea.hpp"
#include "LogCapture.hpp"

#include <Tavola/ContentWidget.hpp>
#include <Trellis/ImageWidget.hpp>

#include <doctest/doctest.h>

#include <stdexcept>

using PluginTest::childrenOfClass;
using PluginTest::classesOf;
using PluginTest::EventLog;
using PluginTest::FakeContent;
using PluginTest::line;
using PluginTest::PlainContent;
using PluginTest::pseudoClassesOf;
using PluginTest::Strings;
using Tavola::DropEvent;
using Tavola::PersonalSpaceContents;
using Tavola::PersonalSpaceContentWidget;
using TestSupport::expectWarning;
using Area = PluginTest::ContentArea;
using ItemStatus = PersonalSpaceContents::ItemStatus;

namespace
{
const std::string kFilesFailed = "PersonalSpaceContentWidget::addItem # Failed to load source files (";
const std::string kPreviewFailed = "PersonalSpaceContentWidget::addItem # Failed to load preview file (";
}

TEST_CASE("content widget: type, attribute and events have their documented names")
{
    Area area;
    CHECK(area.widget->cssType() == "PersonalSpaceContentWidget");
    CHECK(dynamic_cast<Facet::AttributeT<bool>&>(*area.widget->attribute("accept-drops")).value());
    Strings events = PluginTest::eventsOf(*area.widget);
    REQUIRE(events.size() >= 5);
    events.erase(events.begin(), events.end() - 5);
    CHECK(events == Strings{"empty", "content-changed", "widget-added", "widget-removed", "before-remove-item"});
    CHECK(area.widget->contents() == PersonalSpaceContents::personalContent(area.code));
    CHECK(area.widget->isEmpty());
}

TEST_CASE("collectable: content with files of its own, with addresses, or with a source")
{
    Area area;
    CHECK(PersonalSpaceContentWidget::canWidgetBeCollected(*area.make<FakeContent>()));
    const auto plain = area.make<PlainContent>();
    CHECK_FALSE(PersonalSpaceContentWidget::canWidgetBeCollected(*plain));
    plain->source.setValue("a.png");
    CHECK(PersonalSpaceContentWidget::canWidgetBeCollected(*plain));
    plain->source.setValue("");
    plain->urls.setValue({"http://a"});
    CHECK(PersonalSpaceContentWidget::canWidgetBeCollected(*plain));
    plain->urls.setValue({});
    CHECK_FALSE(PersonalSpaceContentWidget::canWidgetBeCollected(*plain));
}

TEST_CASE("collectable: a content widget of the host, once it has a source")
{
    Area area;
    const auto picture = area.make<Tavola::ContentWidget>();
    CHECK_FALSE(PersonalSpaceContentWidget::canWidgetBeCollected(*picture));
    dynamic_cast<Facet::AttributeT<QStringList>&>(*picture->attribute("source-tessel-urls")).setValue({"http://a"});
    CHECK(PersonalSpaceContentWidget::canWidgetBeCollected(*picture));
}

TEST_CASE("collectable: no widget without such attributes, or with attributes of another type")
{
    class Odd final : public Trellis::Widget
    {
    public:
        Facet::AttributeT<bool> source{this, "source", true};
        Facet::AttributeT<QString> urls{this, "source-tessel-urls", "http://a"};
    };
    Odd odd;
    CHECK_FALSE(PersonalSpaceContentWidget::canWidgetBeCollected(odd));
    Trellis::Widget bare;
    CHECK_FALSE(PersonalSpaceContentWidget::canWidgetBeCollected(bare));
}

TEST_CASE("drop: a widget that cannot be collected is refused and changes nothing")
{
    Area area;
    const auto plain = area.make<PlainContent>();
    for (std::uint32_t type = 1; type <= 4; ++type) {
        CAPTURE(type);
        CHECK_FALSE(area.drop(plain, type));
    }
    CHECK(pseudoClassesOf(*area.space).empty());
    CHECK(pseudoClassesOf(*plain).empty());
    CHECK(area.indicators().empty());
    CHECK(area.contents->items().empty());
}

TEST_CASE("drop: with accept-drops off nothing is accepted and no indicator shows")
{
    Area area;
    area.host.style("PersonalSpaceContentWidget { accept-drops: false }");
    const auto content = area.make<FakeContent>();
    for (std::uint32_t type = 1; type <= 4; ++type) {
        CAPTURE(type);
        CHECK_FALSE(area.drop(content, type));
    }
    CHECK(pseudoClassesOf(*area.space).empty());
    CHECK(area.indicators().empty());
    CHECK(area.contents->items().empty());
}

TEST_CASE("drop: an event without a widget is refused")
{
    Area area;
    CHECK_FALSE(area.drop(nullptr, DropEvent::Drop));
}

TEST_CASE("drop: a content widget without a parent refuses")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->removeFromParent();
    CHECK_FALSE(area.drop(content, DropEvent::Drop));
    CHECK_FALSE(area.drop(content, DropEvent::Hover));
    CHECK(area.contents->items().empty());
    CHECK(area.indicators().empty());
}

TEST_CASE("drop: an event of an unknown type does nothing and is refused")
{
    Area area;
    const auto content = area.make<FakeContent>();
    for (const std::uint32_t type : {0u, 5u, 4294967295u})
        CHECK_FALSE(area.drop(content, type));
    CHECK(pseudoClassesOf(*area.space).empty());
    CHECK(area.indicators().empty());
    CHECK(area.contents->items().empty());
}

TEST_CASE("add: the item is Pending, names the widget, and its events come in order")
{
    Area area;
    const auto content = area.make<FakeContent>();
    EventLog log;
    listenToAll(log, *area.widget);
    area.widget->addItem(content);
    REQUIRE(area.contents->items().size() == 1);
    const auto item = area.contents->items().begin()->second;
    CHECK(item.status == ItemStatus::Pending);
    CHECK(item.widgetId == content->id());
    CHECK(item.files.sources.isEmpty());
    CHECK(item.preview.isEmpty());
    CHECK(log.lines == Strings{"empty 0", "content-changed", line("widget-added", content->id())});
    CHECK(area.tiles().size() == 1);
    CHECK_FALSE(area.widget->isEmpty());
}

TEST_CASE("add: \"widget-added\" is sent after the requests for files and preview")
{
    Area area;
    const auto content = area.make<FakeContent>();
    std::vector<int> asked;
    area.widget->eventAddListener("empty", [&] { asked = {content->filesCalls, content->previewCalls}; });
    area.widget->eventAddListener("widget-added", [&] {
        CHECK(asked == std::vector<int>{0, 0}); // when its tile appeared
        asked = {content->filesCalls, content->previewCalls};
    });
    area.widget->addItem(content);
    CHECK(asked == std::vector<int>{1, 1});
}

TEST_CASE("add: files and preview are stored after the update of a frame")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->addItem(content);
    CHECK(content->filesCalls == 1);
    CHECK(content->previewCalls == 1);
    content->giveFiles("http://example.org/x", "A name");
    content->previewPromise.setValue("/none/preview.png");
    CHECK(area.status() == ItemStatus::Pending);
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image "); // there is no such picture
    area.host.frame();
    const auto item = area.contents->items().begin()->second;
    CHECK(item.status == ItemStatus::Ready);
    CHECK(item.files.sources == QList<QString>{"http://example.org/x"});
    CHECK(item.files.displayName == "A name");
    CHECK(item.preview == "/none/preview.png");
    CHECK(area.host.frameUntil([] { return !TestSupport::loggedLines().empty(); }));
}

TEST_CASE("add: a widget without files of its own is described and photographed by the host")
{
    Area area;
    const auto plain = area.make<PlainContent>();
    plain->source.setValue("https://example.org/page");
    plain->setSize({100.f, 60.f});
    area.widget->addItem(plain);
    area.host.frame();
    CHECK(area.status() == ItemStatus::Ready);
    CHECK(area.contents->items().begin()->second.files.sources == QList<QString>{"https://example.org/page"});
    REQUIRE(area.host.frameUntil([&] { return !area.contents->items().begin()->second.preview.isEmpty(); }));
    CHECK(dynamic_cast<Trellis::ImageWidget&>(*area.tile().children().at(1)).source()
          == area.contents->items().begin()->second.preview);
}

TEST_CASE("add: a widget without files of its own is kept until its preview is there, and no longer")
{
    Area area;
    auto plain = area.make<PlainContent>();
    plain->source.setValue("https://example.org/page");
    plain->setSize({100.f, 60.f});
    const Bedrock::IntrusiveWeakPtr<PlainContent> weak(plain.get());
    area.widget->addItem(plain);
    plain->removeFromParent();
    plain.reset();
    area.host.app().destroyRemovedWidgets();
    CHECK(weak.lock());
    // Runs after the files were stored, and before the preview is, which comes by a later result.
    bool isKept = false;
    Facet::Node::invokeAfterUpdate([&] { isKept = weak.lock() != nullptr && area.status() == ItemStatus::Ready; });
    area.host.frame();
    CHECK(isKept);
    CHECK(area.host.frameUntil([&] { return !weak.lock(); }));
    CHECK_FALSE(area.contents->items().begin()->second.preview.isEmpty());
}

TEST_CASE("add: files that fail are logged with the exception's own text and leave the item Pending")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->addItem(content);
    SUBCASE("a runtime error")
    {
        content->filesPromise.setException(std::runtime_error("disk full"));
        expectWarning(kFilesFailed + "disk full)");
    }
    SUBCASE("a broken promise")
    {
        content->filesPromise = folly::Promise<Tavola::FileRepresentation::FileData>();
        expectWarning(kFilesFailed + "Broken promise for type name `Tavola::FileRepresentation::FileData`)");
    }
    SUBCASE("something that is no exception of the standard library")
    {
        content->filesPromise.setException(folly::exception_wrapper(std::make_exception_ptr(42)));
        expectWarning(kFilesFailed + ")");
    }
    area.host.frame();
    CHECK(area.status() == ItemStatus::Pending);
    CHECK(area.tiles().size() == 1);
}

TEST_CASE("add: a preview that fails is logged and the item goes on without")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->addItem(content);
    content->giveFiles("http://a");
    content->previewPromise.setException(std::runtime_error("no camera"));
    expectWarning(kPreviewFailed + "no camera)");
    area.host.frame();
    CHECK(area.status() == ItemStatus::Ready);
    CHECK(area.contents->items().begin()->second.preview.isEmpty());
    CHECK(area.tiles().size() == 1);
}

TEST_CASE("add: an exception out of the call is logged like a failed future, and \"widget-added\" is sent all the same")
{
    Area area;
    const auto content = area.make<FakeContent>();
    content->throwOnFiles = "files thrown";
    content->throwOnPreview = "preview thrown";
    EventLog log;
    log.listen(*area.widget, "widget-added", EventLog::Payload::Id);
    CHECK_NOTHROW(area.widget->addItem(content));
    CHECK(log.lines.size() == 1);
    expectWarning(kFilesFailed + "files thrown)");
    expectWarning(kPreviewFailed + "preview thrown)");
    area.host.frame();
}

TEST_CASE("add: results that arrive after the content widget was destroyed are stored in the contents")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->addItem(content);
    area.widget->removeFromParent();
    area.widget.reset();
    area.host.frame();
    content->giveFiles("http://a");
    content->previewPromise.setValue("/p.png");
    area.host.frame();
    CHECK(area.status() == ItemStatus::Ready);
    CHECK(area.contents->items().begin()->second.preview == "/p.png");
}

TEST_CASE("add: content that is destroyed before its files are ready is logged, the item stays Pending")
{
    Area area;
    auto content = area.make<FakeContent>();
    content->breaksPromises = true;
    area.widget->addItem(content);
    content->removeFromParent();
    content.reset();
    expectWarning(kFilesFailed + "Broken promise for type name `Tavola::FileRepresentation::FileData`)");
    expectWarning(kPreviewFailed + "Broken promise for type name `QString`)");
    area.host.frames(2);
    CHECK(area.status() == ItemStatus::Pending);
    CHECK(area.tiles().size() == 1);
}

TEST_CASE("add: results for a removed item are dropped")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.widget->addItem(content);
    content->giveFiles("http://a");
    area.contents->removeItems();
    area.host.frame();
    CHECK(area.contents->items().empty());
}

TEST_CASE("remove: \"before-remove-item\" is sent before a single item leaves the contents, and not when all do")
{
    Area area;
    const long first = area.addItem();
    area.addItem();
    area.addItem();
    EventLog log;
    listenToAll(log, *area.widget);
    std::size_t sizeAtAnnouncement = 0;
    area.widget->eventAddListener("before-remove-item", [&] { sizeAtAnnouncement = area.contents->items().size(); });
    area.widget->removeItem(first);
    CHECK(sizeAtAnnouncement == 3);
    CHECK(log.lines == Strings{line("before-remove-item", first), "empty 0", "content-changed"});
    log.lines.clear();
    area.widget->removeItems();
    CHECK(area.widget->isEmpty());
    CHECK(log.lines == Strings{"empty 0", "content-changed", "empty 1", "content-changed"});
}

TEST_CASE("content widget: the whole space counts as the drop area")
{
    Area area;
    CHECK(area.widget->isInside({10.f, -40.f})); // above the area, in the space
    CHECK(area.widget->isInside({399.f, 249.f}));
    CHECK_FALSE(area.widget->isInside({10.f, -51.f}));
    CHECK_FALSE(area.widget->isInside({401.f, 10.f}));
    area.widget->removeFromParent();
    CHECK_FALSE(area.widget->isInside({10.f, -40.f}));
    CHECK(area.widget->isInside({10.f, 10.f}));
}

TEST_CASE("content widget: the whole space counts as the drop area also where both are turned")
{
    Area area;
    area.turnByQuarters();
    CHECK(area.widget->isInside({10.f, 20.f}));
    CHECK(area.widget->isInside({200.f, -50.f})); // (350, 200) of the space
    CHECK_FALSE(area.widget->isInside({350.f, 20.f}));
    CHECK_FALSE(area.widget->isInside({-50.f, 100.f}));
    area.widget->setScale(0.5f);
    CHECK(area.widget->isInside({590.f, 20.f})); // (290, 295) of the space
    CHECK_FALSE(area.widget->isInside({610.f, 20.f}));
}

TEST_CASE("content widget: two of one card show the same items")
{
    Area area;
    const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> other(new PersonalSpaceContentWidget(area.space.get(), area.code));
    const long id = area.addItem();
    CHECK(childrenOfClass(*other, "container").size() == 1);
    CHECK(area.tiles().size() == 1);
    CHECK(area.widget->items().count(id) == 1);
    area.contents->setItemStatus(ItemStatus::Failed, id);
    CHECK(childrenOfClass(*other, "failed").size() == 1);
}

TEST_CASE("content widget: its destructor removes its listeners from the contents")
{
    Area area;
    area.addItem();
    area.widget->removeFromParent();
    area.widget.reset();
    area.host.frame();
    for (const char* event : {"item-added", "item-removed", "preview-ready", "item-status-changed"}) {
        CAPTURE(event);
        CHECK_FALSE(area.contents->eventHasListeners(event));
    }
    area.addItem();
    area.contents->removeItems();
}

TEST_CASE("content widget: a listener may close the space while an item is added")
{
    Area area;
    area.widget->eventAddListener("content-changed", [&] {
        area.space->removeFromParent();
        area.space.reset();
        area.widget.reset();
    });
    auto* widget = area.widget.get();
    const auto content = area.make<FakeContent>();
    widget->addItem(content);
    content->giveFiles("http://a");
    area.host.frames(2);
    CHECK(area.status() == ItemStatus::Ready);
}

TEST_CASE("content widget: touches go through it to what lies under it")
{
    Area area;
    area.host.style("#button { position: absolute; left: 20px; top: 100px; width: 60px; height: 40px }");
    const Bedrock::IntrusivePtr<Trellis::Widget> button(new Trellis::Widget(area.space.get()));
    button->setCSSId("button");
    area.widget->raiseToTop(false);
    int taps = 0;
    button->eventAddListener("single-tap", [&] { ++taps; });
    area.host.tap({540.f, 420.f});
    CHECK(taps == 1);
}
