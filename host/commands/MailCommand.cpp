#include "commands/MailCommand.hpp"

#include "commands/TableCommandLine.hpp"
#include "presentation/DataFolder.hpp"
#include "services/email/MailText.hpp"
#include "services/email/Outbox.hpp"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace Host
{
namespace
{
class Request : public TableCommandLine
{
public:
    Request()
        : TableCommandLine(
            QStringLiteral("mail"), QStringLiteral("list|retry|drop PRESENTATION [MESSAGE ...] [OPTION ...]"),
            QStringLiteral("Works on the e-mail that a presentation's table has accepted and not yet delivered, also while the "
                           "table runs.\n"
                           "\n"
                           "  list    the messages that are queued, being sent, or failed for good\n"
                           "  retry   send these messages again, at once: numbers, \"failed\" or \"all\" (the default)\n"
                           "  drop    delete these messages and their files: numbers, \"failed\" or \"all\""),
            {"list", "retry", "drop"})
    {
        addOption({"--service", "NAME", "only this e-mail service of several", QStringLiteral("the name of an e-mail service"),
                   [this](const QString& value) {
                       service = value;
                       return !value.isEmpty();
                   }});
    }

    QString service;
};

/// The outbox of one e-mail service.
struct Queue
{
    QString service;
    Outbox::Limits limits;
    std::unique_ptr<Outbox> outbox;
};

std::optional<CommandLine::Exit> checked(Request& request)
{
    if (request.action() == QLatin1String("drop") && request.words().isEmpty())
        return CommandLine::Exit{2, QStringLiteral("which messages? Give their numbers, \"failed\" or \"all\"")};
    for (const QString& one : request.words()) {
        bool isNumber = false;
        if (one != QLatin1String("failed") && one != QLatin1String("all") && (one.toLongLong(&isNumber) <= 0 || !isNumber))
            return CommandLine::Exit{2, QStringLiteral("\"%1\" is no message; give a number, \"failed\" or \"all\"").arg(one)};
    }
    return std::nullopt;
}

bool openQueues(const Request& request, const Presentation& presentation, std::vector<Queue>& queues, QString& error)
{
    if (presentation.mailServices.empty()) {
        error = QStringLiteral("the presentation has no e-mail service");
        return false;
    }
    const QString data = request.tableFolder(presentation);
    for (const MailSettings& settings : presentation.mailServices) {
        if (!request.service.isEmpty() && settings.name != request.service)
            continue;
        const QString folder = outboxFolder(data, settings.name);
        // A table that never ran has no outbox, and listing makes none.
        Queue queue{settings.name, {settings.mostMessages, settings.mostBytes}, nullptr};
        if (QFileInfo::exists(folder + QStringLiteral("/outbox.sqlite"))) {
            queue.outbox = Outbox::open(folder, error);
            if (!queue.outbox)
                return false;
        }
        queues.push_back(std::move(queue));
    }
    if (queues.empty())
        error = QStringLiteral("there is no e-mail service \"%1\" in the presentation").arg(request.service);
    return !queues.empty();
}

const char* name(OutboxMessage::State state)
{
    switch (state) {
    case OutboxMessage::State::Queued: return "queued";
    case OutboxMessage::State::Sending: return "sending";
    case OutboxMessage::State::Failed: break;
    }
    return "failed";
}

QString time(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

/// The messages of a queue; nothing, with an error written, for an outbox that cannot be read.
std::optional<std::vector<OutboxMessage>> messagesOf(const Request& request, const Queue& queue)
{
    if (!queue.outbox)
        return std::vector<OutboxMessage>();
    auto messages = queue.outbox->messages();
    if (!messages)
        request.fail(QStringLiteral("the outbox cannot be read"), 1);
    return messages;
}

/// False when an outbox cannot be read.
bool list(const Request& request, const std::vector<Queue>& queues)
{
    bool isComplete = true;
    for (const Queue& queue : queues) {
        const auto messages = messagesOf(request, queue);
        isComplete = isComplete && messages;
        if (!messages)
            continue;
        if (queues.size() > 1)
            request.print(
                QStringLiteral("%1:").arg(queue.service.isEmpty() ? QStringLiteral("(without a name)") : queue.service));
        if (messages->empty()) {
            request.print(QStringLiteral("no messages"));
            continue;
        }
        qint64 bytes = 0;
        for (const OutboxMessage& message : *messages) {
            QString line = QStringLiteral("%1  %2  accepted %3  attempts %4  to %5")
                               .arg(message.id)
                               .arg(QLatin1String(name(message.state)), -7)
                               .arg(time(message.createdMs))
                               .arg(message.attempts)
                               .arg(MailText::oneLine(message.recipientNames()));
            if (message.state == OutboxMessage::State::Queued && message.attempts > 0)
                line += QStringLiteral("  next %1").arg(time(message.nextAttemptMs));
            if (!message.lastError.isEmpty())
                line += QStringLiteral("  (%1)").arg(MailText::oneLine(message.lastError));
            request.print(line);
            bytes += message.sizeBytes;
        }
        request.print(QStringLiteral("%1 of at most %2 messages, %3 of %4 MB")
                          .arg(messages->size())
                          .arg(queue.limits.messages)
                          .arg(double(bytes) / 1e6, 0, 'f', 1)
                          .arg(double(queue.limits.bytes) / 1e6, 0, 'f', 0));
    }
    return isComplete;
}

bool isWanted(const OutboxMessage& message, const QStringList& which)
{
    if (which.contains(QLatin1String("failed")) && message.state == OutboxMessage::State::Failed)
        return true;
    return which.contains(QLatin1String("all")) || which.contains(QString::number(message.id));
}

/// Retries or drops; false when a message that was named could not be.
bool change(const Request& request, const std::vector<Queue>& queues)
{
    const bool isRetry = request.action() == QLatin1String("retry");
    const QStringList which = request.words().isEmpty() ? QStringList{"all"} : request.words();
    QStringList unseen = which;
    unseen.removeAll(QStringLiteral("all"));
    unseen.removeAll(QStringLiteral("failed"));
    bool isComplete = true;
    int changed = 0;
    for (const Queue& queue : queues) {
        const auto messages = messagesOf(request, queue);
        isComplete = isComplete && messages;
        if (!messages)
            continue;
        for (const OutboxMessage& message : *messages) {
            if (!isWanted(message, which))
                continue;
            unseen.removeAll(QString::number(message.id));
            const bool ok =
                isRetry ? queue.outbox->retry(message.id, QDateTime::currentMSecsSinceEpoch()) : queue.outbox->drop(message.id);
            if (ok)
                ++changed;
            else
                request.fail(QStringLiteral("message %1 is being sent; try again when that has ended").arg(message.id), 1);
            isComplete = isComplete && ok;
        }
    }
    for (const QString& number : unseen)
        request.fail(QStringLiteral("there is no message %1").arg(number), 1);
    request.print((isRetry ? QStringLiteral("%1 to be sent anew, at once where the table runs") : QStringLiteral("%1 dropped"))
                      .arg(changed));
    return isComplete && unseen.isEmpty();
}
}

int MailCommand::run(const QStringList& arguments)
{
    Request request;
    if (const auto exitCode = request.begin(arguments, [&request] { return checked(request); }))
        return *exitCode;
    const auto presentation = request.loadPresentation();
    if (!presentation)
        return 1;
    QString error;
    std::vector<Queue> queues;
    if (!openQueues(request, *presentation, queues, error))
        return request.fail(error, 1);
    if (request.action() == QLatin1String("list"))
        return list(request, queues) ? 0 : 1;
    return change(request, queues) ? 0 : 1;
}
}
