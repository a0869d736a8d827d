#pragma once

#include <QByteArray>
#include <QString>

namespace Http
{
struct Request;
}

namespace MediaServer
{

/// Decides whether a form was sent from a visitor's own page. Each form has a key that only the page of that address can show,
/// and the browser has to say that the form comes from this site. A key is good as long as the server runs. A value; any thread.
class FormKeys
{
public:
    /// `publicUrl`: where visitors reach their pages.
    explicit FormKeys(const QString& publicUrl);

    /// The key of the form that does `action` on the page of `token`: 64 hexadecimal digits.
    [[nodiscard]] QByteArray key(const QString& token, const QString& action) const;

    /// Whether the request is that form, sent from a page of this site.
    [[nodiscard]] bool accepts(const Http::Request& request, const QString& token, const QString& action) const;

private:
    [[nodiscard]] bool isOwnSite(const Http::Request& request) const;

    QByteArray m_origin;
    QByteArray m_secret;
};

}
