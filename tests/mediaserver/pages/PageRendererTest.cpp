#include "pages/PageRenderer.hpp"

#include "items/ItemStore.hpp"
#include "pages/PageStyle.hpp"
#include "pages/PageTexts.hpp"

#include <doctest/doctest.h>

#include <QCryptographicHash>
#include <QRegularExpression>

using namespace MediaServer;

namespace
{

const QString kPageToken = QStringLiteral("AAAAAAAAAAAAAAAAAAAAAA");

Item item(ItemKind kind, const char* value, const char* name, qint64 id = 5)
{
    Item result;
    result.id = id;
    result.kind = kind;
    result.value = QString::fromUtf8(value);
    result.displayName = QString::fromUtf8(name);
    return result;
}

QString pageOf(const std::vector<PageItem>& items, const SiteSettings& settings = {}, const char* language = "en",
               QDate until = {})
{
    return QString::fromUtf8(PageRenderer(settings).collection({kPageToken, PageTexts::find(language), items, until}).document);
}

QString pageOf(const Item& single, PageItem::State state = PageItem::State::There)
{
    return pageOf(std::vector<PageItem>{{&single, state}});
}

}

TEST_CASE("page renderer: a picture is shown, a document and a link are opened")
{
    const Item picture = item(ItemKind::File, "boat.png", "The boat", 3);
    const Item document = item(ItemKind::File, "guide.pdf", "The guide", 4);
    const Item link = item(ItemKind::Url, "https://www.museum.example/a?x=1&y=2", "The museum");
    const QString page = pageOf(std::vector<PageItem>{
        {&picture, PageItem::State::There}, {&document, PageItem::State::There}, {&link, PageItem::State::There}});
    CHECK(page.contains(QLatin1String("<img src=\"AAAAAAAAAAAAAAAAAAAAAA/thumb/3\"")));
    CHECK(page.contains(QLatin1String("<a href=\"AAAAAAAAAAAAAAAAAAAAAA/file/3\"")));
    CHECK_FALSE(page.contains(QLatin1String("<img src=\"AAAAAAAAAAAAAAAAAAAAAA/thumb/4\"")));
    CHECK(page.contains(QLatin1String("<a href=\"AAAAAAAAAAAAAAAAAAAAAA/file/4\"")));
    CHECK(page.contains(QString::fromUtf8("Document · PDF")));
    CHECK(page.contains(QLatin1String("<a href=\"https://www.museum.example/a?x=1&amp;y=2\" rel=\"noopener noreferrer\">")));
    CHECK(page.contains(QString::fromUtf8("Website · museum.example")));
    CHECK(page.contains(QLatin1String("3 things you kept")));
    CHECK(page.contains(QLatin1String("<img src=\"AAAAAAAAAAAAAAAAAAAAAA/qr.png\"")));
    CHECK(page.indexOf(QLatin1String("The boat")) < page.indexOf(QLatin1String("The museum")));
}

TEST_CASE("page renderer: every text is escaped")
{
    const char* const hostile = "\"><script>alert('x')</script>&amp;<img src=x onerror=alert(1)>\x01";
    for (const Item& entry : {item(ItemKind::File, "a.png", hostile), item(ItemKind::File, "a.txt", hostile),
                              item(ItemKind::Url, "https://a.example/", hostile), item(ItemKind::File, hostile, ""),
                              item(ItemKind::Url, "https://a.example/\"><script>x</script>?'", "")}) {
        const QString page = pageOf(entry);
        CHECK(page.count(QLatin1String("<script")) == 1);
        CHECK_FALSE(page.contains(QLatin1String("<img src=x")));
        CHECK_FALSE(page.contains(QChar(1)));
    }
    const QString page = pageOf(item(ItemKind::Url, "https://a.example/", hostile));
    CHECK(page.contains(QLatin1String("&quot;&gt;&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;&amp;amp;&lt;img")));
    const QString message = QString::fromUtf8(PageRenderer().message(*PageTexts::find("en"), "<b>", "<i>").document);
    CHECK_FALSE(message.contains(QLatin1String("<b>")));
    CHECK_FALSE(message.contains(QLatin1String("<i>")));
}

TEST_CASE("page renderer: a stored address that is not of the web makes no link")
{
    const QString page = pageOf(item(ItemKind::Url, "javascript:alert(1)", "Click me"));
    CHECK_FALSE(page.contains(QLatin1String("javascript:")));
    CHECK_FALSE(page.contains(QLatin1String("Click me")));
}

TEST_CASE("page renderer: a file that is away is named but not opened")
{
    const QString page = pageOf(item(ItemKind::File, "boat.png", "The boat"), PageItem::State::Missing);
    CHECK(page.contains(QLatin1String("The boat")));
    CHECK(page.contains(QLatin1String("Not available at the moment")));
    CHECK_FALSE(page.contains(QLatin1String("/file/")));
}

TEST_CASE("page renderer: without a name the file's or the site's own is shown")
{
    CHECK(pageOf(item(ItemKind::File, "boat.png", " ")).contains(QLatin1String(">boat.png<")));
    CHECK(pageOf(item(ItemKind::Url, "https://www.a.example/x", "")).contains(QLatin1String(">a.example<")));
}

TEST_CASE("page renderer: an empty collection says what to do")
{
    const QString page = pageOf(std::vector<PageItem>{});
    CHECK(page.contains(QLatin1String("Nothing here yet")));
    CHECK_FALSE(page.contains(QLatin1String("<ul")));
    CHECK_FALSE(page.contains(QLatin1String("remove-all")));
}

TEST_CASE("page renderer: nothing is loaded from elsewhere and the policy allows just this style sheet")
{
    const Item link = item(ItemKind::Url, "https://a.example/picture.png", "A picture elsewhere");
    const QString page = pageOf(link);
    QRegularExpressionMatchIterator loaded =
        QRegularExpression(QStringLiteral("(src|srcset|data|poster)=\"([^\"]*)\"")).globalMatch(page);
    REQUIRE(loaded.hasNext());
    while (loaded.hasNext())
        CHECK(loaded.next().captured(2).startsWith(kPageToken));
    CHECK_FALSE(page.contains(QLatin1String("url(")));
    CHECK_FALSE(page.contains(QLatin1String("@import")));

    // The browser hashes what stands between the tags.
    const QString style = page.section(QLatin1String("<style>"), 1).section(QLatin1String("</style>"), 0, 0);
    const QByteArray hash = QCryptographicHash::hash(style.toUtf8(), QCryptographicHash::Sha256).toBase64();
    const QByteArray policy = PageRenderer().collection({kPageToken, PageTexts::find("en"), {}}).securityPolicy;
    CHECK(policy.contains("style-src 'sha256-" + hash + "'"));
    CHECK(policy.startsWith("default-src 'none';"));
    const QString script = page.section(QLatin1String("<script>"), 1).section(QLatin1String("</script>"), 0, 0);
    CHECK(policy.contains("script-src 'sha256-" + QCryptographicHash::hash(script.toUtf8(), QCryptographicHash::Sha256).toBase64()
                          + "'"));
    CHECK(policy.contains("connect-src 'self'"));
    CHECK(policy.contains("form-action 'self'"));
    CHECK_FALSE(policy.contains("unsafe"));
    CHECK_FALSE(PageRenderer().message(*PageTexts::find("en"), "a", "b").securityPolicy.contains("script-src"));
    CHECK_FALSE(page.contains(QLatin1String(" style=")));
}

TEST_CASE("page renderer: the venue's name, greeting, colours, logo, imprint and privacy are those of its settings")
{
    SiteSettings settings;
    settings.museum = QStringLiteral("Lake & Sons");
    settings.greeting["de"] = QStringLiteral("Danke!");
    settings.imprint = QStringLiteral("https://lake.example/i?a=1&b=2");
    settings.privacy = QStringLiteral("https://lake.example/p");
    settings.logo = QStringLiteral("/logo.svg");
    settings.accent = "#102030";
    settings.accentDark = "#a0b0c0";
    const QString german = pageOf({}, settings, "de", QDate(2026, 12, 3));
    CHECK(german.contains(QLatin1String("<html lang=\"de\">")));
    CHECK(german.contains(QLatin1String("Lake &amp; Sons</title>")));
    CHECK(german.contains(QLatin1String(">Lake &amp; Sons</p>")));
    CHECK(german.contains(QLatin1String("<h1>Danke!</h1>")));
    CHECK(german.contains(QLatin1String("href=\"https://lake.example/i?a=1&amp;b=2\"")));
    CHECK(german.contains(QLatin1String("href=\"https://lake.example/p\"")));
    CHECK(german.contains(QLatin1String("src=\"AAAAAAAAAAAAAAAAAAAAAA/logo\"")));
    CHECK(german.contains(QLatin1String("prefers-color-scheme: light) { :root { --accent: #102030; }")));
    CHECK(german.contains(QLatin1String("prefers-color-scheme: dark) { :root { --accent: #a0b0c0; }")));
    CHECK(german.contains(QLatin1String("bis zum 3. Dezember 2026")));
    const QString plain = pageOf({}, {}, "en");
    CHECK(plain.contains(QLatin1String("<h1>Your collection</h1>")));
    CHECK_FALSE(plain.contains(QLatin1String("/logo")));
    CHECK_FALSE(plain.contains(QLatin1String("Imprint")));
    CHECK_FALSE(plain.contains(QLatin1String("kept until")));
}

TEST_CASE("page renderer: the version of a page changes with what it shows, in each language")
{
    const Item boat = item(ItemKind::File, "boat.png", "The boat");
    const auto version = [](const char* language, const std::vector<PageItem>& items) {
        return PageRenderer().collection({kPageToken, PageTexts::find(language), items}).version;
    };
    const QByteArray there = version("en", {{&boat, PageItem::State::There}});
    CHECK_FALSE(there.isEmpty());
    CHECK(there == version("en", {{&boat, PageItem::State::There}}));
    CHECK(there != version("en", {{&boat, PageItem::State::Coming}}));
    CHECK(there != version("en", {}));
    CHECK(there != version("de", {{&boat, PageItem::State::There}}));
    CHECK(pageOf(boat).contains(QLatin1String("<main data-version=\"") + QLatin1String(there) + QLatin1String("\">")));
}
