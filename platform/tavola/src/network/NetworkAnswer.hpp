#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

namespace Tavola
{
/// What came of a network request. A plain record.
struct NetworkAnswer
{
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorText;
    QUrl url;
    int status = 0; ///< of HTTP; 0 without one
    QString reason;
    QUrl redirection; ///< empty without one
    QList<QNetworkReply::RawHeaderPair> headers;
    QByteArray body;

    [[nodiscard]] QByteArray toBytes() const;
    /// Of damaged bytes: an error.
    [[nodiscard]] static NetworkAnswer fromBytes(const QByteArray& bytes);
};
}
