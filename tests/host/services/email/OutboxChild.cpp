// A table that only sends one message, to be killed while it does: outbox_child OUTBOX SERVER FILE. Prints "accepted" as soon
// as the service has said success, and waits to be ended.

#include "services/email/OutboxService.hpp"

#include <EventLoop.hpp>

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

using namespace Host;

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 4)
        return 2;
    MailSettings settings;
    settings.server = QString::fromLocal8Bit(argv[2]);
    settings.startTls = MailSettings::StartTls::Never;
    settings.sender = {"museum@example.net", "The Small Museum"};
    settings.subject = QStringLiteral("What you collected");
    settings.attachmentLimitBytes = qint64(1) << 32;
    QString error;
    const auto service = OutboxService::open(settings, QString::fromLocal8Bit(argv[1]), error);
    if (!service)
        return 1;
    Tavola::EmailMessage message = service->createMessage();
    message.setContent(QStringLiteral("Hello\n"));
    message.addRecipient({"ann@example.org", "Ann"}, Tavola::EmailMessage::To);
    auto file = std::make_unique<QFile>(QString::fromLocal8Bit(argv[3]));
    if (!file->open(QIODevice::ReadOnly))
        return 1;
    message.addAttachment(QStringLiteral("a.bin"), std::move(file), QStringLiteral("application/octet-stream"));
    auto future = service->send(message);
    std::puts("sent");
    std::fflush(stdout);
    if (TestSupport::pumpUntil([&future] { return future.isReady(); }, 60000) && future.value().success) {
        std::puts("accepted");
        std::fflush(stdout);
    }
    return TestSupport::pumpUntil([] { return false; }, 60000) ? 0 : 1;
}
