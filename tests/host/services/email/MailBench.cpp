#include "MailBench.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>

#include <algorithm>

using namespace Host;

MailSettings testSettings(const QString& server)
{
    MailSettings settings;
    settings.server = server;
    settings.startTls = MailSettings::StartTls::Never;
    settings.sender = {"museum@example.net", "The Small Museum"};
    settings.subject = QStringLiteral("What you collected");
    settings.largeFilesText = QStringLiteral("Too large:");
    settings.missingFilesText = QStringLiteral("Missing:");
    settings.timeoutSeconds = 20.0;
    settings.answerSeconds = 60.0;
    return settings;
}

TestCertificate::TestCertificate(const Folder& folder) : certificate(folder.path("cert.pem")), key(folder.path("key.pem"))
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key, "-out",
                   certificate, "-days", "2", "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1"});
    REQUIRE(openssl.waitForFinished());
    REQUIRE(openssl.exitCode() == 0);
}

QJsonObject parseMail(const QByteArray& data)
{
    static const char* const kScript = R"py(
import base64, email, email.header, email.policy, email.utils, json, re, sys
data = sys.stdin.buffer.read()
mail = email.message_from_bytes(data, policy=email.policy.default)
parts = []
defects = [str(d) for d in mail.defects]
for part in mail.walk():
    defects += [str(d) for d in part.defects]
    if part.is_multipart():
        continue
    raw = part.get_payload().splitlines()
    parts.append({"type": part.get_content_type(), "disposition": part.get_content_disposition() or "",
                  "filename": part.get_filename() or "", "encoding": part.get("Content-Transfer-Encoding", ""),
                  "charset": part.get_content_charset() or "", "longestLine": max([len(l) for l in raw] or [0]),
                  "base64": base64.b64encode(part.get_payload(decode=True)).decode()})
# That parser puts a blank between the encoded words of a name, which the older decoder rightly does not.
old = email.message_from_bytes(data)
unfolded = lambda name: re.sub(r"\r\n([ \t])", r"\1", old[name] or "")
decoded = lambda text: str(email.header.make_header(email.header.decode_header(text)))
name, address = email.utils.parseaddr(unfolded("To"))
lines = data.split(b"\r\n")
print(json.dumps({
        "headers":
        {
        k: str(v) for k, v in mail.items()
        }, "type": mail.get_content_type(),
                  "subject": decoded(unfolded("Subject")), "toName": decoded(name), "toAddress": address,
                  "defects": defects, "parts": parts, "longestLine": max(len(l) for l in lines),
                  "bareLineEnds": sum(l.count(b"\n") + l.count(b"\r") for l in lines)}))
)py";
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"), {"-c", kScript});
    python.write(data);
    python.closeWriteChannel();
    REQUIRE(python.waitForFinished());
    INFO(python.readAllStandardError().toStdString());
    REQUIRE(python.exitCode() == 0);
    return QJsonDocument::fromJson(python.readAllStandardOutput()).object();
}

QJsonObject part(const QJsonObject& mail, int index)
{
    return mail.value("parts").toArray().at(index).toObject();
}

QByteArray partBytes(const QJsonObject& mail, int index)
{
    return QByteArray::fromBase64(part(mail, index).value("base64").toString().toLatin1());
}

OutboxMessage messageOf(const Outbox& outbox, qint64 id)
{
    const auto messages = outbox.messages().value();
    const auto found = std::find_if(messages.begin(), messages.end(), [id](const auto& message) { return message.id == id; });
    REQUIRE(found != messages.end());
    return *found;
}

void MailBench::open()
{
    service.reset();
    QString error;
    service = OutboxService::open(settings, outboxPath(), error, [this] {
        ++timesAsked;
        return nowMs.load();
    });
    INFO(error.toStdString());
    REQUIRE(service);
}

Tavola::EmailMessage MailBench::message(const QString& text, const QString& address)
{
    Tavola::EmailMessage result = service->createMessage();
    result.setContent(text);
    result.addRecipient({address, QStringLiteral("Ann")}, Tavola::EmailMessage::To);
    return result;
}

MailBench::Status MailBench::outcome(folly::Future<Status> future)
{
    REQUIRE(TestSupport::pumpUntil([&future] { return future.isReady(); }, 30000));
    return future.value();
}

MailBench::Status MailBench::send(const Tavola::EmailMessage& message)
{
    return outcome(service->send(message));
}

void MailBench::attach(Tavola::EmailMessage& message, const QString& path, const QString& name) const
{
    auto file = std::make_unique<QFile>(path);
    REQUIRE(file->open(QIODevice::ReadOnly));
    message.addAttachment(name, std::move(file), QStringLiteral("application/octet-stream"));
}

void MailBench::pass(double seconds)
{
    nowMs += qint64(seconds * 1000.0);
    service->wake();
}

bool MailBench::hasMails(std::size_t count) const
{
    return TestSupport::pumpUntil([&] { return server.mails().size() >= count; }, 20000);
}

bool MailBench::reports(const char* key, int number) const
{
    return TestSupport::pumpUntil([&] { return service->state().value(QLatin1String(key)).toInt() == number; }, 20000);
}

bool MailBench::becomesEmpty() const
{
    return TestSupport::pumpUntil([&] { return kept().empty() && files() == 0; }, 20000);
}

bool MailBench::logs(const std::string& start)
{
    return TestSupport::pumpUntil(
        [&start] {
            const auto lines = TestSupport::loggedLines();
            return std::any_of(lines.begin(), lines.end(), [&start](const auto& line) { return line.text.rfind(start, 0) == 0; });
        },
        20000);
}

std::vector<OutboxMessage> MailBench::kept() const
{
    QString error;
    const auto outbox = Outbox::open(outboxPath(), error);
    REQUIRE(outbox);
    return outbox->messages().value();
}

int MailBench::files() const
{
    return QDir(outboxPath() + QStringLiteral("/files")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size();
}

void expectDelay(int id, const std::string& words, const std::string& pause)
{
    TestSupport::expectWarning("OutboxService # Message " + std::to_string(id) + " to ann@example.org is not delivered yet ("
                               + words + "); the next attempt is in " + pause + " s");
}

void expectRefusal(int id, const std::string& words)
{
    TestSupport::expectWarning("OutboxService # Message " + std::to_string(id) + " to ann@example.org was refused (" + words
                               + "); it stays in the outbox as failed");
}
