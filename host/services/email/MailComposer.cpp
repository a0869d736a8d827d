#include "MailComposer.hpp"

#include "MailLibrary.hpp"
#include "MailText.hpp"

#include <QFileDevice>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Host
{
namespace
{
using MailComposer::Fault;
using MailComposer::Letter;
using Tavola::EmailMessage;

struct Unref
{
    void operator()(void* object) const { gmime().g_object_unref(object); }
};
/// A GObject, of which one reference is held.
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/// Gives GMime the bytes of a device, which outlives it, once.
struct DeviceStream
{
    GMimeStream base;
    QIODevice* device;
    QString* fault; ///< why the device cannot be read
    bool isAtEnd;

    static Owned<GMimeStream> make(QIODevice& device, QString& fault)
    {
        static const GType type = gmime().g_type_register_static_simple(gmime().g_mime_stream_get_type(), "TavolaDeviceStream",
                                                                        sizeof(GMimeStreamClass), initialiseClass,
                                                                        sizeof(DeviceStream), nullptr, GTypeFlags(0));
        auto* stream = static_cast<DeviceStream*>(gmime().g_object_new(type, nullptr));
        gmime().g_mime_stream_construct(&stream->base, 0, -1);
        stream->device = &device;
        stream->fault = &fault;
        return Owned<GMimeStream>(&stream->base);
    }
    static void initialiseClass(gpointer functions, gpointer)
    {
        auto& stream = *static_cast<GMimeStreamClass*>(functions);
        stream.read = [](GMimeStream* base, char* target, std::size_t size) -> ssize_t {
            auto& from = *reinterpret_cast<DeviceStream*>(base);
            const qint64 got = from.device->read(target, qint64(size));
            from.isAtEnd = got == 0 || (got < 0 && from.device->atEnd());
            if (got < 0 && !from.isAtEnd)
                *from.fault = from.device->errorString();
            return from.isAtEnd ? 0 : ssize_t(got);
        };
        stream.eos = [](GMimeStream* base) -> gboolean { return reinterpret_cast<DeviceStream*>(base)->isAtEnd; };
        stream.reset = [](GMimeStream*) { return 0; }; // the device stands at its beginning
    }
};

/// Goes to the beginning of a device whose reading takes no longer than a disk takes. Returns why that cannot be, or nothing.
QString rewind(QIODevice& device)
{
    const auto* file = qobject_cast<QFileDevice*>(&device);
    struct stat status;
    if (!device.isReadable())
        return QStringLiteral("it is not open for reading");
    if (device.isSequential()
        || (file && file->handle() >= 0 && (::fstat(file->handle(), &status) != 0 || !S_ISREG(status.st_mode))))
        return QStringLiteral("it is no ordinary file");
    return device.seek(0) ? QString() : device.errorString();
}

/// The text for a header, which GMime folds and quotes. Encoded words are made here: GMime's exceed the 75 characters that are
/// allowed where a text has no blanks, and it takes a text that looks like an encoded word for one.
QByteArray headerText(const QString& text)
{
    static const QRegularExpression plain(QStringLiteral("\\A(?!.*=\\?)(?:[!-~]{0,39}(?: |\\z))*\\z"));
    constexpr int kWordBytes = 39;
    const QString line = MailText::oneLine(text);
    if (plain.match(line).hasMatch())
        return line.toLatin1();
    // As few as possible: some readers show a blank between two.
    QList<QByteArray> words{QByteArray()};
    for (const uint letter : line.toUcs4()) {
        const QByteArray bytes = QString::fromUcs4(&letter, 1).toUtf8();
        if (words.last().size() + bytes.size() > kWordBytes)
            words << QByteArray();
        words.last() += bytes;
    }
    for (QByteArray& word : words)
        word = "=?UTF-8?B?" + word.toBase64() + "?=";
    return words.join(' ');
}

void addHeader(GMimeMessage* mail, const Letter& letter)
{
    const std::unique_ptr<GDateTime, void (*)(GDateTime*)> date(gmime().g_date_time_new_from_unix_utc(letter.createdMs / 1000),
                                                                gmime().g_date_time_unref);
    gmime().g_mime_message_set_date(mail, date.get());
    gmime().g_mime_object_set_header(GMIME_OBJECT(mail), "Message-ID", letter.messageId.toLatin1().constData(), nullptr);
    const auto add = [mail](GMimeAddressType type, const Tavola::EmailAddress& mailbox) {
        const QByteArray name = headerText(mailbox.name);
        const QByteArray address = MailText::plainAddress(mailbox.address);
        gmime().g_mime_message_add_mailbox(mail, type, name.isEmpty() ? nullptr : name.data(), address.data());
    };
    add(GMIME_ADDRESS_TYPE_FROM, letter.sender);
    for (const auto& recipient : letter.recipients)
        if (recipient.type != EmailMessage::Bcc)
            add(recipient.type == EmailMessage::To ? GMIME_ADDRESS_TYPE_TO : GMIME_ADDRESS_TYPE_CC, recipient.address);
    InternetAddressList* const to = gmime().g_mime_message_get_to(mail);
    if (gmime().internet_address_list_length(to) == 0)
        gmime().internet_address_list_add(
            to, Owned<InternetAddress>(gmime().internet_address_group_new("undisclosed-recipients")).get());
    gmime().g_mime_message_set_subject(mail, headerText(letter.subject).constData(), "utf-8");
    gmime().g_mime_object_set_header(GMIME_OBJECT(mail), "Auto-Submitted", "auto-generated", nullptr);
}

Owned<GMimePart> newPart(const QByteArray& type, const QByteArray& subtype, const Owned<GMimeStream>& bytes)
{
    Owned<GMimePart> part(gmime().g_mime_part_new_with_type(type.constData(), subtype.constData()));
    const Owned<GMimeDataWrapper> content(
        gmime().g_mime_data_wrapper_new_with_stream(bytes.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    gmime().g_mime_part_set_content(part.get(), content.get());
    gmime().g_mime_part_set_content_encoding(part.get(), GMIME_CONTENT_ENCODING_BASE64);
    return part;
}

void addText(GMimeMultipart* parent, QString text, const char* subtype)
{
    static const QRegularExpression lineEnd(QStringLiteral("\r\n|\r|\n"));
    const QByteArray lines = text.replace(lineEnd, QStringLiteral("\r\n")).toUtf8();
    const Owned<GMimeStream> bytes(gmime().g_mime_stream_mem_new_with_buffer(lines.constData(), std::size_t(lines.size())));
    const auto part = newPart("text", subtype, bytes);
    gmime().g_mime_object_set_content_type_parameter(GMIME_OBJECT(part.get()), "charset", "utf-8");
    gmime().g_mime_multipart_add(parent, GMIME_OBJECT(part.get()));
}

void addFile(GMimeMultipart* parent, const EmailMessage::Attachment& attachment, QString& fault)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?!multipart/|message/)([a-zA-Z0-9!#$&^_.+-]{1,60})/([a-zA-Z0-9!#$&^_.+-]{1,60})\\z"));
    const auto given = form.match(attachment.mimeType);
    const auto type = given.hasMatch() ? given : form.match(QStringLiteral("application/octet-stream"));
    const auto part =
        newPart(type.captured(1).toLatin1(), type.captured(2).toLatin1(), DeviceStream::make(*attachment.device, fault));
    gmime().g_mime_part_set_filename(part.get(), MailText::oneLine(attachment.fileName).toUtf8().constData());
    gmime().g_mime_multipart_add(parent, GMIME_OBJECT(part.get()));
}

void addBody(GMimeMultipart* mixed, const Letter& letter)
{
    if (letter.html.isEmpty())
        return addText(mixed, letter.text, "plain");
    const Owned<GMimeMultipart> alternative(gmime().g_mime_multipart_new_with_subtype("alternative"));
    addText(alternative.get(), letter.text, "plain");
    addText(alternative.get(), letter.html, "html");
    gmime().g_mime_multipart_add(mixed, GMIME_OBJECT(alternative.get()));
}

/// Writes the new file, durably; returns 0 or the system's error number.
int write(GMimeMessage* mail, const QString& path)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return errno;
    const Owned<GMimeStream> target(gmime().g_mime_stream_fs_new(file)); // closes the file
    const std::unique_ptr<GMimeFormatOptions, void (*)(GMimeFormatOptions*)> format(gmime().g_mime_format_options_new(),
                                                                                    gmime().g_mime_format_options_free);
    gmime().g_mime_format_options_set_newline_format(format.get(), GMIME_NEWLINE_FORMAT_DOS);
    errno = 0;
    if (gmime().g_mime_object_write_to_stream(GMIME_OBJECT(mail), format.get(), target.get()) < 0)
        return errno != 0 ? errno : EIO;
    const int folder = ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isOnDisk = ::fsync(file) == 0 && ::fsync(folder) == 0;
    const int fault = errno;
    ::close(folder);
    return isOnDisk ? 0 : fault;
}

/// Of the first attachment with a fault, if there is one.
std::optional<Fault> firstOf(const std::vector<QString>& faults)
{
    const auto found = std::find_if_not(faults.begin(), faults.end(), [](const QString& fault) { return fault.isEmpty(); });
    return found == faults.end() ? std::nullopt : std::optional(Fault{*found, std::size_t(found - faults.begin())});
}
}

tl::expected<qint64, Fault> MailComposer::compose(const Letter& letter, const QString& path)
{
    const Owned<GMimeMessage> mail(gmime().g_mime_message_new(FALSE));
    addHeader(mail.get(), letter);
    const Owned<GMimeMultipart> mixed(gmime().g_mime_multipart_new_with_subtype("mixed"));
    addBody(mixed.get(), letter);
    std::vector<QString> faults(letter.attachments.size());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        faults[i] = rewind(*letter.attachments[i].device);
        addFile(mixed.get(), letter.attachments[i], faults[i]);
    }
    gmime().g_mime_message_set_mime_part(mail.get(), GMIME_OBJECT(mixed.get()));

    if (const auto unreadable = firstOf(faults))
        return tl::make_unexpected(*unreadable);
    const int error = write(mail.get(), path);
    if (error == 0)
        return QFileInfo(path).size();
    if (error != EEXIST)
        ::unlink(QFile::encodeName(path).constData());
    const Fault ofDisk{QString::fromLocal8Bit(std::strerror(error)), std::nullopt};
    return tl::make_unexpected(firstOf(faults).value_or(ofDisk));
}
}
