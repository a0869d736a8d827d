#include "SmtpSender.hpp"

#include "MailText.hpp"
#include "SmtpTranscript.hpp"

#include <curl/curl.h>

#include <QFile>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

namespace Host
{
namespace
{
/// libcurl is initialised once, before threads use it.
void initialiseOnce()
{
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(code);
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

/// Ends a transfer that libcurl would go on with: it waits two minutes for the answer of a silent server to QUIT.
struct Limit
{
    const SmtpSender::GoOn& goOn;
    const SmtpTranscript& transcript;
    std::chrono::steady_clock::time_point end;
    bool isStopped = false;

    [[nodiscard]] bool isReached() const { return transcript.hasQuit() || std::chrono::steady_clock::now() > end; }
};

int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    auto& limit = *static_cast<Limit*>(user);
    limit.isStopped = limit.isStopped || !limit.goOn();
    return limit.isStopped || limit.isReached() ? 1 : 0;
}

/// A finished message on its way.
struct Upload
{
    QFile& file;
    qint64 left; ///< bytes that are still to be sent
};

std::size_t readFile(char* target, std::size_t size, std::size_t count, void* user)
{
    auto& upload = *static_cast<Upload*>(user);
    const qint64 wanted = std::min(upload.left, qint64(size * count));
    const qint64 got = wanted > 0 ? upload.file.read(target, wanted) : 0;
    upload.left -= got;
    // An early end would be sent as the end of the message.
    return got < 0 || (got == 0 && wanted > 0) ? std::size_t(CURL_READFUNC_ABORT) : std::size_t(got);
}
}

SmtpSender::SmtpSender(const MailSettings& settings, const MailCredentials& credentials)
    : m_settings(settings), m_credentials(credentials)
{
    initialiseOnce();
}

void SmtpSender::setUp(void* transfer) const
{
    curl_easy_setopt(transfer, CURLOPT_URL, m_settings.server.toUtf8().constData());
    curl_easy_setopt(transfer, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(transfer, CURLOPT_PROXY, "");
    curl_easy_setopt(transfer, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(transfer, CURLOPT_UPLOAD_BUFFERSIZE, 128L * 1024L);
    curl_easy_setopt(transfer, CURLOPT_FORBID_REUSE, 1L); // QUIT is part of the transfer, so it has the same limit
    curl_easy_setopt(transfer, CURLOPT_CONNECTTIMEOUT_MS, long(m_settings.connectTimeoutSeconds * 1000.0));
    curl_easy_setopt(transfer, CURLOPT_TIMEOUT_MS, long(m_settings.timeoutSeconds * 1000.0));

    using StartTls = MailSettings::StartTls;
    long encryption = CURLUSESSL_ALL;
    if (m_settings.startTls == StartTls::Never)
        encryption = CURLUSESSL_NONE;
    else if (m_settings.startTls == StartTls::IfOffered && m_credentials.user.isEmpty())
        encryption = CURLUSESSL_TRY;
    curl_easy_setopt(transfer, CURLOPT_USE_SSL, encryption);
    curl_easy_setopt(transfer, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(transfer, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(transfer, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!m_settings.caFile.isEmpty())
        curl_easy_setopt(transfer, CURLOPT_CAINFO, m_settings.caFile.toLocal8Bit().constData());
    if (!m_credentials.user.isEmpty()) {
        curl_easy_setopt(transfer, CURLOPT_USERNAME, m_credentials.user.toUtf8().constData());
        curl_easy_setopt(transfer, CURLOPT_PASSWORD, m_credentials.password.toUtf8().constData());
    }
}

SmtpSender::Result SmtpSender::send(OutboxMessage& message, const QString& path, const GoOn& goOn) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.size() != message.sizeBytes)
        return {Outcome::Refused, QStringLiteral("the outbox has lost the message's file")};
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
    CURL* transfer = handle.get();
    if (!transfer)
        return {Outcome::Later, QStringLiteral("there is no memory for a connection")};
    setUp(transfer);
    curl_easy_setopt(transfer, CURLOPT_MAIL_FROM, MailText::plainAddress(message.sender).constData());
    curl_slist* recipients = nullptr;
    for (const auto& recipient : message.recipients)
        if (recipient.outcome == OutboxMessage::Outcome::Open)
            recipients = curl_slist_append(recipients, MailText::plainAddress(recipient.address).constData());
    const std::unique_ptr<curl_slist, void (*)(curl_slist*)> recipientsOwner(recipients, curl_slist_free_all);
    if (!recipients)
        return judge(CURLE_OK, "", SmtpTranscript(), message); // all recipients have their outcome
    curl_easy_setopt(transfer, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(transfer, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);

    // The traffic is read for the server's reply to each recipient; it is printed nowhere.
    SmtpTranscript transcript;
    curl_easy_setopt(transfer, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(transfer, CURLOPT_DEBUGFUNCTION, onTraffic);
    curl_easy_setopt(transfer, CURLOPT_DEBUGDATA, &transcript);
    curl_easy_setopt(transfer, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(transfer, CURLOPT_XFERINFOFUNCTION, onProgress);
    Limit limit{goOn, transcript,
                std::chrono::steady_clock::now() + std::chrono::milliseconds(qint64(m_settings.timeoutSeconds * 1000.0))};
    curl_easy_setopt(transfer, CURLOPT_XFERINFODATA, &limit);
    curl_easy_setopt(transfer, CURLOPT_READFUNCTION, readFile);
    Upload upload{file, message.sizeBytes};
    curl_easy_setopt(transfer, CURLOPT_READDATA, &upload);
    curl_easy_setopt(transfer, CURLOPT_INFILESIZE_LARGE, curl_off_t(message.sizeBytes));
    char detail[CURL_ERROR_SIZE] = "";
    curl_easy_setopt(transfer, CURLOPT_ERRORBUFFER, detail);

    CURLcode code = curl_easy_perform(transfer);
    if (code == CURLE_ABORTED_BY_CALLBACK && limit.isStopped)
        return {Outcome::Stopped, QString()};
    if (code == CURLE_ABORTED_BY_CALLBACK && limit.isReached())
        code = CURLE_OPERATION_TIMEDOUT;
    return judge(code, detail, transcript, message);
}

SmtpSender::Result SmtpSender::judge(int code, const char* detail, const SmtpTranscript& transcript, OutboxMessage& message) const
{
    using State = OutboxMessage::Outcome;
    if (message.recipients.empty())
        return {Outcome::Refused, QStringLiteral("the outbox has lost the recipients")};
    const std::vector<SmtpTranscript::Reply>& replies = transcript.recipients();
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
        return refusal.isEmpty() ? Result{Outcome::Delivered, QString()} : Result{Outcome::Refused, refusal};
    const SmtpTranscript::Reply& last = transcript.last();
    if (code != CURLE_OK && last.isFinal() && !transcript.lastIsOfRecipient())
        return {Outcome::Refused, last.words};
    if (!delay.isEmpty())
        return {Outcome::Later, delay};
    return {Outcome::Later, last.isPassing() ? last.words : explain(code, detail)};
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
