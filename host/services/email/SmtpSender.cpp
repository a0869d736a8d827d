#include "SmtpSender.hpp"

#include "MailHeader.hpp"
#include "MimeComposer.hpp"
#include "SmtpTranscript.hpp"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <vector>

namespace Host
{
namespace
{
/// libcurl wants to be initialised once, before there are threads that use it.
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

/// Ends a transfer that the library would go on with: it waits two minutes for the farewell of a server that fell silent.
struct Patience
{
    const std::atomic<bool>& stop;
    const SmtpTranscript& transcript;
    std::chrono::steady_clock::time_point end;

    [[nodiscard]] bool isOver() const { return stop || transcript.hasQuit() || std::chrono::steady_clock::now() > end; }
};

int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<const Patience*>(user)->isOver() ? 1 : 0;
}

curl_slist* appended(curl_slist* list, const QByteArray& text)
{
    return curl_slist_append(list, text.constData());
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
    curl_easy_setopt(transfer, CURLOPT_FORBID_REUSE, 1L); // says goodbye within the transfer, under our patience
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

SmtpSender::Result SmtpSender::send(OutboxMessage& message, const std::atomic<bool>& stop) const
{
    // Half a message does not go out: nobody would miss the rest.
    if (message.files.empty() && !message.folder.isEmpty())
        return {Outcome::Refused, QStringLiteral("the outbox has lost the list of its files")};
    const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
    CURL* transfer = handle.get();
    if (!transfer)
        return {Outcome::Later, QStringLiteral("there is no memory for a connection")};
    setUp(transfer);
    curl_easy_setopt(transfer, CURLOPT_MAIL_FROM, MailHeader::plainAddress(message.sender.address).constData());
    curl_slist* recipients = nullptr;
    for (const auto& recipient : message.recipients)
        if (recipient.outcome == OutboxMessage::Outcome::Open)
            recipients = appended(recipients, MailHeader::plainAddress(recipient.address.address));
    const std::unique_ptr<curl_slist, void (*)(curl_slist*)> recipientsOwner(recipients, curl_slist_free_all);
    if (!recipients)
        return judge(CURLE_OK, "", SmtpTranscript(), message); // nobody is left to be asked for
    curl_easy_setopt(transfer, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(transfer, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);

    // The traffic is listened to for what the server says of each recipient; it is printed nowhere.
    SmtpTranscript transcript;
    curl_easy_setopt(transfer, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(transfer, CURLOPT_DEBUGFUNCTION, onTraffic);
    curl_easy_setopt(transfer, CURLOPT_DEBUGDATA, &transcript);
    curl_easy_setopt(transfer, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(transfer, CURLOPT_XFERINFOFUNCTION, onProgress);
    Patience patience{stop, transcript,
                      std::chrono::steady_clock::now() + std::chrono::milliseconds(qint64(m_settings.timeoutSeconds * 1000.0))};
    curl_easy_setopt(transfer, CURLOPT_XFERINFODATA, &patience);
    char detail[CURL_ERROR_SIZE] = "";
    curl_easy_setopt(transfer, CURLOPT_ERRORBUFFER, detail);

    MimeComposer composer(transfer);
    QString error;
    if (!composer.compose(message, error))
        return {Outcome::Refused, error};
    CURLcode code = curl_easy_perform(transfer);
    if (code == CURLE_ABORTED_BY_CALLBACK && (stop || patience.isOver())) {
        if (stop)
            return {Outcome::Stopped, QString()};
        code = CURLE_OPERATION_TIMEDOUT;
    }
    return judge(code, detail, transcript, message);
}

SmtpSender::Result SmtpSender::judge(int code, const char* detail, const SmtpTranscript& transcript, OutboxMessage& message) const
{
    using State = OutboxMessage::Outcome;
    if (message.recipients.empty())
        return {Outcome::Refused, QStringLiteral("the outbox has lost the recipients")};
    const std::vector<SmtpTranscript::Reply>& replies = transcript.recipients();
    std::size_t asked = 0;
    QString refusal; // said to one who will not get it
    QString delay;   // said to one who may get it later
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
            .arg(server, MailHeader::oneLine(QString::fromUtf8(*detail ? detail : curl_easy_strerror(CURLcode(code)))));
    }
}
}
