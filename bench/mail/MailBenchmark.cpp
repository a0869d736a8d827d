// Row 14: a gibibyte of attachments, from accepting the message to its last byte at a sink on this machine: how much the process
// grows meanwhile, and how long it takes against the curl command, which composes the same message.

#include "SmtpSink.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include "services/email/MailSettings.hpp"
#include "services/email/OutboxService.hpp"

#include <Tavola/EmailMessage.hpp>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace
{
constexpr int kFiles = 4;
constexpr int kRounds = 3;

/// Bytes of an entry of /proc/self/status, such as "VmRSS".
long memory(const std::string& entry)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long kibibytes = 0;
        if (word == entry + ":" && status >> kibibytes)
            return kibibytes * 1024;
    }
    throw std::runtime_error("no " + entry);
}

/// From here on VmHWM is the peak of what follows.
void forgetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

double secondsOf(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Files to attach, a service with an outbox of its own, and the sink.
class Desk
{
public:
    explicit Desk(qint64 bytes)
    {
        for (int i = 0; i < kFiles; ++i) {
            m_files.push_back(m_folder.filePath(QStringLiteral("%1.bin").arg(i)));
            QFile file(m_files.back());
            if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes / kFiles))
                throw std::runtime_error("a file to attach cannot be made");
        }
        Host::MailSettings settings;
        settings.server = QStringLiteral("smtp://127.0.0.1:%1").arg(m_sink.port());
        settings.startTls = Host::MailSettings::StartTls::Never;
        settings.sender = {QStringLiteral("museum@example.net"), QStringLiteral("The Small Museum")};
        settings.subject = QStringLiteral("What you collected");
        settings.attachmentLimitBytes = 2 * bytes;
        settings.answerSeconds = settings.timeoutSeconds = 600.0; // the answer says that the sink has it
        QString error;
        m_service = Host::OutboxService::open(settings, m_folder.filePath(QStringLiteral("outbox")), error);
        if (!m_service)
            throw std::runtime_error(error.toStdString());
    }

    /// Returns when the sink has the whole message.
    void send(int files)
    {
        Tavola::EmailMessage message = m_service->createMessage();
        message.setContent(QStringLiteral("Hello\n"));
        message.addRecipient({QStringLiteral("ann@example.org"), QStringLiteral("Ann")}, Tavola::EmailMessage::To);
        for (int i = 0; i < files; ++i) {
            auto file = std::make_unique<QFile>(m_files[std::size_t(i)]);
            if (!file->open(QIODevice::ReadOnly))
                throw std::runtime_error("a file to attach cannot be read");
            message.addAttachment(QStringLiteral("%1.bin").arg(i), std::move(file), QStringLiteral("application/octet-stream"));
        }
        const qint64 before = m_sink.bytes();
        const auto status = m_service->send(message).get();
        requireArrived(status.success, before, files);
    }
    void sendByCurl()
    {
        QStringList arguments{QStringLiteral("--silent"),      QStringLiteral("--show-error"),
                              QStringLiteral("--mail-from"),   QStringLiteral("museum@example.net"),
                              QStringLiteral("--mail-rcpt"),   QStringLiteral("ann@example.org"),
                              QStringLiteral("--header"),      QStringLiteral("From: The Small Museum <museum@example.net>"),
                              QStringLiteral("--header"),      QStringLiteral("To: Ann <ann@example.org>"),
                              QStringLiteral("--header"),      QStringLiteral("Subject: What you collected"),
                              QStringLiteral("--form-string"), QStringLiteral("=Hello")};
        for (const QString& file : m_files)
            arguments << QStringLiteral("--form")
                      << QStringLiteral("file=@%1;type=application/octet-stream;encoder=base64").arg(file);
        arguments << QStringLiteral("smtp://127.0.0.1:%1").arg(m_sink.port());
        const qint64 before = m_sink.bytes();
        QProcess curl;
        curl.start(QStringLiteral("curl"), arguments);
        const bool isDone = curl.waitForFinished(-1) && curl.exitCode() == 0;
        if (!isDone)
            throw std::runtime_error("curl: " + curl.readAllStandardError().toStdString());
        requireArrived(isDone, before, kFiles);
    }

private:
    /// In base64 a file is a third larger, and line ends come on top.
    void requireArrived(bool isSent, qint64 before, int files) const
    {
        qint64 bytes = 0;
        for (int i = 0; i < files; ++i)
            bytes += QFile(m_files[std::size_t(i)]).size();
        if (!isSent || m_sink.bytes() - before < bytes / 3 * 4)
            throw std::runtime_error("the sink did not get the whole message");
    }

    QTemporaryDir m_folder;
    std::vector<QString> m_files;
    Bench::SmtpSink m_sink;
    std::shared_ptr<Host::OutboxService> m_service;
};

void gibibyte(benchmark::State& state)
{
    const qint64 mebibytes = Bench::options().isSmoke ? 4 : 1024;
    Desk desk(mebibytes << 20);
    desk.send(0); // what is loaded once is loaded
    std::vector<double> ours;
    std::vector<double> rival;
    std::vector<double> ratios;
    long growth = 0;
    for (auto _ : state) {
        for (int round = 0; round < std::min(kRounds, Bench::options().rounds); ++round) {
            forgetPeak();
            const long before = memory("VmRSS");
            ours.push_back(secondsOf([&] { desk.send(kFiles); }));
            growth = std::max(growth, memory("VmHWM") - before);
            rival.push_back(secondsOf([&] { desk.sendByCurl(); }));
            ratios.push_back(ours.back() / rival.back());
        }
    }
    state.counters["growth"] = double(growth) / (1 << 20);
    state.counters["ratio"] = median(ratios);
    state.counters["ours_ns"] = median(ours) * 1e9;
    state.counters["rival_ns"] = median(rival) * 1e9;
}

const Bench::Row kRow([] { Bench::add("row14/mail", gibibyte); });
}
