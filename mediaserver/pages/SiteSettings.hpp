#pragma once

#include "shared/Result.hpp"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace MediaServer
{

/// How a venue presents itself on its visitors' pages: the "page" object of its presentation.json, or of a JSON file of its own.
///
///     "page": {"museum": "Lake Museum", "greeting": {"en": "Thank you for your visit", "de": "Danke für Ihren Besuch"},
///              "imprint": "https://lake.example/imprint", "privacy": "https://lake.example/privacy", "language": "en",
///              "logo": "media/logo.svg", "accent": "#8f3a1c", "accentDark": "#f0a27f", "keepDays": 30}
///
/// A plain record; everything may be missing.
struct SiteSettings
{
    QString museum;
    QMap<QByteArray, QString> greeting; ///< by language; "" is for all others
    QString imprint;                    ///< web address, encoded
    QString privacy;                    ///< web address, encoded
    QByteArray language = "en";         ///< for browsers that ask for none that pages have
    QString logo;                       ///< absolute path of a picture
    QByteArray accent;                  ///< "#rrggbb", for a light page; empty: the usual one
    QByteArray accentDark;              ///< for a dark page
    int keepDays = 0;                   ///< a page is removed so many days after the last item came; 0: never

    [[nodiscard]] QString greetingIn(const QByteArray& language) const;

    /// Fails with a sentence for the operator that names file and member: a venue must not learn from its visitors that its
    /// imprint is missing.
    [[nodiscard]] static Result<SiteSettings> read(const QString& file);
};

}
