#pragma once

#include <Tavola/StylableTextHost.hpp>
#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

#include <memory>
#include <vector>

namespace Tavola
{
/// E-mails the content of one widget to a card's owner: waits for a confirmation where one is wanted, shows the progress and the
/// outcome, and removes itself ten idle seconds after the outcome. Owned by the tree. Main thread only.
///
/// CSS type "EmailSendingPopupWidget". Children, by class: the texts "send-button", "cancel-button" and "info", the picture
/// "popup-background" below them, and the "envelope". Its own classes: "waiting-to-send", "sending-email", "email-successful",
/// "email-failed". The styled text of "info" contains %1 where the address is put in.
class EmailSendingPopupWidget final : public Trellis::Widget, public StylableTextHost
{
public:
    EmailSendingPopupWidget();
    ~EmailSendingPopupWidget() override;

    /// Call once. With `confirm` nothing is sent before the send button is tapped.
    void emailWidget(Trellis::Widget& content, bool confirm, const TesselServiceAPI::PersonalMarkerProperties& owner);

    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableWidgets() const override;

private:
    struct D;
    std::unique_ptr<D> d;
};
}
