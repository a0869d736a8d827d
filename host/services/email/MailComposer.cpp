#include "MailComposer.hpp"

#include "MailText.hpp"

#include <QFileDevice>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <gmime/gmime.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Host
{
namespace
{
using MailComposer::Letter;
using MailComposer::Result;
using Tavola::EmailMessage;

struct Unref
{
    void operator()(void* object) const { g_object_unref(object); }
};
/// A GObject, of which one reference is held.
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

QString systemError(int number)
{
    return QString::fromLocal8Bit(std::strerror(number));
}

/// An attachment while it is read.
struct Source
{
    QIODevice* device = nullptr;
    bool isAtEnd = false;
    QString fault;
};

/// Gives GMime the bytes of a device. The source outlives it.
struct DeviceStream
{
    GMimeStream base;
    Source* source;

    static ssize_t read(GMimeStream* stream, char* target, std::size_t size)
    {
        Source& from = *reinterpret_cast<DeviceStream*>(stream)->source;
        const qint64 got = from.device->read(target, qint64(size));
        from.isAtEnd = got == 0 || (got < 0 && from.device->atEnd());
        if (got < 0 && !from.isAtEnd)
            from.fault = from.device->errorString();
        return from.isAtEnd ? 0 : ssize_t(got);
    }
    static gboolean isAtEnd(GMimeStream* stream) { return reinterpret_cast<DeviceStream*>(stream)->source->isAtEnd; }
    static int reset(GMimeStream*) { return 0; } // it stands at the beginning, and is read once
    static void initialiseClass(gpointer streamClass, gpointer)
    {
        auto* functions = static_cast<GMimeStreamClass*>(streamClass);
        functions->read = read;
        functions->eos = isAtEnd;
        functions->reset = reset;
    }
    static Owned<GMimeStream> make(Source& from)
    {
        static const GType type = g_type_register_static_simple(GMIME_TYPE_STREAM, "TavolaDeviceStream", sizeof(GMimeStreamClass),
                                                                initialiseClass, sizeof(DeviceStream), nullptr, GTypeFlags(0));
        auto* stream = static_cast<DeviceStream*>(g_object_new(type, nullptr));
        g_mime_stream_construct(&stream->base, 0, -1);
        stream->source = &from;
        return Owned<GMimeStream>(&stream->base);
    }
};

/// Whether reading takes no longer than a disk takes; `fault` says why not.
bool prepare(Source& source)
{
    const auto* file = qobject_cast<QFileDevice*>(source.device);
    struct stat status;
    if (!source.device->isReadable())
        source.fault = QStringLiteral("it is not open for reading");
    else if (source.device->isSequential()
             || (file && file->handle() >= 0 && (::fstat(file->handle(), &status) != 0 || !S_ISREG(status.st_mode))))
        source.fault = QStringLiteral("it is no ordinary file");
    else if (!source.device->seek(0))
        source.fault = source.device->errorString();
    return source.fault.isEmpty();
}

/// Bytes of one encoded word, which with the name of its header stays within a line.
constexpr int kWordBytes = 39;

bool isPlain(const QString& line)
{
    const QStringList words = line.split(QLatin1Char(' '));
    return !line.contains(QLatin1String("=?"))
        && std::all_of(line.begin(), line.end(), [](QChar c) { return c.unicode() < 0x7f; })
        && std::all_of(words.begin(), words.end(), [](const QString& word) { return word.size() <= kWordBytes; });
}

/// The text for a header, which GMime folds and quotes. Encoded words are made here: GMime's exceed the 75 characters that are
/// allowed where a text has no blanks, and it takes a text that looks like an encoded word for one.
QByteArray headerText(const QString& text)
{
    const QString line = MailText::oneLine(text);
    if (isPlain(line))
        return line.toLatin1();
    QList<QByteArray> words{QByteArray()};
    for (const uint character : line.toUcs4()) {
        const QByteArray bytes = QString::fromUcs4(&character, 1).toUtf8();
        if (words.last().size() + bytes.size() > kWordBytes)
            words << QByteArray();
        words.last() += bytes;
    }
    for (QByteArray& word : words)
        word = "=?UTF-8?B?" + word.toBase64() + "?=";
    return words.join(' ');
}

void add(InternetAddressList* list, const Tavola::EmailAddress& address)
{
    const QByteArray name = headerText(address.name);
    const Owned<InternetAddress> mailbox(internet_address_mailbox_new(name.isEmpty() ? nullptr : name.constData(),
                                                                      MailText::plainAddress(address.address).constData()));
    internet_address_set_charset(mailbox.get(), "utf-8");
    internet_address_list_add(list, mailbox.get());
}

void addHeader(GMimeMessage* mail, const Letter& letter)
{
    const std::unique_ptr<GDateTime, void (*)(GDateTime*)> date(g_date_time_new_from_unix_utc(letter.createdMs / 1000),
                                                                g_date_time_unref);
    g_mime_message_set_date(mail, date.get());
    g_mime_object_set_header(GMIME_OBJECT(mail), "Message-ID", letter.messageId.toLatin1().constData(), nullptr);
    add(g_mime_message_get_from(mail), letter.sender);
    InternetAddressList* to = g_mime_message_get_to(mail);
    for (const auto& recipient : letter.recipients)
        if (recipient.type != EmailMessage::Bcc)
            add(recipient.type == EmailMessage::To ? to : g_mime_message_get_cc(mail), recipient.address);
    if (internet_address_list_length(to) == 0)
        internet_address_list_add(to, Owned<InternetAddress>(internet_address_group_new("undisclosed-recipients")).get());
    g_mime_message_set_subject(mail, headerText(letter.subject).constData(), "utf-8");
    g_mime_object_set_header(GMIME_OBJECT(mail), "Auto-Submitted", "auto-generated", nullptr);
}

Owned<GMimePart> part(const char* type, const char* subtype, const Owned<GMimeStream>& bytes)
{
    Owned<GMimePart> result(g_mime_part_new_with_type(type, subtype));
    const Owned<GMimeDataWrapper> content(g_mime_data_wrapper_new_with_stream(bytes.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(result.get(), content.get());
    g_mime_part_set_content_encoding(result.get(), GMIME_CONTENT_ENCODING_BASE64);
    return result;
}

void addText(GMimeMultipart* parent, QString text, const char* subtype)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const QByteArray lines = text.replace(QLatin1Char('\n'), QLatin1String("\r\n")).toUtf8();
    const Owned<GMimeStream> bytes(g_mime_stream_mem_new_with_buffer(lines.constData(), std::size_t(lines.size())));
    const auto added = part("text", subtype, bytes);
    g_mime_object_set_content_type_parameter(GMIME_OBJECT(added.get()), "charset", "utf-8");
    g_mime_multipart_add(parent, GMIME_OBJECT(added.get()));
}

void addFile(GMimeMultipart* parent, const EmailMessage::Attachment& attachment, Source& source)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?!multipart/|message/)([a-zA-Z0-9!#$&^_.+-]{1,60})/([a-zA-Z0-9!#$&^_.+-]{1,60})\\z"));
    const auto type = form.match(attachment.mimeType);
    const auto added = type.hasMatch()
        ? part(type.captured(1).toLatin1().constData(), type.captured(2).toLatin1().constData(), DeviceStream::make(source))
        : part("application", "octet-stream", DeviceStream::make(source));
    auto* object = GMIME_OBJECT(added.get());
    g_mime_object_set_disposition(object, GMIME_DISPOSITION_ATTACHMENT);
    g_mime_object_set_content_disposition_parameter(object, "filename",
                                                    MailText::oneLine(attachment.fileName).toUtf8().constData());
    GMimeParamList* parameters = g_mime_content_disposition_get_parameters(g_mime_object_get_content_disposition(object));
    g_mime_param_set_charset(g_mime_param_list_get_parameter(parameters, "filename"), "utf-8");
    g_mime_multipart_add(parent, object);
}

void addBody(GMimeMultipart* mixed, const Letter& letter)
{
    if (letter.html.isEmpty())
        return addText(mixed, letter.text, "plain");
    const Owned<GMimeMultipart> alternative(g_mime_multipart_new_with_subtype("alternative"));
    addText(alternative.get(), letter.text, "plain");
    addText(alternative.get(), letter.html, "html");
    g_mime_multipart_add(mixed, GMIME_OBJECT(alternative.get()));
}

bool syncFolder(const QByteArray& path)
{
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isSynced = folder >= 0 && ::fsync(folder) == 0;
    if (folder >= 0)
        ::close(folder);
    return isSynced;
}

/// Writes the new file, durably; returns 0 or the system's error number.
int write(GMimeMessage* mail, const QString& path, qint64& sizeBytes)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return errno;
    const Owned<GMimeStream> target(g_mime_stream_fs_new(file)); // closes the file
    const std::unique_ptr<GMimeFormatOptions, void (*)(GMimeFormatOptions*)> format(g_mime_format_options_new(),
                                                                                    g_mime_format_options_free);
    g_mime_format_options_set_newline_format(format.get(), GMIME_NEWLINE_FORMAT_DOS);
    errno = 0;
    if (g_mime_object_write_to_stream(GMIME_OBJECT(mail), format.get(), target.get()) < 0)
        return errno != 0 ? errno : EIO;
    struct stat status;
    if (::fsync(file) != 0 || ::fstat(file, &status) != 0 || !syncFolder(QFile::encodeName(QFileInfo(path).path())))
        return errno;
    sizeBytes = status.st_size;
    return 0;
}
}

Result MailComposer::compose(const Letter& letter, const QString& path)
{
    static const bool isInitialised = (g_mime_init(), true);
    static_cast<void>(isInitialised);

    std::vector<Source> sources(letter.attachments.size());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources[i].device = letter.attachments[i].device.get();
        if (!prepare(sources[i]))
            return {Result::Kind::Unreadable, sources[i].fault, i, 0};
    }
    const Owned<GMimeMessage> mail(g_mime_message_new(FALSE));
    addHeader(mail.get(), letter);
    const Owned<GMimeMultipart> mixed(g_mime_multipart_new_with_subtype("mixed"));
    addBody(mixed.get(), letter);
    for (std::size_t i = 0; i < sources.size(); ++i)
        addFile(mixed.get(), letter.attachments[i], sources[i]);
    g_mime_message_set_mime_part(mail.get(), GMIME_OBJECT(mixed.get()));

    Result result;
    const int fault = write(mail.get(), path, result.sizeBytes);
    if (fault == 0)
        return result;
    if (fault != EEXIST)
        ::unlink(QFile::encodeName(path).constData());
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (!sources[i].fault.isEmpty())
            return {Result::Kind::Unreadable, sources[i].fault, i, 0};
    return {Result::Kind::DiskFault, systemError(fault), 0, 0};
}
}
