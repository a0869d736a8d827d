#include "pages/PageAddresses.hpp"
#include "pages/PageTexts.hpp"

#include <doctest/doctest.h>

using MediaServer::PageAddresses;

TEST_CASE("page addresses: a page lies below the public address, with or without its closing slash")
{
    struct Row
    {
        const char* publicUrl;
        const char* page;
    };
    const Row rows[] = {
        {"http://127.0.0.1:8090/", "http://127.0.0.1:8090/p/TOKEN"},
        {"http://127.0.0.1:8090", "http://127.0.0.1:8090/p/TOKEN"},
        {"https://museum.example/table", "https://museum.example/table/p/TOKEN"},
        {"https://museum.example/table/", "https://museum.example/table/p/TOKEN"},
        {"http://[::1]:8090/", "http://[::1]:8090/p/TOKEN"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.publicUrl);
        CHECK(PageAddresses(QLatin1String(row.publicUrl)).page(QStringLiteral("TOKEN")) == QLatin1String(row.page));
    }
}

TEST_CASE("page addresses: a page in a language says so, and so does its QR code")
{
    const PageAddresses addresses(QStringLiteral("https://museum.example"));
    const auto* const german = MediaServer::PageTexts::find("de");
    CHECK(addresses.page(QStringLiteral("TOKEN"), german) == QLatin1String("https://museum.example/p/TOKEN?lang=de"));
    CHECK(addresses.qrCode(QStringLiteral("TOKEN"), german) == QLatin1String("https://museum.example/p/TOKEN/qr.png?lang=de"));
}

TEST_CASE("page addresses: the QR code lies below the page")
{
    CHECK(PageAddresses(QStringLiteral("https://museum.example")).qrCode(QStringLiteral("TOKEN"))
          == QLatin1String("https://museum.example/p/TOKEN/qr.png"));
}
