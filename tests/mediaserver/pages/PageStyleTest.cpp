#include "pages/PageStyle.hpp"

#include <doctest/doctest.h>

#include <QByteArray>
#include <QRegularExpression>
#include <QSet>
#include <QString>

using MediaServer::kPageStyle;

TEST_CASE("page style: it can be part of a page, loads nothing and closes every block")
{
    const QByteArray style(kPageStyle);
    CHECK_FALSE(style.contains("</"));
    CHECK_FALSE(style.contains("url("));
    CHECK_FALSE(style.contains("@import"));
    CHECK(style.count('{') > 10);
    CHECK(style.count('{') == style.count('}'));
}

TEST_CASE("page style: every variable that is used is defined, and every colour also for a dark screen")
{
    const QString style = QString::fromUtf8(kPageStyle);
    const auto names = [&style](const char* pattern, int end) {
        QSet<QString> found;
        auto matches = QRegularExpression(QLatin1String(pattern)).globalMatch(style.left(end));
        while (matches.hasNext())
            found.insert(matches.next().captured(1));
        return found;
    };
    const QSet<QString> defined = names("--([a-z-]+):", style.size());
    for (const QString& used : names("var\\(--([a-z-]+)", style.size()))
        CHECK_MESSAGE(defined.contains(used), used.toStdString());

    const int dark = style.indexOf(QLatin1String("prefers-color-scheme: dark"));
    REQUIRE(dark > 0);
    for (const QString& colour : names("--([a-z-]+): #", dark))
        CHECK_MESSAGE(style.indexOf(QStringLiteral("--%1: #").arg(colour), dark) > dark, colour.toStdString());
}
