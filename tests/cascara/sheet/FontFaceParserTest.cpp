#include "sheet/FontFaceParser.hpp"

#include "sheet/StyleSheetParser.hpp"

#include <doctest/doctest.h>

#include <string>

namespace
{
/// "family files weight style" for each face, then the errors in brackets.
std::string facesOf(const char* css)
{
    const auto sheet = Cascara::StyleSheetParser::parse(QString::fromUtf8(css), QStringLiteral("t.css"), QStringLiteral("/base"));
    QStringList result;
    for (const auto& face : sheet->fontFaces)
        result << QStringLiteral("%1 <%2> %3%4 %5:%6:%7")
                      .arg(face.family, face.files.join(QLatin1Char(' ')), QString::number(face.weight),
                           face.isItalic ? QStringLiteral("i") : QString(), face.sheet, QString::number(face.line),
                           QString::number(face.column));
    for (const auto& error : sheet->errors)
        result << QStringLiteral("[%1:%2 %3]").arg(error.line).arg(error.column).arg(error.text);
    return result.join(QLatin1Char(' ')).toStdString();
}
}

TEST_CASE("font face: a family, files, weight and style")
{
    struct Row
    {
        const char* css;
        const char* faces;
    };
    const Row rows[] = {
        {"@font-face { font-family: Brand; src: url(fonts/a.ttf) }", "Brand </base/fonts/a.ttf> 0 t.css:1:1"},
        {"\n @font-face{src:url('a.otf') format('opentype'),url(\"/b.ttf\");font-family:'My Brand';font-weight:bold;}",
         "My Brand </base/a.otf /b.ttf> 700 t.css:2:2"},
        {"@FONT-FACE { font-family: My  Brand; src: url(a.ttf); font-style: oblique; font-weight: 350 }",
         "My Brand </base/a.ttf> 350i t.css:1:1"},
        {"@font-face { font-family: A; src: url(file:///c.ttf) } @font-face { font-family: B; src: url(b.ttf) }",
         "A </c.ttf> 0 t.css:1:1 B </base/b.ttf> 0 t.css:1:56"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.css);
        CHECK(facesOf(row.css) == row.faces);
    }
}

TEST_CASE("font face: a mistake is reported with its place and costs its descriptor, or the rule where nothing is left of it")
{
    struct Row
    {
        const char* css;
        const char* found;
    };
    const char* const empty = "[1:1 @font-face: expected a 'font-family' and a 'src'; the rule is skipped]";
    const Row rows[] = {
        {"@font-face {}", empty},
        {"@font-face { font-family: A; src: url(a.ttf); font-weigth: bold }",
         "A </base/a.ttf> 0 t.css:1:1 [1:47 @font-face: 'font-weigth' is not supported (did you mean 'font-weight'?); it is "
         "skipped]"},
        {"@font-face { font-family: A; src: url(a.ttf); font-weight: heavy }",
         "A </base/a.ttf> 0 t.css:1:1 [1:47 @font-face: font-weight: expected normal, bold or 1 to 1000, got 'heavy'; it is "
         "skipped]"},
        {"@font-face { font-family: A; src: url(a.ttf); font-style: upright }",
         "A </base/a.ttf> 0 t.css:1:1 [1:47 @font-face: font-style: expected normal, italic or oblique, got 'upright'; it is "
         "skipped]"},
        {"@font-face { font-family: A, B; src: url(a.ttf); x }",
         "[1:1 @font-face: expected a 'font-family' and a 'src'; the rule is skipped] [1:14 @font-face: font-family: expected a "
         "name, got 'A, B'; it is skipped] [1:50 @font-face: expected 'name: value', got 'x'; it is skipped]"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.css);
        CHECK(facesOf(row.css) == row.found);
    }
    for (const char* src : {"House", "url(a.ttf),", "url(a.ttf) url(b.ttf)", ", url(a.ttf)", "local(Arial)"}) {
        CAPTURE(src);
        const std::string found = facesOf((std::string("@font-face { font-family: A; src: ") + src + " }").c_str());
        CHECK(found.rfind(empty, 0) == 0);
        CHECK(found.find("[1:30 @font-face: src: expected url()s separated by commas, got '") != std::string::npos);
    }
    CHECK(facesOf("@media (width > 3px) { @font-face { font-family: A; src: url(a.ttf) } }")
          == "[1:24 @font-face cannot stand inside @media: put it outside, and name the family inside; it is skipped]");
    CHECK(facesOf("@font-face;") == "[1:1 @font-face: expected '{' after it; it is skipped]");
}
