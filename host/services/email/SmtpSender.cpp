#include "SmtpSender.hpp"

#include "MailText.hpp"

#include <Tavola/Curl.hpp>

#include <QFile>
#include <QHash>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
using Outcome = OutboxMessage::Outcome;
using Tavola::curl;

constexpr int kLongestReply = 500;
constexpr std::chrono::milliseconds kStoppingPause{10};

/// Why an attempt has failed that has no reply to tell.
QString explain(CURLcode code, const QString& server, const char* detail)
{
    static const QString kBroken = QStringLiteral("the connection to the mail server %1 broke");
    static const QHash<int, QString> kWords{
        {CURLE_COULDNT_RESOLVE_HOST, "the name of the mail server %1 is not known"},
        {CURLE_COULDNT_CONNECT, "the mail server %1 cannot be reached"},
        {CURLE_OPERATION_TIMEDOUT, "the mail server %1 was too slow"},
        {CURLE_USE_SSL_FAILED, "the mail server %1 offers no encryption"},
        {CURLE_PEER_FAILED_VERIFICATION, "the certificate of the mail server %1 is not to be trusted"},
        {CURLE_SEND_ERROR, kBroken},
        {CURLE_RECV_ERROR, kBroken},
        {CURLE_GOT_NOTHING, kBroken},
        {CURLE_PARTIAL_FILE, kBroken},
        {CURLE_WEIRD_SERVER_REPLY, kBroken},
        {CURLE_ABORTED_BY_CALLBACK, "the message's file cannot be read"}};
    const QString others =
        "the mail server %1: " + MailText::oneLine(QString::fromUtf8(*detail ? detail : curl().curl_easy_strerror(code)));
    return QString(kWords.value(code, others)).replace(QLatin1String("%1"), server);
}
}

/// libcurl keeps the server's last reply only, so the replies are gathered from the traffic that it shows; what was sent,
/// credentials among it, is not stored.
struct SmtpSender::Attempt
{
    struct Exchange
    {
        bool isOfRecipient = false;
        QString reply; ///< the last complete one: "550 5.1.1 No such user"; empty: none
    };

    OutboxMessage message;
    QFile file;
    qint64 bytesLeft = 0; ///< that are still to be sent
    bool isStopped = false;
    bool hasQuit = false;               ///< replies do not count any more
    std::vector<Exchange> exchanges{1}; ///< the greeting, then one for each command
    QString firstLines;                 ///< of a reply whose last line is still to come
    char detail[CURL_ERROR_SIZE] = "";
    std::unique_ptr<curl_slist, Tavola::CurlDelete> recipients;
    std::unique_ptr<CURL, Tavola::CurlDelete> handle{curl().curl_easy_init()};

    void addReply(const QByteArray& line)
    {
        const int code = line.left(3).toInt();
        if (hasQuit || code < 200 || code > 599)
            return;
        if (firstLines.isEmpty())
            firstLines = QString::number(code);
        const QString words = MailText::oneLine(QString::fromUtf8(line.mid(4)));
        if (!words.isEmpty() && firstLines.size() < kLongestReply)
            firstLines += QLatin1Char(' ') + words.left(kLongestReply);
        if (line.mid(3, 1) != "-")
            exchanges.back().reply = std::exchange(firstLines, QString());
    }
    static int onTraffic(CURL*, curl_infotype type, char* data, std::size_t size, void* user)
    {
        auto& attempt = *static_cast<Attempt*>(user);
        const QByteArray bytes = QByteArray::fromRawData(data, int(size));
        if (type == CURLINFO_HEADER_IN)
            attempt.addReply(bytes);
        if (type != CURLINFO_HEADER_OUT)
            return 0;
        attempt.hasQuit = attempt.hasQuit || bytes.startsWith("QUIT");
        if (!attempt.hasQuit)
            attempt.exchanges.push_back({bytes.startsWith("RCPT TO:"), QString()});
        return 0;
    }
    /// Ends a stopped attempt, and one that waits for the answer to QUIT: libcurl would wait two minutes for a silent server.
    static int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
    {
        const auto& attempt = *static_cast<const Attempt*>(user);
        return attempt.isStopped || attempt.hasQuit ? 1 : 0;
    }
    static std::size_t read(char* target, std::size_t size, std::size_t count, void* user)
    {
        auto& attempt = *static_cast<Attempt*>(user);
        const qint64 wanted = std::min(attempt.bytesLeft, qint64(size * count));
        const qint64 got = wanted > 0 ? attempt.file.read(target, wanted) : 0;
        attempt.bytesLeft -= got;
        // An early end would be sent as the end of the message.
        return got < 0 || (got == 0 && wanted > 0) ? std::size_t(CURL_READFUNC_ABORT) : std::size_t(got);
    }

    /// What became of the message, which goes with it.
    Ended judge(CURLcode code, const QString& server)
    {
        const auto ended = [this](Outcome outcome, const QString& words) { return Ended{std::move(message), outcome, words}; };
        if (message.recipients.empty())
            return ended(Outcome::Refused, "the outbox has lost the recipients");
        const auto isOfRecipient = [](const Exchange& exchange) { return exchange.isOfRecipient; };
        auto asked = exchanges.cbegin();
        QString refusal; // the reply for a recipient that is refused
        QString delay;   // the reply for a recipient that may be reached later
        bool someAreOpen = false;
        for (auto& recipient : message.recipients) {
            if (recipient.outcome == Outcome::Open) {
                asked = std::find_if(asked, exchanges.cend(), isOfRecipient);
                const QString answer = asked == exchanges.cend() ? QString() : (asked++)->reply;
                if (!answer.isEmpty())
                    recipient.reply = answer;
                if (answer.startsWith(QLatin1Char('5')))
                    recipient.outcome = Outcome::Refused;
                else if (answer.startsWith(QLatin1Char('4')))
                    delay = answer;
                else if (code == CURLE_OK)
                    recipient.outcome = Outcome::Delivered;
            }
            someAreOpen = someAreOpen || recipient.outcome == Outcome::Open;
            if (recipient.outcome == Outcome::Refused)
                refusal = recipient.reply;
        }
        if (!someAreOpen)
            return ended(refusal.isEmpty() ? Outcome::Delivered : Outcome::Refused, refusal);
        const auto& [isRecipientsOnly, last] = exchanges.back();
        if (code != CURLE_OK && last.startsWith(QLatin1Char('5')) && !isRecipientsOnly)
            return ended(Outcome::Refused, last);
        if (delay.isEmpty())
            delay = last.startsWith(QLatin1Char('4')) ? last : explain(code, server, detail);
        return ended(Outcome::Open, delay);
    }
};

SmtpSender::SmtpSender(const MailSettings& settings, const MailCredentials& credentials)
    : m_settings(settings), m_credentials(credentials), m_multi(curl().curl_multi_init(), curl().curl_multi_cleanup)
{
}

SmtpSender::~SmtpSender()
{
    for (stop(); count() > 0;)
        static_cast<void>(proceed(kStoppingPause));
}

void SmtpSender::setUp(Attempt& attempt) const
{
    CURL* const handle = attempt.handle.get();
    curl().curl_easy_setopt(handle, CURLOPT_URL, qUtf8Printable(m_settings.server));
    curl().curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl().curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl().curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L); // QUIT is part of the attempt, so it has the same limit
    curl().curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, long(m_settings.connectTimeoutSeconds * 1000.0));
    curl().curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, long(m_settings.timeoutSeconds * 1000.0));
    curl().curl_easy_setopt(handle, CURLOPT_MAIL_FROM, MailText::plainAddress(attempt.message.sender).constData());
    curl().curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, attempt.recipients.get());
    curl().curl_easy_setopt(handle, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, 128L * 1024L);
    curl().curl_easy_setopt(handle, CURLOPT_INFILESIZE_LARGE, curl_off_t(attempt.bytesLeft));
    curl().curl_easy_setopt(handle, CURLOPT_READFUNCTION, Attempt::read);
    curl().curl_easy_setopt(handle, CURLOPT_READDATA, &attempt);
    curl().curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, Attempt::onTraffic);
    curl().curl_easy_setopt(handle, CURLOPT_DEBUGDATA, &attempt);
    curl().curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, attempt.detail);
    curl().curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl().curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, Attempt::onProgress);
    curl().curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &attempt);

    using StartTls = MailSettings::StartTls;
    const bool hasLogin = !m_credentials.user.isEmpty();
    const long encryption = m_settings.startTls == StartTls::Never ? CURLUSESSL_NONE
        : m_settings.startTls == StartTls::IfOffered && !hasLogin  ? CURLUSESSL_TRY
                                                                   : CURLUSESSL_ALL;
    curl().curl_easy_setopt(handle, CURLOPT_USE_SSL, encryption);
    curl().curl_easy_setopt(handle, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    if (!m_settings.caFile.isEmpty())
        curl().curl_easy_setopt(handle, CURLOPT_CAINFO, qPrintable(m_settings.caFile));
    if (hasLogin) {
        curl().curl_easy_setopt(handle, CURLOPT_USERNAME, qUtf8Printable(m_credentials.user));
        curl().curl_easy_setopt(handle, CURLOPT_PASSWORD, qUtf8Printable(m_credentials.password));
    }
}

void SmtpSender::begin(OutboxMessage message, const QString& path)
{
    auto attempt = std::make_unique<Attempt>();
    attempt->message = std::move(message);
    attempt->bytesLeft = attempt->message.sizeBytes;
    attempt->file.setFileName(path);
    for (const auto& recipient : attempt->message.recipients)
        if (recipient.outcome == Outcome::Open)
            attempt->recipients.reset(
                curl().curl_slist_append(attempt->recipients.release(), MailText::plainAddress(recipient.address).constData()));
    const bool isWhole =
        attempt->file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && attempt->file.size() == attempt->bytesLeft;
    if (isWhole && attempt->recipients) {
        setUp(*attempt);
        if (curl().curl_multi_add_handle(m_multi.get(), attempt->handle.get()) == CURLM_OK)
            return m_attempts.push_back(std::move(attempt));
    }
    if (isWhole) // all recipients have their outcome, unless libcurl has no memory
        m_ended.push_back(attempt->judge(attempt->recipients ? CURLE_OUT_OF_MEMORY : CURLE_OK, m_settings.server));
    else
        m_ended.push_back({std::move(attempt->message), Outcome::Refused, "the outbox has lost the message's file"});
}

std::vector<SmtpSender::Ended> SmtpSender::proceed(std::chrono::milliseconds longestWait)
{
    if (!m_attempts.empty() && m_attempts.front()->isStopped)
        longestWait = std::min(longestWait, kStoppingPause);
    curl().curl_multi_poll(m_multi.get(), nullptr, 0, m_ended.empty() ? int(longestWait.count()) : 0, nullptr);
    int count = 0;
    curl().curl_multi_perform(m_multi.get(), &count);
    while (const CURLMsg* message = curl().curl_multi_info_read(m_multi.get(), &count)) {
        CURL* const handle = message->easy_handle;
        const CURLcode code = message->data.result;
        const auto attempt =
            std::find_if(m_attempts.begin(), m_attempts.end(), [handle](const auto& one) { return one->handle.get() == handle; });
        curl().curl_multi_remove_handle(m_multi.get(), handle);
        if (!(*attempt)->isStopped || code != CURLE_ABORTED_BY_CALLBACK)
            m_ended.push_back((*attempt)->judge(code, m_settings.server));
        m_attempts.erase(attempt);
    }
    return std::exchange(m_ended, {});
}

void SmtpSender::wake()
{
    curl().curl_multi_wakeup(m_multi.get());
}

void SmtpSender::stop()
{
    // An attempt that is taken from the set while it sends would end the message there, and half of it would be delivered. One
    // that its own callback ends does not.
    for (const auto& attempt : m_attempts)
        attempt->isStopped = true;
}
}
