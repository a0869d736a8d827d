#pragma once

#include "email/EnvelopeWidget.hpp"
#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"
#include "server/PersonalSpaceUploader.hpp"

#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Tavola
{
/// State and inner workings of a personal space. Owned by its widget.
struct PersonalSpaceWidget::D
{
    explicit D(PersonalSpaceWidget& widget);
    ~D();

    /// Second half of the widget's construction, when the widget has its D: children, looks, listeners.
    void build();
    void updateUnregistered();
    void updateNoEmail();
    void updateNoUserPage();
    void listenToAttributes();
    /// The function when the widget is alive, and nothing otherwise: what listeners on children and contents call.
    template <class Function>
    [[nodiscard]] auto ifAlive(Function function)
    {
        return [weak = Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>(&host), function](auto&... payload) {
            if (const auto self = weak.lock())
                function(*self->d, payload...);
        };
    }

    /// A new code: a content widget of its own, and the mode applied to its contents.
    void updateCode();
    void createContentWidget();
    void listenToContentWidget();
    /// Lets go of the present content widget and no longer listens to it and its contents.
    void releaseContentWidget();
    void updateCollectionMode();

    void updateTitle();
    void updateInfo();
    void userPageChanged();
    /// "space-info" with its placeholders filled.
    [[nodiscard]] QString infoText() const;
    /// Back to the initial view.
    void cancel();
    void listenToChildren(Trellis::Widget& cancelButton, Trellis::Widget& saveButton);
    void envelopeTapped();

    // ---- Registration (PersonalSpaceRegistration.cpp) ----
    /// Each empties the input field and says what it accepts from then on.
    void setEmailValidator();
    void setNameValidator();
    /// The owner confirmed what they typed.
    void checkEmailInput();
    void checkNameInput();
    /// Asks the marker service on the background thread; returns at once. The answer comes by the two below.
    void registerUser();
    void registerSuccessful();
    void registerFailed();

    // ---- Tooltips (PersonalSpaceTooltips.cpp) ----
    /// Opens the tooltip of that name ("help", "email") at a point of this widget, or closes the one that is open.
    void toggleTooltip(const QString& name, const Vecta::Vector2T<float>& location);
    void closeTooltip();

    // ---- E-mail (PersonalSpaceEmail.cpp) ----
    /// Sends everything collected to the owner's address; returns at once. The outcome comes by the two below.
    void emailContents();
    void emailSuccessful();
    void emailFailed();

    PersonalSpaceWidget& host;
    std::uint64_t code = 0;                           ///< 0 until the first setCode
    Bedrock::IntrusiveWeakPtr<TooltipWidget> tooltip; ///< the last one opened; it belongs to the widget
    Bedrock::IntrusivePtr<Trellis::TextWidget> title;
    Bedrock::IntrusivePtr<Trellis::TextWidget> info; ///< its text comes from the style sheet only
    Bedrock::IntrusivePtr<EnvelopeWidget> envelope;
    Bedrock::IntrusivePtr<Trellis::ImageWidget> helpButton;
    Bedrock::IntrusivePtr<PersonalSpaceContentWidget> contentWidget; ///< null until the first setCode
    Bedrock::IntrusivePtr<InputFieldWidget> inputField;
    Bedrock::IntrusivePtr<Trellis::TextWidget> customInfo;
    Bedrock::IntrusivePtr<Trellis::ImageWidget> qrIcon;
    Bedrock::IntrusivePtr<Trellis::TextWidget> userPageLink;

    Facet::AttributeT<QString> titleFormat;
    Facet::AttributeT<QString> userName;
    Facet::AttributeT<QString> userEmail;
    Facet::AttributeT<float> tooltipTimeout; ///< seconds
    Facet::AttributeT<CollectionMode> collectionMode;
    Facet::AttributeT<QString> spaceTitle;
    Facet::AttributeT<QString> spaceInfo;
    PersonalSpaceUploader uploader;
    Facet::AttributeT<QString> userPageUrl;
    std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylable;

    std::vector<Facet::Node::ListenerId> contentWidgetListeners;
    std::vector<Facet::Node::ListenerId> contentsListeners;
};
}
