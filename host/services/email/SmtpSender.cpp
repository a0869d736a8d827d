#include "SmtpSender.hpp"

#include "MailText.hpp"
#include "SmtpTranscript.hpp"

#include <curl/curl.h>

#include <QFile>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
/// libcurl is initialised once, before threads use it.
CURLM* newMulti()
{
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(code);
    return curl_multi_init();
}

int deleteMulti(void* multi)
{
    return curl_multi_cleanup(multi);
}

int onTraffic(CURL*, curl_infotype type, char* data, std::size_t size, void* user)
{
    auto& transcript = *static_cast<SmtpTranscript*>(user);
    if (type == CURLINFO_HEADER_IN)
        transcript.lineReceived(QByteArray(data, int(size)));
    else if (type == CURLINFO_HEADER_OUT)
        transcript.commandSent(QByteArray(data, int(size)));
    else if (type == CURLINFO_DATA_OUT)
        transcript.dataSent();
    return 0;
}

}

struct SmtpSender::Transfer
{
    OutboxMessage message;
    QFile file;
    qint64 bytesLeft = 0; ///< that are still to be sent
    SmtpTranscript transcript;
    bool isStopped = false;
    char detail[CURL_ERROR_SIZE] = "";
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> recipients{nullptr, curl_slist_free_all};
    std::unique_ptr<CURL, void (*)(CURL*)> handle{curl_easy_init(), curl_easy_cleanup};

    /// Ends a stopped transfer, and one that waits for the answer to QUIT: libcurl would wait two minutes for a silent server.
    static int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
    {
        const auto& transfer = *static_cast<const Transfer*>(user);
        return transfer.isStopped || transfer.transcript.hasQuit() ? 1 : 0;
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
    : m_settings(settings), m_credentials(credentials), m_multi(newMulti(), deleteMulti)
{
}

SmtpSender::~SmtpSender()
{
    static_cast<void>(stop());
}

void SmtpSender::setUp(Transfer& transfer)
{
    CURL* const handle = transfer.handle.get();
    const OutboxMessage& message = transfer.message;
    curl_easy_setopt(handle, CURLOPT_PRIVATE, &transfer);
    curl_easy_setopt(handle, CURLOPT_URL, m_settings.server.toUtf8().constData());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L); // QUIT is part of the transfer, so it has the same limit
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, long(m_settings.connectTimeoutSeconds * 1000.0));
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, long(m_settings.timeoutSeconds * 1000.0));
    curl_easy_setopt(handle, CURLOPT_MAIL_FROM, MailText::plainAddress(message.sender).constData());
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, transfer.recipients.get());
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, 128L * 1024L);
    curl_easy_setopt(handle, CURLOPT_INFILESIZE_LARGE, curl_off_t(message.sizeBytes));
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, Transfer::read);
    curl_easy_setopt(handle, CURLOPT_READDATA, &transfer);
    // The traffic is read for the server's reply to each recipient; it is printed nowhere.
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, onTraffic);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, &transfer.transcript);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, transfer.detail);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, Transfer::onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);

    using StartTls = MailSettings::StartTls;
    long encryption = CURLUSESSL_ALL;
    if (m_settings.startTls == StartTls::Never)
        encryption = CURLUSESSL_NONE;
    else if (m_settings.startTls == StartTls::IfOffered && m_credentials.user.isEmpty())
        encryption = CURLUSESSL_TRY;
    curl_easy_setopt(handle, CURLOPT_USE_SSL, encryption);
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!m_settings.caFile.isEmpty())
        curl_easy_setopt(handle, CURLOPT_CAINFO, m_settings.caFile.toLocal8Bit().constData());
    if (!m_credentials.user.isEmpty()) {
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
    if (!transfer->file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || transfer->file.size() != transfer->bytesLeft) {
        m_ended.push_back(
            {std::move(transfer->message), Outcome::Refused, QStringLiteral("the outbox has lost the message's file")});
        return;
    }
    for (const auto& recipient : transfer->message.recipients)
        if (recipient.outcome == OutboxMessage::Outcome::Open)
            transfer->recipients.reset(
                curl_slist_append(transfer->recipients.release(), MailText::plainAddress(recipient.address).constData()));
    if (!transfer->recipients) { // all recipients have their outcome
        m_ended.push_back(judge(*transfer, CURLE_OK));
        return;
    }
    setUp(*transfer);
    if (curl_multi_add_handle(m_multi.get(), transfer->handle.get()) == CURLM_OK)
        m_transfers.push_back(std::move(transfer));
    else
        m_ended.push_back({std::move(transfer->message), Outcome::Later, QStringLiteral("there is no memory for a connection")});
}

std::vector<SmtpSender::Ended> SmtpSender::proceed(std::chrono::milliseconds longestWait)
{
    curl_multi_poll(m_multi.get(), nullptr, 0, m_ended.empty() ? int(longestWait.count()) : 0, nullptr);
    int count = 0;
    curl_multi_perform(m_multi.get(), &count);
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &count)) {
        Transfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        if (message->msg == CURLMSG_DONE)
            end(*transfer, message->data.result);
    }
    return std::exchange(m_ended, {});
}

void SmtpSender::end(Transfer& transfer, int code)
{
    curl_multi_remove_handle(m_multi.get(), transfer.handle.get());
    m_ended.push_back(judge(transfer, code == CURLE_ABORTED_BY_CALLBACK ? CURLE_OPERATION_TIMEDOUT : code));
    m_transfers.erase(
        std::find_if(m_transfers.begin(), m_transfers.end(), [&](const auto& one) { return one.get() == &transfer; }));
}

void SmtpSender::wake()
{
    curl_multi_wakeup(m_multi.get());
}

std::vector<OutboxMessage> SmtpSender::stop()
{
    // A transfer that is taken from the set while it sends would end the message there, and half of it would be delivered. One
    // that its own callback ends does not.
    for (const auto& transfer : m_transfers)
        transfer->isStopped = true;
    for (int running = 1; running > 0;) {
        curl_multi_perform(m_multi.get(), &running);
        curl_multi_poll(m_multi.get(), nullptr, 0, running > 0 ? 10 : 0, nullptr);
    }
    std::vector<OutboxMessage> messages;
    for (const auto& transfer : m_transfers) {
        curl_multi_remove_handle(m_multi.get(), transfer->handle.get());
        messages.push_back(std::move(transfer->message));
    }
    m_transfers.clear();
    for (Ended& ended : std::exchange(m_ended, {}))
        messages.push_back(std::move(ended.message));
    return messages;
}

SmtpSender::Ended SmtpSender::judge(Transfer& transfer, int code) const
{
    using State = OutboxMessage::Outcome;
    OutboxMessage& message = transfer.message;
    if (message.recipients.empty())
        return {std::move(message), Outcome::Refused, QStringLiteral("the outbox has lost the recipients")};
    const std::vector<SmtpTranscript::Reply>& replies = transfer.transcript.recipients();
    std::size_t asked = 0;
    QString refusal; // the reply for a recipient that is refused
    QString delay;   // the reply for a recipient that may be reached later
    bool someAreOpen = false;
    for (auto& recipient : message.recipients) {
        if (recipient.outcome == State::Open) {
            const SmtpTranscript::Reply reply = asked < replies.size() ? replies[asked] : SmtpTranscript::Reply{};
            ++asked;
            if (reply.code != 0)
                recipient.reply = reply.words;
            if (reply.isFinal())
                recipient.outcome = State::Refused;
            else if (reply.isPassing())
                delay = reply.words;
            else if (code == CURLE_OK)
                recipient.outcome = State::Delivered;
        }
        someAreOpen = someAreOpen || recipient.outcome == State::Open;
        if (recipient.outcome == State::Refused)
            refusal = recipient.reply;
    }
    if (!someAreOpen)
        return {std::move(message), refusal.isEmpty() ? Outcome::Delivered : Outcome::Refused, refusal};
    const SmtpTranscript::Reply& last = transfer.transcript.last();
    if (code != CURLE_OK && last.isFinal() && !transfer.transcript.lastIsOfRecipient())
        return {std::move(message), Outcome::Refused, last.words};
    if (!delay.isEmpty())
        return {std::move(message), Outcome::Later, delay};
    return {std::move(message), Outcome::Later, last.isPassing() ? last.words : explain(code, transfer.detail)};
}

QString SmtpSender::explain(int code, const char* detail) const
{
    const QString& server = m_settings.server;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: return QStringLiteral("the name of the mail server %1 is not known").arg(server);
    case CURLE_COULDNT_CONNECT: return QStringLiteral("the mail server %1 cannot be reached").arg(server);
    case CURLE_OPERATION_TIMEDOUT: return QStringLiteral("the mail server %1 was too slow").arg(server);
    case CURLE_PEER_FAILED_VERIFICATION:
        return QStringLiteral("the certificate of the mail server %1 is not to be trusted").arg(server);
    case CURLE_USE_SSL_FAILED: return QStringLiteral("the mail server %1 offers no encryption").arg(server);
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_WEIRD_SERVER_REPLY: return QStringLiteral("the connection to the mail server %1 broke").arg(server);
    default:
        return QStringLiteral("the mail server %1: %2")
            .arg(server, MailText::oneLine(QString::fromUtf8(*detail ? detail : curl_easy_strerror(CURLcode(code)))));
    }
}
}
