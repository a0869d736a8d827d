#pragma once

#include <QByteArray>
#include <QString>

namespace MediaServer
{

/// Writes a JSON object member by member, as UTF-8 without blanks. For the answers to tables, of which there is one for each card
/// that is put down: QJsonObject sorts and copies what is only written once here. A value; any thread.
///
///     JsonText().addFlag("success", false).addText("error", reason).end()
class JsonText
{
public:
    /// `name`: ASCII that needs no escapes, other than those before.
    JsonText& addText(const char* name, const QString& text);
    JsonText& addNumber(const char* name, qint64 number);
    JsonText& addFlag(const char* name, bool flag);

    /// The whole object. Nothing can be added afterwards.
    [[nodiscard]] QByteArray end();

private:
    void begin(const char* name);

    QByteArray m_json;
};

} // namespace MediaServer
