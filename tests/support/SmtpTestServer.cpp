#include "SmtpTestServer.hpp"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace TestSupport
{
namespace
{
/// How long a thread waits before it looks whether the server ends.
constexpr int kLookMs = 50;
constexpr qint64 kBufferBytes = 256 * 1024;

QSslKey privateKey(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray pem = file.readAll();
    const QSslKey key(pem, QSsl::Ec);
    return key.isNull() ? QSslKey(pem, QSsl::Rsa) : key;
}

QByteArray mailbox(const QByteArray& line)
{
    const int from = line.indexOf('<');
    return line.mid(from + 1, line.indexOf('>', from) - from - 1);
}
}

SmtpTestServer::SmtpTestServer(Encryption encryption, const QString& certificate, const QString& key)
    : m_encryption(encryption), m_certificate(certificate), m_key(key)
{
    listen();
    m_acceptor = std::thread([this] { accept(); });
}

SmtpTestServer::~SmtpTestServer()
{
    m_isEnding = true;
    release();
    m_acceptor.join();
    for (std::thread& session : m_sessions)
        session.join();
    ::close(m_listener);
}

void SmtpTestServer::listen()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    if (m_listener < 0 || ::bind(m_listener, generic, length) != 0 || ::listen(m_listener, 16) != 0
        || ::getsockname(m_listener, generic, &length) != 0)
        throw std::runtime_error("the mail server of the test cannot listen");
    m_port = ntohs(address.sin_port);
}

QString SmtpTestServer::address() const
{
    return QStringLiteral("%1://127.0.0.1:%2")
        .arg(m_encryption == Encryption::Implicit ? QStringLiteral("smtps") : QStringLiteral("smtp"))
        .arg(m_port);
}

void SmtpTestServer::answer(const QByteArray& step, const QByteArray& lines)
{
    const std::lock_guard lock(m_mutex);
    m_answers[step] = lines;
}

void SmtpTestServer::closeAt(const QByteArray& step)
{
    const std::lock_guard lock(m_mutex);
    m_closing.insert(step);
}

void SmtpTestServer::fallSilentAt(const QByteArray& step)
{
    const std::lock_guard lock(m_mutex);
    m_silent.insert(step);
}

void SmtpTestServer::holdAt(const QByteArray& step)
{
    const std::lock_guard lock(m_mutex);
    m_holding.insert(step);
}

void SmtpTestServer::release()
{
    {
        const std::lock_guard lock(m_mutex);
        m_holding.clear();
    }
    m_released.notify_all();
}

void SmtpTestServer::forgive()
{
    {
        const std::lock_guard lock(m_mutex);
        m_answers.clear();
        m_closing.clear();
        m_silent.clear();
        m_holding.clear();
    }
    m_released.notify_all();
}

std::vector<SmtpTestServer::Mail> SmtpTestServer::mails() const
{
    const std::lock_guard lock(m_mutex);
    return m_mails;
}

std::vector<QByteArray> SmtpTestServer::steps() const
{
    const std::lock_guard lock(m_mutex);
    return m_steps;
}

void SmtpTestServer::accept()
{
    while (!m_isEnding) {
        pollfd waiting{m_listener, POLLIN, 0};
        if (::poll(&waiting, 1, kLookMs) <= 0)
            continue;
        const int descriptor = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            continue;
        ++m_connections;
        m_sessions.emplace_back([this, descriptor] { serve(descriptor); });
    }
}

void SmtpTestServer::serve(int descriptor)
{
    QSslSocket socket;
    if (!socket.setSocketDescriptor(descriptor)) {
        ::close(descriptor);
        return;
    }
    socket.setReadBufferSize(kBufferBytes);
    if (m_encryption != Encryption::None) {
        socket.setLocalCertificate(m_certificate);
        socket.setPrivateKey(privateKey(m_key));
    }
    if (m_encryption == Encryption::Implicit) {
        socket.startServerEncryption();
        if (!socket.waitForEncrypted())
            return;
    }
    converse(socket);
    if (socket.state() == QAbstractSocket::ConnectedState) {
        socket.disconnectFromHost();
        if (socket.state() != QAbstractSocket::UnconnectedState)
            socket.waitForDisconnected(1000);
    }
}

bool SmtpTestServer::waitForBytes(QSslSocket& socket)
{
    while (!m_isEnding) {
        if (socket.bytesAvailable() > 0 || socket.waitForReadyRead(kLookMs))
            return true;
        if (socket.state() != QAbstractSocket::ConnectedState)
            return false;
    }
    return false;
}

bool SmtpTestServer::readLine(QSslSocket& socket, QByteArray& line)
{
    while (!socket.canReadLine()) {
        const qint64 before = socket.bytesAvailable();
        if (m_isEnding || (socket.state() != QAbstractSocket::ConnectedState && before == 0))
            return false;
        if (!socket.waitForReadyRead(kLookMs) && socket.state() != QAbstractSocket::ConnectedState && !socket.canReadLine())
            return false;
    }
    line = socket.readLine().trimmed();
    return true;
}

SmtpTestServer::Next SmtpTestServer::step(QSslSocket& socket, const QByteArray& name, const QByteArray& friendly, bool* isRefused,
                                          const Mail* mail)
{
    std::unique_lock lock(m_mutex);
    m_steps.push_back(name);
    const QByteArray command = name.left(name.indexOf(' ') < 0 ? name.size() : name.indexOf(' '));
    const auto isIn = [&](const std::set<QByteArray>& names) { return names.count(name) != 0 || names.count(command) != 0; };
    if (isIn(m_holding)) {
        ++m_held;
        m_released.wait(lock, [&] { return m_isEnding || !isIn(m_holding); });
        --m_held;
    }
    if (m_isEnding || isIn(m_closing))
        return Next::End;
    if (isIn(m_silent)) {
        lock.unlock();
        while (!m_isEnding && socket.state() == QAbstractSocket::ConnectedState) {
            socket.waitForReadyRead(kLookMs);
            socket.readAll();
        }
        return Next::End;
    }
    auto scripted = m_answers.find(name);
    if (scripted == m_answers.end())
        scripted = m_answers.find(command);
    const QByteArray answer = scripted == m_answers.end() ? friendly : scripted->second;
    const bool refuses = answer.startsWith('4') || answer.startsWith('5');
    if (mail && !refuses)
        m_mails.push_back(*mail); // before the other side can have heard of it
    lock.unlock();
    if (isRefused)
        *isRefused = refuses;
    socket.write(answer + "\r\n");
    return socket.waitForBytesWritten() ? Next::GoOn : Next::End;
}

void SmtpTestServer::converse(QSslSocket& socket)
{
    if (step(socket, "CONNECT", "220 test.example ESMTP") == Next::End)
        return;
    Mail mail;
    QByteArray line;
    while (readLine(socket, line))
        if (command(socket, line, mail) == Next::End)
            return;
}

SmtpTestServer::Next SmtpTestServer::command(QSslSocket& socket, const QByteArray& line, Mail& mail)
{
    const QByteArray verb = line.left(4).toUpper();
    bool isRefused = false;
    if (verb == "EHLO") {
        const bool offersTls = m_encryption == Encryption::StartTls && !socket.isEncrypted();
        return step(socket, "EHLO",
                    QByteArray("250-test.example\r\n") + (offersTls ? "250-STARTTLS\r\n" : "")
                        + "250-AUTH PLAIN\r\n250-8BITMIME\r\n250 SMTPUTF8");
    }
    if (line.toUpper() == "STARTTLS") {
        if (step(socket, "STARTTLS", "220 go ahead", &isRefused) == Next::End)
            return Next::End;
        if (isRefused)
            return Next::GoOn;
        socket.startServerEncryption();
        return socket.waitForEncrypted() ? Next::GoOn : Next::End;
    }
    if (verb == "AUTH")
        return logIn(socket, line, mail);
    if (verb == "MAIL") {
        mail.sender = mailbox(line);
        mail.recipients.clear();
        mail.data.clear();
        mail.isEncrypted = socket.isEncrypted();
        return step(socket, "MAIL", "250 ok");
    }
    if (verb == "RCPT") {
        const Next next = step(socket, "RCPT " + mailbox(line), "250 ok", &isRefused);
        if (!isRefused)
            mail.recipients.push_back(mailbox(line));
        return next;
    }
    if (verb == "DATA") {
        if (step(socket, "DATA", "354 go ahead", &isRefused) == Next::End)
            return Next::End;
        if (isRefused)
            return Next::GoOn;
        if (!receiveBody(socket, mail))
            return Next::End;
        return step(socket, "BODY", "250 taken", &isRefused, &mail);
    }
    if (verb == "QUIT") {
        step(socket, "QUIT", "221 bye");
        return Next::End;
    }
    return step(socket, verb, "250 ok");
}

SmtpTestServer::Next SmtpTestServer::logIn(QSslSocket& socket, const QByteArray& line, Mail& mail)
{
    QByteArray secret = line.mid(int(qstrlen("AUTH PLAIN "))).trimmed();
    if (secret.isEmpty()) {
        socket.write("334 \r\n");
        if (!readLine(socket, secret))
            return Next::End;
    }
    const QList<QByteArray> parts = QByteArray::fromBase64(secret).split('\0');
    if (parts.size() == 3)
        mail.login = parts[1] + ' ' + parts[2];
    return step(socket, "AUTH", "235 welcome");
}

bool SmtpTestServer::receiveBody(QSslSocket& socket, Mail& mail)
{
    bool closes = false;
    {
        const std::lock_guard lock(m_mutex);
        closes = m_closing.count("BODY") != 0;
    }
    QByteArray tail("\r\n"); // the end of the data may come in pieces
    QByteArray data;
    QByteArray piece;
    while (!tail.endsWith("\r\n.\r\n")) {
        if (!waitForBytes(socket))
            return false;
        if (closes) {
            socket.abort();
            return false;
        }
        piece = socket.read(kBufferBytes);
        m_dataBytes += piece.size();
        tail = (tail + piece).right(5);
        if (m_keepsData)
            data += piece;
    }
    if (m_keepsData)
        mail.data = ("\r\n" + data).chopped(3).replace("\r\n..", "\r\n.").mid(2);
    return true;
}
}
