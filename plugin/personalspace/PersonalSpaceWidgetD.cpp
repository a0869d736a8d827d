#include "personalspace/PersonalSpaceWidgetD.hpp"

#include "shared/Placeholder.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Tavola/DataGathering.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <array>

namespace Tavola
{
namespace
{
using Mode = PersonalSpaceWidget::CollectionMode;

/// By the values of CollectionMode.
constexpr std::array<const char*, 2> kModeClasses{"email-mode", "upload-mode"};

Facet::AttributeT<Mode>::Names modeNames()
{
    return {{QLatin1String("email"), Mode::Email}, {QLatin1String("upload"), Mode::Upload}};
}

/// A child with a class of its own. The parent owns it from here on.
template <class WidgetType>
Bedrock::IntrusivePtr<WidgetType> makeChild(Trellis::Widget& parent, const char* cssClass)
{
    const Bedrock::IntrusivePtr<WidgetType> child(new WidgetType(&parent));
    child->addCSSClass(cssClass);
    return child;
}
}

PersonalSpaceWidget::D::D(PersonalSpaceWidget& widget)
    : host(widget), titleFormat(&widget, "title", QLatin1String("Hi, %1")), userName(&widget, "user-name"),
      userEmail(&widget, "user-email"), tooltipTimeout(&widget, "tooltip-timeout", 5.f),
      collectionMode(&widget, "collection-mode", modeNames(), Mode::Email), spaceTitle(&widget, "space-title"),
      spaceInfo(&widget, "space-info"), uploader(0), userPageUrl(&widget, "user-page-url")
{
}

PersonalSpaceWidget::D::~D() = default;

void PersonalSpaceWidget::D::build()
{
    title = makeChild<Trellis::TextWidget>(host, "title");
    info = makeChild<Trellis::TextWidget>(host, "info");
    customInfo = makeChild<Trellis::TextWidget>(host, "custom-info");
    envelope = new EnvelopeWidget(&host);
    helpButton = makeChild<Trellis::ImageWidget>(host, "help-button");
    const auto cancelButton = makeChild<Trellis::TextWidget>(host, "cancel-button");
    const auto saveButton = makeChild<Trellis::TextWidget>(host, "save-button");
    inputField = new InputFieldWidget(&host, false);
    qrIcon = makeChild<Trellis::ImageWidget>(host, "qr-icon");
    userPageLink = makeChild<Trellis::TextWidget>(host, "user-page-link");

    updateUnregistered();
    updateTitle();
    updateNoEmail();
    updateInfo();
    updateNoUserPage();

    listenToAttributes();
    listenToChildren(*cancelButton, *saveButton);

    stylable = {title,
                info,
                inputField->editor(),
                inputField->tooltip()->textWidget(),
                inputField->placeholder(),
                customInfo,
                userPageLink,
                cancelButton,
                saveButton};
}

void PersonalSpaceWidget::D::listenToChildren(Trellis::Widget& cancelButton, Trellis::Widget& saveButton)
{
    constexpr int kType = Facet::Node::kImmediate;
    helpButton->eventAddListener("single-tap", ifAlive([](D& self) {
                                     const Trellis::Widget& button = *self.helpButton;
                                     self.toggleTooltip(QString::fromUtf8("help"), button.mapToParent(button.size() / 2.f));
                                 }),
                                 kType);
    info->eventAddListenerBd("single-tap", ifAlive([](D& self, Bedrock::BinaryData& data) {
                                 const float x = data.readFloat32();
                                 const float y = data.readFloat32();
                                 self.toggleTooltip(QString::fromUtf8("email"), self.info->mapToParent({x, y}));
                             }),
                             kType);
    envelope->eventAddListener("single-tap", ifAlive([](D& self) { self.envelopeTapped(); }), kType);
    cancelButton.eventAddListener("single-tap", ifAlive([](D& self) { self.cancel(); }), kType);
    saveButton.eventAddListener("single-tap", ifAlive([](D& self) { self.checkNameInput(); }), kType);
    inputField->editor()->eventAddListenerBd("editing-finished", ifAlive([](D& self, Bedrock::BinaryData& data) {
                                                 (void)data.readString();
                                                 if (data.readString() != QLatin1String("enter"))
                                                     return;
                                                 if (self.host.hasCSSClass("waiting-to-send-email"))
                                                     self.checkEmailInput();
                                                 else
                                                     self.checkNameInput();
                                             }),
                                             kType);
}

void PersonalSpaceWidget::D::envelopeTapped()
{
    if (!userEmail.value().isEmpty()) {
        host.removeCSSClass("initial-view");
        emailContents();
    } else if (host.hasCSSClass("waiting-to-send-email")) {
        checkEmailInput();
    } else {
        host.removeCSSClass("initial-view");
        host.addCSSClass("waiting-to-send-email");
        setEmailValidator();
    }
}

void PersonalSpaceWidget::D::updateUnregistered()
{
    host.setPseudoClass("unregistered-user", userName.value().isEmpty());
}

void PersonalSpaceWidget::D::updateNoEmail()
{
    host.setPseudoClass("no-email", userEmail.value().isEmpty());
}

void PersonalSpaceWidget::D::updateNoUserPage()
{
    host.setPseudoClass("no-user-page", userPageUrl.value().isEmpty());
}

void PersonalSpaceWidget::D::listenToAttributes()
{
    // The attributes die with this record, and their listeners with them.
    constexpr int kRole = Facet::Attribute::kValueChanged;
    const auto ownerChanged = [this] {
        updateUnregistered();
        updateTitle();
    };
    titleFormat.addListener(ownerChanged, kRole);
    userName.addListener(ownerChanged, kRole);
    userEmail.addListener(
        [this] {
            updateNoEmail();
            updateInfo();
        },
        kRole);
    collectionMode.addListener([this] { updateCollectionMode(); }, kRole);
    spaceTitle.addListener([this] { updateTitle(); }, kRole);
    spaceInfo.addListener([this] { updateInfo(); }, kRole);
    userPageUrl.addListener([this] { updateNoUserPage(); }, kRole);
}

void PersonalSpaceWidget::D::updateCode()
{
    uploader.setCode(code);
    createContentWidget();
    updateCollectionMode();
}

void PersonalSpaceWidget::D::createContentWidget()
{
    releaseContentWidget();
    contentWidget = new PersonalSpaceContentWidget(&host, code);
    // What the card's owner collected before this widget was made. Nobody listens yet, so nothing follows from it.
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
    // A drag that hovers is told to the next content widget, and leaves only that one.
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

void PersonalSpaceWidget::D::updateTitle()
{
    if (!spaceTitle.value().isEmpty())
        title->setText(spaceTitle);
    else if (userName.value().isEmpty())
        title->textAttribute().clearValue(Facet::kUserLayer);
    else
        title->setText(fillPlaceholder(titleFormat.value(), userName.value()));
}

QString PersonalSpaceWidget::D::infoText() const
{
    const bool uploads = collectionMode.value() == Mode::Upload;
    QString text = spaceInfo.value();
    text.replace(QLatin1String("<link>"), uploads ? userPageUrl.value() : userEmail.value());
    text.replace(QLatin1String("<br>"), QLatin1String("\n"));
    return text;
}

void PersonalSpaceWidget::D::updateInfo()
{
    customInfo->setText(infoText());
    host.setPseudoClass("has-custom-info", !spaceInfo.value().isEmpty());
}

void PersonalSpaceWidget::D::userPageChanged()
{
    const PersonalSpaceUploader::UserPage page = contentWidget->contents()->userPage();
    if (!page.url.isEmpty()) {
        host.setPseudoClass("user-page-failed", false);
        userPageLink->setText(page.url);
        if (!page.qrIcon.isEmpty())
            qrIcon->load(page.qrIcon, Trellis::ImageWidget::kNonBlocking);
    } else {
        host.setPseudoClass("user-page-failed", true);
        userPageLink->textAttribute().clearValue(Facet::kUserLayer);
        if (auto* source = qrIcon->attribute("source"))
            source->clearValue(Facet::kUserLayer);
    }
    userPageUrl.setValue(page.url, Facet::kUserLayer);
    updateInfo();
}

void PersonalSpaceWidget::D::cancel()
{
    closeTooltip();
    host.removeCSSClasses({"waiting-to-send-email", "sending-email", "email-successful", "email-failed",
                           "successfully-registered", "registering", "registering-failed"});
    host.addCSSClass("initial-view");
    inputField->reset();
}
}
