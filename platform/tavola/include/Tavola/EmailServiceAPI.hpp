#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/EmailMessage.hpp>

#include <folly/futures/Future.h>

#include <QString>

namespace Tavola
{
/// Sends e-mail. A service of type "email-service"; found by ServiceProvider::emailService.
class TAVOLA_EXPORT EmailServiceAPI
{
public:
    struct EmailStatus
    {
        bool success = false;
        QString error; ///< for people; meaningful when `success` is false
    };

    /// Accepts the message and returns at once, however large its attachments are; they are read later, on a thread of the
    /// service. Success: delivered, or safely kept to be delivered later. The future may be completed on any thread.
    /// Main thread.
    [[nodiscard]] virtual folly::Future<EmailStatus> send(const EmailMessage& message) = 0;
    /// A message without recipients and attachments whose content is the service's template. Main thread; does not block.
    [[nodiscard]] virtual EmailMessage createMessage() = 0;
    virtual ~EmailServiceAPI();
};
}
