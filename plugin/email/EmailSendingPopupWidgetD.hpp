#pragma once

#include "email/EmailComposition.hpp"
#include "email/EmailSendingPopupWidget.hpp"

#include <Tavola/EmailServiceAPI.hpp>
#include <Trellis/TextInterfaceWidget.hpp>

#include <folly/Try.h>

#include <QList>
#include <QString>

#include <vector>

namespace Tavola
{
/// The private part of a popup. Owned by its widget. Main thread only.
///
///     waiting-to-send ──send button, files known──▶ sending-email ──▶ email-successful ┐
///            (ready at once without confirmation)        └──────────▶ email-failed ────┴─ 10 idle seconds ─▶ deleted
struct EmailSendingPopupWidget::D
{
    explicit D(EmailSendingPopupWidget& widget);

    /// Creates the children and their listeners, once the widget holds this object.
    void build();

    /// Asks for the files of `content`; they arrive after a frame's update.
    void addContent(Trellis::Widget& content);
    /// Sends the message. Does nothing until the files are known and sending is allowed.
    void emailContents();
    void emailSuccessful();
    void handleError(const QString& error);
    /// Fades the popup out and deletes it ten seconds after it was last touched.
    void closeWhenIdle();

    EmailSendingPopupWidget& owner;
    Bedrock::IntrusivePtr<Trellis::TextInterfaceWidget> info;
    std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableTexts;
    QString name;
    QString address;
    QList<Attachment> attachments; ///< empty until the files are known
    long widgetId = 0;
    bool ready = false;
};
}
