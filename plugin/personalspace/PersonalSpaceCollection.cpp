// The collection of a personal space: the content widget of its card, and the mode that decides where its items are sent.

#include "personalspace/KeptContents.hpp"
#include "personalspace/PersonalSpaceWidgetD.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Tavola/DataGathering.hpp>

#include <array>
#include <cstddef>

namespace Tavola
{
namespace
{
using Mode = PersonalSpaceWidget::CollectionMode;

/// By the values of CollectionMode.
constexpr std::array<const char*, 2> kModeClasses{"email-mode", "upload-mode"};
}

void PersonalSpaceWidget::D::updateCode()
{
    uploader.setCode(code);
    createContentWidget();
    updateCollectionMode();
    KeptContents::open(code);
}

void PersonalSpaceWidget::D::createContentWidget()
{
    releaseContentWidget();
    contentWidget = new PersonalSpaceContentWidget(&host, code);
    // The items that were collected before this widget was made. Without listeners so far, showing them sends nothing on.
    for (const auto& [id, item] : contentWidget->items()) {
        contentWidget->itemAdded(id);
        if (!item.preview.isEmpty())
            contentWidget->previewReady(id, item.preview);
        contentWidget->updateStatus(id, item.status);
    }
    if (contentWidget->isEmpty())
        host.removeCSSClass("has-content");
    else
        host.addCSSClass("has-content");
    listenToContentWidget();
}

void PersonalSpaceWidget::D::listenToContentWidget()
{
    constexpr int kType = Facet::Node::kImmediate;
    const auto onWidget = [this](const char* event, auto function) {
        contentWidgetListeners.push_back(contentWidget->eventAddListenerBd(event, ifAlive(function), kType));
    };
    onWidget("empty", [](D& self, Bedrock::BinaryData& data) {
        if (data.readInt32() != 0)
            self.host.removeCSSClass("has-content");
        else
            self.host.addCSSClass("has-content");
        self.closeTooltip();
    });
    onWidget("widget-added", [](D& self, Bedrock::BinaryData& data) {
        DataGathering::logEventToService(DataGathering::widgetAddedToPersonalSpaceEvent(
            data.readInt64(), self.code, self.userName.value(), self.userEmail.value()));
    });
    onWidget("widget-removed", [](D& self, Bedrock::BinaryData& data) {
        DataGathering::logEventToService(DataGathering::widgetRemovedFromPersonalSpaceEvent(data.readInt64(), self.code));
    });

    PersonalSpaceContents& contents = *contentWidget->contents();
    contentsListeners.push_back(
        contents.eventAddListener("user-page-changed", ifAlive([](D& self) { self.userPageChanged(); }), kType));
    contentsListeners.push_back(contents.eventAddListenerBd("files-ready", ifAlive([](D& self, Bedrock::BinaryData& data) {
                                                                if (self.collectionMode.value() == Mode::Upload)
                                                                    self.uploader.uploadItem(data.readInt64());
                                                            }),
                                                            kType));
    onWidget("before-remove-item", [](D& self, Bedrock::BinaryData& data) {
        if (self.collectionMode.value() == Mode::Upload)
            self.uploader.removeItem(data.readInt64());
    });
}

void PersonalSpaceWidget::D::releaseContentWidget()
{
    if (!contentWidget)
        return;
    for (const auto listener : contentsListeners)
        contentWidget->contents()->eventRemoveListener(listener);
    for (const auto listener : contentWidgetListeners)
        contentWidget->eventRemoveListener(listener);
    contentsListeners.clear();
    contentWidgetListeners.clear();
    // The next events of a drag that hovers go to the next content widget.
    contentWidget->endHover();
    contentWidget->removeFromParent();
    contentWidget.reset();
}

void PersonalSpaceWidget::D::updateCollectionMode()
{
    host.removeCSSClasses({kModeClasses[0], kModeClasses[1]});
    host.addCSSClass(kModeClasses[static_cast<std::size_t>(collectionMode.value())]);
    if (collectionMode.value() == Mode::Upload) {
        uploader.updateUserPage();
        if (contentWidget) {
            std::vector<long> ids;
            for (const auto& item : contentWidget->items())
                ids.push_back(item.first);
            for (const long id : ids)
                uploader.uploadItem(id);
        }
    }
    updateInfo();
}
}
