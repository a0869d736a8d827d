#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace Host::MediaServerAnswer
{
/// Of the address of a visitor's page, in characters.
constexpr int kLongestPageAddress = 2000;

/// The JSON object of an answer that came whole, with this HTTP status. A JSON object that comes with an error status is an
/// answer like any other, unless it reports a success. Nothing, with what is wrong in `wrong` ("sent no JSON object"), for
/// anything else, and for a page address ("userpageurl") that is no http or https address or too long. Calls rememberPages().
/// Any thread.
[[nodiscard]] std::optional<QJsonObject> read(int status, const QByteArray& body, QString& wrong);

/// Has the addresses of the page and its QR picture shortened from the path on in lines that leave the program: they open the
/// page to any reader. Any thread.
void rememberPages(const QJsonObject& answer);
}
