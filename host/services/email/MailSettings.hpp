#pragma once

#include "LetterTemplate.hpp"

#include <Tavola/EmailAddress.hpp>

#include <QString>

#include <functional>
#include <optional>

class QJsonObject;

namespace Host
{
/// How a table sends e-mail: an entry of "services.email-service" in presentation.json. A plain record, without the password.
struct MailSettings
{
    /// Encryption of an smtp:// connection; smtps:// is encrypted from the first byte on.
    enum class StartTls {
        Required,
        IfOffered, ///< a password is still never sent unencrypted
        Never      ///< with a password only for a server on this machine
    };

    QString name;
    QString server; ///< "smtp://mail.example.org:587" or "smtps://mail.example.org"
    StartTls startTls = StartTls::Required;
    QString caFile;          ///< absolute path of trusted certificates; empty: the system's
    QString credentialsFile; ///< absolute path; empty: TAVOLA_SMTP_USER and TAVOLA_SMTP_PASSWORD, if set
    Tavola::EmailAddress sender;
    TextInLanguages subject = QStringLiteral("What you collected");
    QString textTemplate; ///< may have sections, see LetterTemplate
    QString htmlTemplate; ///< the same; empty: messages are plain text
    QString folder;       ///< of the presentation
    QString filesAddress; ///< the web address of the presentation's files; ends with a slash; may be empty
    /// Stand above the names of files that are not attached.
    TextInLanguages largeFilesText = QStringLiteral("These files are too large for an e-mail:");
    TextInLanguages missingFilesText = QStringLiteral("These files could not be read and are missing:");
    qint64 attachmentLimitBytes = 10'000'000; ///< all files of one message together
    double connectTimeoutSeconds = 10.0;
    double timeoutSeconds = 300.0; ///< one attempt from beginning to end
    double answerSeconds = 15.0;   ///< the longest wait for the first attempt; then a message that is kept counts as success
    double retrySeconds = 60.0;    ///< before the second attempt; doubled with each further one, up to an hour
    double giveUpHours = 120.0;
    int mostMessages = 2000;           ///< in the outbox, whatever their state; a message beyond that is refused
    qint64 mostBytes = 20'000'000'000; ///< of their finished files, together
    double deleteRefusedDays = 0.0;    ///< after which a failed message is deleted; 0: never

    /// Reports what is wrong: the key inside the entry and the reason.
    using Report = std::function<void(const QString& key, const QString& why)>;

    /// Reads an entry and the files it names. Nothing when it has no usable server or sender; any other fault costs that key.
    /// Blocks while files are read.
    [[nodiscard]] static std::optional<MailSettings> read(const QJsonObject& entry, const QString& folder, const Report& report);
    /// Whether a text is the address of a mail server, with a host.
    [[nodiscard]] static bool isMailServer(const QString& text);
    /// Whether the connection crosses a network unencrypted, whatever the server offers.
    [[nodiscard]] bool isOpenToListeners() const;
};

/// The table's login at the mail server. Never logged.
struct MailCredentials
{
    QString user; ///< empty: no login
    QString password;

    /// From the file's first two lines, user and password; without a file name from the environment. Nothing, with the reason
    /// in `error`, when the file cannot be read, or when its permissions let other users read or change it.
    [[nodiscard]] static std::optional<MailCredentials> load(const QString& fileName, QString& error);
};
}
