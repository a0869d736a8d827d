#include "SmtpTranscript.hpp"

#include "MailText.hpp"

namespace Host
{
namespace
{
constexpr int kLongestWords = 500;
}

void SmtpTranscript::commandSent(const QByteArray& line)
{
    m_hasQuit = m_hasQuit || line.left(4).toUpper() == "QUIT";
    if (m_hasQuit)
        return;
    m_last = {};
    m_coming = {};
    m_isRecipient = line.left(8).toUpper() == "RCPT TO:";
    if (m_isRecipient)
        m_recipients.emplace_back();
}

void SmtpTranscript::dataSent()
{
    m_last = {};
    m_coming = {};
    m_isRecipient = false;
}

void SmtpTranscript::lineReceived(const QByteArray& line)
{
    const QByteArray code = line.left(3);
    bool isNumber = false;
    const int number = code.toInt(&isNumber);
    if (m_hasQuit || !isNumber || number < 200 || number > 599)
        return;
    const QString text = MailText::oneLine(QString::fromUtf8(line.mid(4)));
    if (m_coming.code == 0)
        m_coming = {number, QString::number(number)};
    if (!text.isEmpty() && m_coming.words.size() < kLongestWords)
        m_coming.words += QLatin1Char(' ') + text.left(kLongestWords);
    if (line.size() > 3 && line.at(3) == '-')
        return;
    m_last = m_coming;
    m_coming = {};
    if (m_isRecipient)
        m_recipients.back() = m_last;
}
}
