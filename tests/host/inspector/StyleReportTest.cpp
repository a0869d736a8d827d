#include "inspector/StyleReport.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonObject>

using namespace Host;

namespace
{
struct StyleReportFixture
{
    StyleReportFixture()
    {
        tile->setCSSType("Tile");
        tile->addCSSClass("small");
        application.mainLayer()->addChild(tile);
    }
    ~StyleReportFixture() { Cascara::StyleEngine::instance().clearStyleSheets(); }

    static void sheet(const char* css, const char* name)
    {
        Cascara::StyleEngine::instance().addStyleSheet(QString::fromUtf8(css), QString::fromUtf8(name));
    }
    static QJsonObject entry(const char* attribute, const char* value, const char* selector, const char* sheet, int line,
                             int column)
    {
        return {{"attribute", attribute}, {"value", value}, {"selector", selector},
                {"sheet", sheet},         {"line", line},   {"column", column}};
    }

    Trellis::Application application{{320.f, 200.f}};
    Bedrock::IntrusivePtr<Trellis::Widget> tile = Bedrock::makeIntrusive<Trellis::Widget>();
};
}

TEST_CASE("style report: a widget that no rule speaks of has none")
{
    StyleReportFixture f;
    StyleReportFixture::sheet("Other { width: 10px }", "hall.css");
    CHECK(styleReport(*f.tile).isEmpty());
}

TEST_CASE("style report: every declaration that applies is reported with its place, and the last one of an attribute shows")
{
    StyleReportFixture f;
    StyleReportFixture::sheet("Tile.small { width: 30px }\nTile { width: 10px; height: 20px }\n.large { width: 90px }",
                              "hall.css");
    StyleReportFixture::sheet("Tile { height: 40px }", "evening.css");
    CHECK(styleReport(*f.tile)
          == QJsonArray{StyleReportFixture::entry("width", "10px", "Tile", "hall.css", 2, 8),
                        StyleReportFixture::entry("height", "20px", "Tile", "hall.css", 2, 21),
                        StyleReportFixture::entry("height", "40px", "Tile", "evening.css", 1, 8),
                        StyleReportFixture::entry("width", "30px", "Tile.small", "hall.css", 1, 14)});
    CHECK(f.tile->width() == 30.f);
    CHECK(f.tile->height() == 40.f);

    f.tile->removeCSSClass("small");
    CHECK(styleReport(*f.tile).size() == 3);
}
