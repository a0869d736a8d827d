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
/// State and inner workings of a popup. Owned by its widget.
///
///     waiting-to-send ──send button, files known──▶ sending-email ──▶ email-successful ┐
///            (ready at once without confirmation)        └──────────▶ email-failed ────┴─ 10 idle seconds ─▶ gone
struct EmailSendingPopupWidget::D
{
    explicit D(EmailSendingPopupWidget& widget);

    /// Second half of the widget's construction: children and their listeners.
    void build();

    void addContent(Trellis::Widget& content);
    /// Sends once the files are known and sending is allowed, whichever comes last.
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
