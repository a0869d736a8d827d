#pragma once

#include "shared/PersonalTesselWidget.hpp"

#include <Tavola/StylableTextHost.hpp>

#include <memory>

namespace Tavola
{
/// The widget that opens beside a personal card: greets its owner, takes what visitors drop into it, shows the owner's page.
/// All of its looks come from the style sheet, by the classes and pseudo-classes that follow.
///
/// CSS type "PersonalSpaceWidget". Children: texts "title", "info", "custom-info", "cancel-button", "save-button" and
/// "user-page-link", the "envelope", pictures "help-button" and "qr-icon", an InputFieldWidget, and from the first code on a
/// PersonalSpaceContentWidget.
///
/// Classes: "initial-view"; from the first code on "email-mode" or "upload-mode"; "has-content"; by what the owner does
/// "waiting-to-send-email" (their address is asked for), "sending-email", then "email-successful" or "email-failed";
/// "registering", then "successfully-registered" or "registering-failed". Tooltips have the class "help" or "email".
/// Pseudo-classes: "unregistered-user" (no name known), "no-email", "no-user-page", "user-page-failed", "has-custom-info".
///
/// Attributes: "title" (a greeting, %1 is the name), "user-name", "user-email", "tooltip-timeout" (seconds), "collection-mode"
/// (email or upload), "space-title" (shown in place of the greeting), "space-info" (a text in which <link> is the page's
/// address, or the owner's in e-mail mode, and <br> a new line), "user-page-url".
///
/// Event: "stylable-widget-added" (node id of a text widget that came later, int64).
/// Main thread only.
class PersonalSpaceWidget final : public PersonalTesselWidget, public StylableTextHost
{
public:
    /// How the contents are collected. The numbers index the classes.
    enum class CollectionMode { Email = 0, Upload = 1 };

    PersonalSpaceWidget();
    ~PersonalSpaceWidget() override;

    void setCode(unsigned long code) override;
    void setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties) override;
    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableWidgets() const override;

    /// Collects a widget, as if it had been dropped. Does nothing before the first code.
    void addWidget(Trellis::Widget& widget);

private:
    struct D;
    std::unique_ptr<D> d;
};
}
