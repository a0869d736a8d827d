#include "FontFaceScene.hpp"

#include "text/FontFaces.hpp"

#include <LogCapture.hpp>

#include <Trellis/TextWidget.hpp>

using namespace TrellisTest;

namespace
{
Trellis::TextWidget& textIn(Scene& scene, const char* declarations, const QString& text = QStringLiteral("Hamburgefonts 1234"))
{
    auto* widget = new Trellis::TextWidget(&scene.root());
    style(*widget,
          (std::string("position: absolute; color: white; font-size: 30px; white-space: nowrap; ") + declarations).c_str());
    widget->setText(text);
    return *widget;
}

QImage written(FontScene& scene, const char* declarations, const QString& text = QStringLiteral("Hamburgefonts 1234"))
{
    Trellis::TextWidget& widget = textIn(scene, declarations, text);
    scene.frame();
    const QImage image = scene.picture();
    widget.removeFromParent();
    scene.frame();
    return image;
}

QString faceRule(const char* family, const char* file, const char* more = "")
{
    return QStringLiteral("@font-face { font-family: \"%1\"; src: url(%2); %3 }")
        .arg(QLatin1String(family), QLatin1String(file), QLatin1String(more));
}
}

TEST_CASE("font faces: a family that a sheet names has the letters of its file, whatever is installed by that name")
{
    FontScene scene;
    scene.save("a.font", fontBytes("DejaVu Serif"));
    const QImage expected = written(scene, "font-family: 'DejaVu Serif'");
    const QImage sans = written(scene, "font-family: Inter");
    REQUIRE(expected != sans);
    CHECK(written(scene, "font-family: Brand, Inter") == sans); // nothing is bound yet
    scene.sheet(faceRule("Brand", "a.font"));
    CHECK(written(scene, "font-family: Brand") == expected);
    CHECK(written(scene, "font-family: BRAND, Inter") == expected);
    scene.sheet(faceRule("Inter", "a.font"));
    CHECK(written(scene, "font-family: Inter") == expected);
}

TEST_CASE("font faces: texts that are there already get the font, and lose it with the sheet")
{
    FontScene scene;
    scene.save("a.font", fontBytes("DejaVu Serif"));
    auto& text = *new Trellis::TextWidget(&scene.root());
    text.setLocation({0.f, 0.f});
    text.setText(QStringLiteral("Hamburgefonts"));
    set(text, "color", kWhite);
    set(text, "font-family", QStringList{QStringLiteral("Brand"), QStringLiteral("Inter")});
    scene.frame();
    const QImage plain = scene.picture();
    scene.sheet(faceRule("Brand", "a.font"));
    scene.frame();
    CHECK(scene.picture() != plain);
    Cascara::StyleEngine::instance().clearStyleSheets();
    scene.frame();
    CHECK(scene.picture() == plain);
}

TEST_CASE("font faces: a file is registered once by its contents, however often and by whatever name sheets bind it")
{
    FontScene scene;
    const auto face = [&scene](const char* family, const char* file, int weight = 0) {
        Cascara::FontFace result;
        result.family = QString::fromLatin1(family);
        result.files = QStringList{scene.save(file, fontBytes("DejaVu Serif"))};
        result.weight = weight;
        return result;
    };
    Trellis::FontFaces faces;
    const auto bound = [&faces](const char* family) { return faces.resolved({QString::fromLatin1(family)}); };
    faces.set({face("Brand", "a.font")});
    const QStringList name = bound("brand");
    CHECK(name != QStringList{QStringLiteral("brand")});
    CHECK(faces.registered() == 1);
    faces.set({face("Brand", "a.font"), face("Other", "b.font")});
    CHECK(bound("Other") == name);
    CHECK(bound("Brand") == name);
    faces.set({});
    CHECK(bound("Brand") == QStringList{QStringLiteral("Brand")});
    faces.set({face("Brand", "b.font")});
    CHECK(bound("Brand") == name);
    CHECK(faces.registered() == 1);
    faces.set({face("Brand", "b.font", 900)});
    CHECK(bound("Brand") != name);
    CHECK(faces.registered() == 2);
}

TEST_CASE("font faces: a file that is broken or missing is an error, and texts have the next file or family")
{
    FontScene scene;
    scene.save("good.font", fontBytes("DejaVu Serif"));
    scene.save("broken.font", fontBytes("DejaVu Serif").left(9000));
    const QImage serif = written(scene, "font-family: 'DejaVu Serif'");
    const std::string folder = scene.folder.path().toStdString();
    TestSupport::expectWarning("StyleEngine # test.css:1:1: @font-face: cannot use '" + folder
                               + "/broken.font': it is no TrueType or OpenType font, or a damaged one; texts have the next font");
    scene.sheet(QStringLiteral("@font-face { font-family: Brand; src: url(broken.font), url(good.font) }"));
    CHECK(written(scene, "font-family: Brand") == serif);
    Cascara::StyleEngine::instance().clearStyleSheets();
    TestSupport::expectWarning("StyleEngine # test.css:1:1: @font-face: cannot use '" + folder
                               + "/none.font': No such file or directory; texts have the next font");
    scene.sheet(faceRule("Brand", "none.font"));
    CHECK(written(scene, "font-family: Brand, 'DejaVu Serif'") == serif);
}

TEST_CASE("font faces: their mistakes stand among those of their sheet in the order of lines")
{
    FontScene scene;
    const std::vector<std::string> expected = {
        "StyleEngine # test.css:1:10: width: expected ':' after the attribute name; the declaration is skipped",
        "StyleEngine # test.css:2:1: @font-face: cannot use '" + scene.folder.path().toStdString()
            + "/none.font': No such file or directory; texts have the next font"};
    for (const std::string& text : expected)
        TestSupport::expectWarning(text);
    scene.sheet(QStringLiteral("Widget { width? : 1 }\n") + faceRule("Brand", "none.font"));
    std::vector<std::string> got;
    for (const auto& line : TestSupport::loggedLines())
        got.push_back(line.text);
    CHECK(got == expected);
}

TEST_CASE("font faces: letters that the font does not have come from the next family, one by one")
{
    FontScene scene;
    scene.save("a.font", fontBytes("Lato"));
    scene.sheet(faceRule("Brand", "a.font"));
    const QString mixed = QStringLiteral("Ann \u05d0\u05d1");
    const QImage image = written(scene, "font-family: Brand, 'DejaVu Sans'", mixed);
    CHECK(image == written(scene, "font-family: Lato, 'DejaVu Sans'", mixed));
    CHECK(image != written(scene, "font-family: Brand, 'DejaVu Serif'", QStringLiteral("Ann")));
    CHECK(image != written(scene, "font-family: 'DejaVu Sans'", mixed));
}
