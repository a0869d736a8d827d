#include "SmtpSender.hpp"

#include "MailText.hpp"

#include <curl/curl.h>

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
constexpr int kLongestReply = 500;
constexpr std::chrono::milliseconds kStoppingPause{10};

/// libcurl is initialised once, before threads use it.
CURLM* newMulti()
{
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(code);
    return curl_multi_init();
}
}

/// One attempt. libcurl keeps the server's last reply only, so the replies are gathered from the traffic that it shows; what was
/// sent, credentials among it, is not stored.
struct SmtpSender::Transfer
{
    OutboxMessage message;
    QFile file;
    qint64 bytesLeft = 0; ///< that are still to be sent
    bool isStopped = false;
    QString reply;                ///< to what was sent last, in the beginning the greeting: "550 5.1.1 No such user"; empty: none
    QString firstLines;           ///< of a reply whose last line is still to come
    QStringList recipientReplies; ///< to each RCPT, in the order of the recipients that are open
    bool isOfRecipient = false;   ///< a RCPT was sent last
    bool hasQuit = false;         ///< replies do not count any more
    char detail[CURL_ERROR_SIZE] = "";
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> recipients{nullptr, curl_slist_free_all};
    std::unique_ptr<CURL, void (*)(CURL*)> handle{curl_easy_init(), curl_easy_cleanup};

    void sent(const QByteArray& command)
    {
        hasQuit = hasQuit || command.startsWith("QUIT");
        if (hasQuit)
            return;
        reply.clear();
        firstLines.clear();
        isOfRecipient = command.startsWith("RCPT TO:");
        if (isOfRecipient)
            recipientReplies << QString();
    }
    void received(const QByteArray& line)
    {
        const int code = line.left(3).toInt();
        if (hasQuit || code < 200 || code > 599)
            return;
        if (firstLines.isEmpty())
            firstLines = QString::number(code);
        const QString words = MailText::oneLine(QString::fromUtf8(line.mid(4)));
        if (!words.isEmpty() && firstLines.size() < kLongestReply)
            firstLines += QLatin1Char(' ') + words.left(kLongestReply);
        if (line.mid(3, 1) == "-")
            return;
        reply = std::exchange(firstLines, QString());
        if (isOfRecipient)
            recipientReplies.last() = reply;
    }

    static int onTraffic(CURL*, curl_infotype type, char* data, std::size_t size, void* user)
    {
        auto& transfer = *static_cast<Transfer*>(user);
        if (type == CURLINFO_HEADER_IN)
            transfer.received(QByteArray(data, int(size)));
        else if (type == CURLINFO_HEADER_OUT)
            transfer.sent(QByteArray(data, int(size)));
        else if (type == CURLINFO_DATA_OUT)
            transfer.sent(QByteArray());
        return 0;
    }
    /// Ends a stopped transfer, and one that waits for the answer to QUIT: libcurl would wait two minutes for a silent server.
    static int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
    {
        const auto& transfer = *static_cast<const Transfer*>(user);
        return transfer.isStopped || transfer.hasQuit ? 1 : 0;
    }
    static std::size_t read(char* target, std::size_t size, std::size_t count, void* user)
    {
        auto& transfer = *static_cast<Transfer*>(user);
        const qint64 wanted = std::min(transfer.bytesLeft, qint64(size * count));
        const qint64 got = wanted > 0 ? transfer.file.read(target, wanted) : 0;
        transfer.bytesLeft -= got;
        // An early end would be sent as the end of the message.
        return got < 0 || (got == 0 && wanted > 0) ? std::size_t(CURL_READFUNC_ABORT) : std::size_t(got);
    }
};

SmtpSender::SmtpSender(const MailSettings& settings, const MailCredentials& credentials)
    : m_settings(settings), m_credentials(credentials), m_multi(newMulti(), curl_multi_cleanup)
{
}

SmtpSender::~SmtpSender()
{
    stop();
    while (count() > 0)
        static_cast<void>(proceed(kStoppingPause));
}

void SmtpSender::setUp(Transfer& transfer)
{
    CURL* const handle = transfer.handle.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, &transfer);
    curl_easy_setopt(handle, CURLOPT_URL, m_settings.server.toUtf8().constData());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L); // QUIT is part of the transfer, so it has the same limit
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, long(m_settings.connectTimeoutSeconds * 1000.0));
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, long(m_settings.timeoutSeconds * 1000.0));
    curl_easy_setopt(handle, CURLOPT_MAIL_FROM, MailText::plainAddress(transfer.message.sender).constData());
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, transfer.recipients.get());
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, 128L * 1024L);
    curl_easy_setopt(handle, CURLOPT_INFILESIZE_LARGE, curl_off_t(transfer.bytesLeft));
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, Transfer::read);
    curl_easy_setopt(handle, CURLOPT_READDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, Transfer::onTraffic);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, transfer.detail);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, Transfer::onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);

    using StartTls = MailSettings::StartTls;
    const bool hasLogin = !m_credentials.user.isEmpty();
    const long encryption = m_settings.startTls == StartTls::Never ? CURLUSESSL_NONE
        : m_settings.startTls == StartTls::IfOffered && !hasLogin  ? CURLUSESSL_TRY
                                                                   : CURLUSESSL_ALL;
    curl_easy_setopt(handle, CURLOPT_USE_SSL, encryption);
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    if (!m_settings.caFile.isEmpty())
        curl_easy_setopt(handle, CURLOPT_CAINFO, m_settings.caFile.toLocal8Bit().constData());
    if (hasLogin) {
        curl_easy_setopt(handle, CURLOPT_USERNAME, m_credentials.user.toUtf8().constData());
        curl_easy_setopt(handle, CURLOPT_PASSWORD, m_credentials.password.toUtf8().constData());
    }
}

void SmtpSender::begin(OutboxMessage message, const QString& path)
{
    auto transfer = std::make_unique<Transfer>();
    transfer->message = std::move(message);
    transfer->bytesLeft = transfer->message.sizeBytes;
    transfer->file.setFileName(path);
    for (const auto& recipient : transfer->message.recipients)
        if (recipient.outcome == OutboxMessage::Outcome::Open)
            transfer->recipients.reset(
                curl_slist_append(transfer->recipients.release(), MailText::plainAddress(recipient.address).constData()));
    if (!transfer->file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || transfer->file.size() != transfer->bytesLeft) {
        m_ended.push_back({std::move(transfer->message), Outcome::Refused, "the outbox has lost the message's file"});
    } else if (!transfer->recipients) { // all recipients have their outcome
        m_ended.push_back(judge(*transfer, CURLE_OK));
    } else {
        setUp(*transfer);
        if (curl_multi_add_handle(m_multi.get(), transfer->handle.get()) == CURLM_OK)
            m_transfers.push_back(std::move(transfer));
        else
            m_ended.push_back(judge(*transfer, CURLE_OUT_OF_MEMORY));
    }
}

std::vector<SmtpSender::Ended> SmtpSender::proceed(std::chrono::milliseconds longestWait)
{
    if (!m_transfers.empty() && m_transfers.front()->isStopped)
        longestWait = std::min(longestWait, kStoppingPause);
    curl_multi_poll(m_multi.get(), nullptr, 0, m_ended.empty() ? int(longestWait.count()) : 0, nullptr);
    int count = 0;
    curl_multi_perform(m_multi.get(), &count);
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &count)) {
        Transfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        end(*transfer, message->data.result);
    }
    return std::exchange(m_ended, {});
}

void SmtpSender::end(Transfer& transfer, int code)
{
    curl_multi_remove_handle(m_multi.get(), transfer.handle.get());
    if (!transfer.isStopped || code != CURLE_ABORTED_BY_CALLBACK)
        m_ended.push_back(judge(transfer, code));
    m_transfers.erase(
        std::find_if(m_transfers.begin(), m_transfers.end(), [&](const auto& one) { return one.get() == &transfer; }));
}

void SmtpSender::wake()
{
    curl_multi_wakeup(m_multi.get());
}

void SmtpSender::stop()
{
    // A transfer that is taken from the set while it sends would end the message there, and half of it would be delivered. One
    // that its own callback ends does not.
    for (const auto& transfer : m_transfers)
        transfer->isStopped = true;
}

SmtpSender::Ended SmtpSender::judge(Transfer& transfer, int code) const
{
    using State = OutboxMessage::Outcome;
    const auto ended = [&](Outcome outcome, const QString& words) { return Ended{std::move(transfer.message), outcome, words}; };
    if (transfer.message.recipients.empty())
        return ended(Outcome::Refused, "the outbox has lost the recipients");
    QString refusal; // the reply for a recipient that is refused
    QString delay;   // the reply for a recipient that may be reached later
    bool someAreOpen = false;
    int asked = 0;
    for (auto& recipient : transfer.message.recipients) {
        if (recipient.outcome == State::Open) {
            const QString reply = transfer.recipientReplies.value(asked++);
            if (!reply.isEmpty())
                recipient.reply = reply;
            if (reply.startsWith(QLatin1Char('5')))
                recipient.outcome = State::Refused;
            else if (reply.startsWith(QLatin1Char('4')))
                delay = reply;
            else if (code == CURLE_OK)
                recipient.outcome = State::Delivered;
        }
        someAreOpen = someAreOpen || recipient.outcome == State::Open;
        if (recipient.outcome == State::Refused)
            refusal = recipient.reply;
    }
    if (!someAreOpen)
        return ended(refusal.isEmpty() ? Outcome::Delivered : Outcome::Refused, refusal);
    if (code != CURLE_OK && transfer.reply.startsWith(QLatin1Char('5')) && !transfer.isOfRecipient)
        return ended(Outcome::Refused, transfer.reply);
    if (delay.isEmpty())
        delay = transfer.reply.startsWith(QLatin1Char('4')) ? transfer.reply : explain(code, transfer.detail);
    return ended(Outcome::Later, delay);
}

QString SmtpSender::explain(int code, const char* detail) const
{
    const QString& server = m_settings.server;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: return QStringLiteral("the name of the mail server %1 is not known").arg(server);
    case CURLE_COULDNT_CONNECT: return QStringLiteral("the mail server %1 cannot be reached").arg(server);
    case CURLE_OPERATION_TIMEDOUT: return QStringLiteral("the mail server %1 was too slow").arg(server);
    case CURLE_USE_SSL_FAILED: return QStringLiteral("the mail server %1 offers no encryption").arg(server);
    case CURLE_PEER_FAILED_VERIFICATION:
        return QStringLiteral("the certificate of the mail server %1 is not to be trusted").arg(server);
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_WEIRD_SERVER_REPLY: return QStringLiteral("the connection to the mail server %1 broke").arg(server);
    case CURLE_ABORTED_BY_CALLBACK: return QStringLiteral("the message's file cannot be read");
    default:
        return QStringLiteral("the mail server %1: %2")
            .arg(server, MailText::oneLine(QString::fromUtf8(*detail ? detail : curl_easy_strerror(CURLcode(code)))));
    }
}
}
