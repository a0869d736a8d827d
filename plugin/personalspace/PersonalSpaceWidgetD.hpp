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
#include <set>
#include <vector>

namespace Tavola
{
/// State and implementation of a personal space, one source file for each topic. Owned by its widget. Main thread only.
struct PersonalSpaceWidget::D
{
    explicit D(PersonalSpaceWidget& widget);
    ~D();

    // ---- Construction (PersonalSpaceWidgetD.cpp) ----
    /// Second half of the widget's construction, called when the widget has its D: children, texts, listeners.
    void build();
    void listenToAttributes();
    void listenToChildren(Trellis::Widget& cancelButton, Trellis::Widget& saveButton);
    void envelopeTapped();
    /// Back to the initial view.
    void cancel();
    /// Wraps a function for a listener on a child or the contents: calls it while the widget is alive, and does nothing after.
    template <class Function>
    [[nodiscard]] auto ifAlive(Function function)
    {
        return [weak = Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>(&host), function](auto&... payload) {
            if (const auto self = weak.lock())
                function(*self->d, payload...);
        };
    }

    // ---- Collection (PersonalSpaceCollection.cpp) ----
    /// Makes a content widget for the new code, and applies the mode to its contents.
    void updateCode();
    void createContentWidget();
    void listenToContentWidget();
    /// Removes the present content widget, and the listeners on it and its contents.
    void releaseContentWidget();
    void updateCollectionMode();

    // ---- Texts and pseudo-classes (PersonalSpaceTexts.cpp) ----
    void updateUnregistered();
    void updateNoEmail();
    void updateNoUserPage();
    void updateTitle();
    void updateInfo();
    void userPageChanged();
    /// "space-info" with its placeholders filled.
    [[nodiscard]] QString infoText() const;

    // ---- Registration (PersonalSpaceRegistration.cpp) ----
    /// Each empties the input field and installs its validator.
    void setEmailValidator();
    void setNameValidator();
    /// Called when the owner confirms the text of the input field.
    void checkEmailInput();
    void checkNameInput();
    /// Sends a request to the marker service on the background thread; returns at once. The answer calls one of the next two.
    void registerUser();
    void registerSuccessful();
    void registerFailed();

    // ---- Tooltips (PersonalSpaceTooltips.cpp) ----
    /// Opens the tooltip of that name ("help", "email") at a point of this widget, or closes the one that is open.
    void toggleTooltip(const QString& name, const Vecta::Vector2T<float>& location);
    void closeTooltip();

    // ---- E-mail (PersonalSpaceEmail.cpp) ----
    struct Mail;
    /// Sends everything collected to the owner's address; returns at once. Where tables share what cards collect, what no other
    /// table is sending. The outcome calls one of the next two.
    void emailContents();
    void emailSuccessful(const Mail& mail);
    void emailFailed();
    /// These go on when the space has closed meanwhile.
    static void sendClaimed(Mail mail, const std::set<long>& claimed, const Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>& weak);
    static void send(const Mail& mail, const Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>& weak);
    static void removeSent(const Mail& mail);
    [[nodiscard]] static std::set<long> idsOf(const Mail& mail);

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
