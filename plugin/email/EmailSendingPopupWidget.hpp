#pragma once

#include <Tavola/StylableTextHost.hpp>
#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

#include <memory>
#include <vector>

namespace Tavola
{
/// E-mails the content of one widget to a card's owner: asks first where it should, shows how it goes, and removes itself ten
/// idle seconds after the outcome.
///
/// CSS type "EmailSendingPopupWidget". Children: the texts "send-button", "cancel-button" and "info", the ground
/// "popup-background", and the "envelope". Classes: "waiting-to-send", "sending-email", "email-successful", "email-failed".
/// The styled text of "info" carries a %1 where the address goes. Main thread only.
class EmailSendingPopupWidget final : public Trellis::Widget, public StylableTextHost
{
public:
    EmailSendingPopupWidget();
    ~EmailSendingPopupWidget() override;

    /// To be called once. With `confirm` nothing is sent before the send button is tapped.
    void emailWidget(Trellis::Widget& content, bool confirm, const TesselServiceAPI::PersonalMarkerProperties& owner);

    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableWidgets() const override;

private:
    struct D;
    std::unique_ptr<D> d;
};
}
