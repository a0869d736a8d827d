#include "Scene.hpp"

#include <LogCapture.hpp>

using Trellis::Widget;
using namespace TrellisTest;

namespace
{
QString shadowsOf(const char* written)
{
    Scene scene(kSmall);
    auto& widget = *new Widget(&scene.root());
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".t { box-shadow: %1 }").arg(QLatin1String(written)),
                                                   QStringLiteral("test.css"));
    widget.addCSSClass("t");
    return widget.attribute("box-shadow")->toText();
}
}

TEST_CASE("shadow list: offsets, blur, spread, a colour and 'inset' are written as in CSS")
{
    struct Row
    {
        const char* written;
        const char* read;
    };
    const Row rows[] = {
        {"none", "none"},
        {"2px 3px", "2px 3px 0px 0px #000000"},
        {"2px -3px 4px red", "2px -3px 4px 0px #FF0000"},
        {"RED 2px 3px 4px -5px", "2px 3px 4px -5px #FF0000"},
        {"1em calc(1em + 2px)", "16px 18px 0px 0px #000000"},
        {"inset 0 0 9px 1px rgb(0 0 255 / 50%)", "inset 0px 0px 9px 1px #0000FF80"},
        {"0 0 calc(2px * 4) #0003 INSET", "inset 0px 0px 8px 0px #00000033"},
        {"0 1px 2px #000, 0 8px 24px rgba(0, 0, 0, 0.2)", "0px 1px 2px 0px #000000, 0px 8px 24px 0px #00000033"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.written);
        CHECK(shadowsOf(row.written) == QLatin1String(row.read));
        CHECK(shadowsOf(row.read) == QLatin1String(row.read));
    }
}

TEST_CASE("shadow list: what is no shadow is reported with what was expected, and leaves none")
{
    for (const char* written :
         {"3px", "1px 2px 3px 4px 5px", "1px 2px -3px", "1px red 2px", "red", "inset 1px 2px inset", "1px 2px red blue",
          "1px 2px,", "0 0 501px", "1px 2px, none", "1px 2s", "1px 300ms", "1px 2deg"}) {
        CAPTURE(written);
        TestSupport::expectWarning(
            std::string(
                "StyleEngine # test.css:1:6: box-shadow: expected none or shadows separated by commas, each two offsets, blur "
                "(0 to 500), spread, a colour and 'inset', got '")
            + written + "'; the declaration is skipped");
        CHECK(shadowsOf(written) == QStringLiteral("none"));
    }
}

TEST_CASE("shadow list: with equal parts shadows change smoothly into one another")
{
    Scene scene(kSmall);
    Widget& widget = scene.box(0, 0, 50, 50, "transition: box-shadow 1s linear; box-shadow: 0 2px 4px #000, inset 0 0 2px red");
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".lifted { box-shadow: 0 12px 24px 2px #fff, inset 0 0 2px red !important; }"),
        QStringLiteral("test.css"));
    scene.frames(2);
    widget.addCSSClass("lifted");
    scene.frame(0.5);
    CHECK(widget.attribute("box-shadow")->toText() == QStringLiteral("0px 7px 14px 1px #808080, inset 0px 0px 2px 0px #FF0000"));
    scene.frame(0.6);
    CHECK(widget.attribute("box-shadow")->toText() == QStringLiteral("0px 12px 24px 2px #FFFFFF, inset 0px 0px 2px 0px #FF0000"));
}
