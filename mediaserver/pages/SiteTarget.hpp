#pragma once

#include <Http/Message.hpp>

#include <QString>
#include <QStringList>

#include <optional>

namespace MediaServer
{

struct PageTexts;

/// What a request of the visitors' door is for, as its address says it. A plain record.
struct SiteTarget
{
    const PageTexts* texts; ///< of the language in which it is answered; never null
    QString suffix;         ///< "?lang=de" where the address has one
    QStringList parts;      ///< of the path, which begins with an empty one

    /// `language`: of a visitor whose browser names none that pages have.
    [[nodiscard]] static SiteTarget of(const Http::Request& request, const QByteArray& language);

    [[nodiscard]] bool isHealth() const { return parts.size() == 2 && parts[1] == QLatin1String("health"); }
    /// Something of a person's page, if the token is one.
    [[nodiscard]] bool isPersonal() const;
    [[nodiscard]] const QString& token() const { return parts[2]; }
    /// What follows the token.
    [[nodiscard]] QStringList rest() const { return parts.mid(3); }
};

/// The number in an address. One address for each file: only "7", not "07" or "+7".
[[nodiscard]] std::optional<qint64> numberIn(const QString& text);

}
