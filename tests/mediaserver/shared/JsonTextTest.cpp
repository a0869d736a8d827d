#include "shared/JsonText.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

using namespace MediaServer;

TEST_CASE("JSON text: members stand in the order in which they were added, without blanks")
{
    CHECK(JsonText().end() == "{}");
    CHECK(JsonText().addFlag("success", true).end() == R"({"success":true})");
    CHECK(JsonText().addText("error", QStringLiteral("no room")).addFlag("success", false).addNumber("left", -3).end()
          == R"({"error":"no room","success":false,"left":-3})");
    CHECK(JsonText().addNumber("most", std::numeric_limits<qint64>::max()).end() == R"({"most":9223372036854775807})");
    CHECK(JsonText().addText("a", QString()).addText("b", QString()).end() == R"({"a":"","b":""})");
}

TEST_CASE("JSON text: every character of a text comes back, and escapes are those of Qt's writer")
{
    QString all;
    for (ushort c = 0; c < 0x180; ++c)
        all += QChar(c);
    all += QString::fromUtf8("\u20ac \U0001F6A2 \u2028");
    // Alone, at the beginning, at the end and twice in a row.
    QStringList texts{all, all + all.left(3), QStringLiteral("\"\""), QStringLiteral("a\\"), QStringLiteral("\n")};
    for (const QString& text : texts) {
        CAPTURE(text.toStdString());
        const QByteArray json = JsonText().addText("x", text).end();
        CHECK(QJsonDocument::fromJson(json).object().value(QLatin1String("x")).toString() == text);
        CHECK(json == QJsonDocument(QJsonObject{{QStringLiteral("x"), text}}).toJson(QJsonDocument::Compact));
    }
}
