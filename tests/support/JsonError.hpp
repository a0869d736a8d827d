#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

#include <string>

namespace TestSupport
{
/// What Qt says is wrong with `json`, in the words of the version that is installed; empty when nothing is.
inline std::string jsonError(const QByteArray& json)
{
    QJsonParseError error;
    (void)QJsonDocument::fromJson(json, &error);
    return error.error == QJsonParseError::NoError ? std::string() : error.errorString().toStdString();
}
}
