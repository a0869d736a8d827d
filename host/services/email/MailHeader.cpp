#include "MailHeader.hpp"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace Host
{
namespace
{
constexpr int kLongestPlain = 60;
/// What an encoded word may hold so that it stays within 75 characters.
constexpr int kEncodedWordBytes = 45;
/// Bytes of one piece of a parameter: each may become three characters.
constexpr int kParameterBytes = 20;

bool isPlain(const QByteArray& utf8)
{
    return std::all_of(utf8.begin(), utf8.end(), [](char c) { return c >= ' ' && c < 0x7f; });
}

/// The length of the longest beginning of `utf8` from `from` on that has at most `most` bytes and ends between characters.
int wholeCharacters(const QByteArray& utf8, int from, int most)
{
    int end = std::min(from + most, utf8.size());
    while (end < utf8.size() && end > from && (uchar(utf8.at(end)) & 0xC0) == 0x80)
        --end;
    return end - from;
}

QByteArray encodedWords(const QByteArray& utf8)
{
    QByteArray result;
    for (int at = 0; at < utf8.size();) {
        const int length = wholeCharacters(utf8, at, kEncodedWordBytes);
        if (!result.isEmpty())
            result += "\r\n ";
        result += "=?UTF-8?B?" + utf8.mid(at, length).toBase64() + "?=";
        at += length;
    }
    return result;
}

QByteArray quoted(const QByteArray& plain)
{
    QByteArray result("\"");
    for (const char c : plain) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}
}

namespace MailHeader
{
bool isMailAddress(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A[^\\s\\p{C}\\p{Z}<>()\\[\\],;:\\\\\"@]{1,64}@(?![.-])[\\p{L}\\p{M}\\p{N}.-]{1,253}(?<![.-])\\z"),
        QRegularExpression::UseUnicodePropertiesOption);
    return form.match(text).hasMatch() && !text.contains(QLatin1String("..")) && !text.startsWith(QLatin1Char('.'))
        && !text.contains(QLatin1String(".@"));
}

QByteArray plainAddress(const QString& address)
{
    const int at = address.lastIndexOf(QLatin1Char('@'));
    const QByteArray domain = QUrl::toAce(address.mid(at + 1));
    return domain.isEmpty() ? address.toUtf8() : address.left(at + 1).toUtf8() + domain;
}

QString oneLine(const QString& text)
{
    QString result;
    result.reserve(text.size());
    bool isGap = false;
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator) {
            isGap = true;
            continue;
        }
        if (isGap && !result.isEmpty())
            result += QLatin1Char(' ');
        isGap = false;
        result += c;
    }
    return result.trimmed();
}

QByteArray text(const QString& text)
{
    const QByteArray utf8 = oneLine(text).toUtf8();
    return isPlain(utf8) && utf8.size() <= kLongestPlain && !utf8.contains("=?") ? utf8 : encodedWords(utf8);
}

QByteArray mailbox(const Tavola::EmailAddress& address)
{
    const QByteArray plain = plainAddress(address.address);
    const QByteArray name = oneLine(address.name).toUtf8();
    if (name.isEmpty())
        return plain;
    const bool asItIs = isPlain(name) && name.size() <= kLongestPlain && !name.contains("=?");
    return (asItIs ? quoted(name) : encodedWords(name)) + "\r\n <" + plain + '>';
}

QByteArray parameter(const QByteArray& name, const QString& value)
{
    const QByteArray utf8 = oneLine(value).toUtf8();
    if (isPlain(utf8) && utf8.size() <= kLongestPlain)
        return ";\r\n " + name + '=' + quoted(utf8);
    QByteArray result;
    int piece = 0;
    for (int at = 0; at < utf8.size(); ++piece) {
        const int length = wholeCharacters(utf8, at, kParameterBytes);
        result += ";\r\n " + name + '*' + QByteArray::number(piece) + "*=" + (piece == 0 ? "UTF-8''" : "")
            + utf8.mid(at, length).toPercentEncoding();
        at += length;
    }
    return result;
}

QByteArray date(const QDateTime& time)
{
    const QDateTime utc = time.toUTC();
    return QLocale::c().toString(utc, QStringLiteral("ddd, dd MMM yyyy hh:mm:ss")).toLatin1() + " +0000";
}

QByteArray mimeType(const QString& type)
{
    static const QRegularExpression form(QStringLiteral("\\A[a-zA-Z0-9!#$&^_.+-]{1,60}/[a-zA-Z0-9!#$&^_.+-]{1,60}\\z"));
    return form.match(type).hasMatch() ? type.toLatin1() : QByteArrayLiteral("application/octet-stream");
}
}
}
