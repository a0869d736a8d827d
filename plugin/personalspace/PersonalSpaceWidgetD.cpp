// Construction of a personal space: children and listeners, and the steps of its buttons.

#include "personalspace/PersonalSpaceWidgetD.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Trellis/TextEditWidget.hpp>

namespace Tavola
{
namespace
{
using Mode = PersonalSpaceWidget::CollectionMode;

Facet::AttributeT<Mode>::Names modeNames()
{
    return {{QLatin1String("email"), Mode::Email}, {QLatin1String("upload"), Mode::Upload}};
}

/// A new child with this class, owned by the parent.
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

void PersonalSpaceWidget::D::listenToAttributes()
{
    // No weak pointers: the attributes are destroyed with this record, and their listeners with them.
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

void PersonalSpaceWidget::D::cancel()
{
    closeTooltip();
    host.removeCSSClasses({"waiting-to-send-email", "sending-email", "email-successful", "email-failed",
                           "successfully-registered", "registering", "registering-failed"});
    host.addCSSClass("initial-view");
    inputField->reset();
}
}
