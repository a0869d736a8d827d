#include "pages/SiteTarget.hpp"

#include "pages/PageTexts.hpp"

#include <doctest/doctest.h>

#include <string>

using namespace MediaServer;

namespace
{

SiteTarget target(const QByteArray& address, const QByteArray& acceptLanguage = {})
{
    Http::Request request{"GET", address, {}, {}};
    if (!acceptLanguage.isNull())
        request.headers.emplace_back("Accept-Language", acceptLanguage);
    return SiteTarget::of(request, "fi");
}

const QByteArray kAddressToken = "0123456789abcdefghijkl";

}

TEST_CASE("site target: an address of a person's page has a token and what follows")
{
    const SiteTarget file = target("/p/" + kAddressToken + "/file/7");
    CHECK(file.isPersonal());
    CHECK(file.token() == kAddressToken);
    CHECK(file.rest() == QStringList{"file", "7"});
    CHECK(target("/p/" + kAddressToken).rest().isEmpty());
    for (const char* other :
         {"/", "", "p", "/p/short", "/q/0123456789abcdefghijkl", "x/p/0123456789abcdefghijkl", "/health", "/p"}) {
        CAPTURE(other);
        CHECK_FALSE(target(other).isPersonal());
    }
    CHECK(target("/health").isHealth());
    CHECK_FALSE(target("/health/").isHealth());
    CHECK_FALSE(target("/p/health").isHealth());
}

TEST_CASE("site target: the language is that of the address, of the browser, or the venue's, in this order")
{
    const SiteTarget named = target("/p/" + kAddressToken + "?lang=de", "fr");
    CHECK(std::string(named.texts->language) == "de");
    CHECK(named.suffix == "?lang=de");
    CHECK(named.token() == kAddressToken);
    const SiteTarget unknown = target("/p/" + kAddressToken + "?lang=xx", "fr");
    CHECK(std::string(unknown.texts->language) == "fr");
    CHECK(unknown.suffix.isEmpty());
    CHECK(std::string(target("/").texts->language) == "fi");
}

TEST_CASE("site target: a number has one address")
{
    CHECK(numberIn("7") == 7);
    CHECK(numberIn("-7") == -7);
    for (const char* other : {"", "07", "+7", "7 ", "7a", "99999999999999999999"}) {
        CAPTURE(other);
        CHECK_FALSE(numberIn(QString::fromUtf8(other)));
    }
}
