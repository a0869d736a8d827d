#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrl>

using CascaraTest::StyleFixture;
using TestSupport::expectWarning;

namespace
{
class Folder
{
public:
    QString write(const char* name, const QByteArray& text)
    {
        const QString path = m_folder.filePath(QString::fromUtf8(name));
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return path;
    }
    std::string path(const char* name) { return m_folder.filePath(QString::fromUtf8(name)).toStdString(); }

private:
    QTemporaryDir m_folder;
};

struct FolderAndNode
{
    StyleFixture fixture;
    Folder folder;
    CascaraTest::TestNode& node = fixture.add("", "N", "n");
};
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: a file is read, its url()s are relative to it, and messages name it")
{
    const QString path = folder.write("css/a.css", "N { text: url(../img/a.png);\nwidth: x }");
    expectWarning("StyleEngine # " + path.toStdString() + ":2:1: width: expected a number, got 'x'; the declaration is skipped");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.text->toStdString() == folder.path("img/a.png"));
}

TEST_CASE("style sheet loader: a file that cannot be read is a warning and leaves the sheets as they are")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("N { width: 1 }");
    expectWarning("StyleEngine # Cannot read style sheet '/nowhere/a.css': No such file or directory; it is skipped");
    CHECK_FALSE(fixture.engine.loadStyleSheet(QStringLiteral("/nowhere/a.css")));
    CHECK(node.width == 1.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: imported sheets stand before the importing one")
{
    folder.write("base/base.css", "@import 'deep.css'; N { width: 2; height: 2; text: url(x.png) }");
    folder.write("base/deep.css", "N { width: 3; height: 3; list: deep }");
    const QString path = folder.write("a.css", "@import url(base/base.css);\nN { width: 1 }");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
    CHECK(node.height == 2.f);
    CHECK(node.list.value() == QStringList{"deep"});
    CHECK(node.text->toStdString() == folder.path("base/x.png"));
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: an import that cannot be, is skipped with its place")
{
    const QString path =
        folder.write("a.css", "@import 'b.css';\n@import 'gone.css';\n@import;\nN { width: 1 }\n@import 'b.css';");
    folder.write("b.css", "@import 'a.css'; N { height: 2 }");
    const std::string a = folder.path("a.css");
    const std::string b = folder.path("b.css");
    expectWarning("StyleEngine # " + b + ":1:1: @import: '" + a + "' imports this file itself; it is skipped");
    expectWarning("StyleEngine # " + a + ":2:1: @import: cannot read '" + folder.path("gone.css")
                  + "': No such file or directory; it is skipped");
    expectWarning("StyleEngine # " + a + ":3:1: @import: expected one file name in quotes; it is skipped");
    expectWarning("StyleEngine # " + a + ":5:1: @import must stand before all rules; it is skipped");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
    CHECK(node.height == 2.f);
}

TEST_CASE_FIXTURE(FolderAndNode,
                  "style sheet loader: a file that is no UTF-8 is used as far as it can be read, with a warning and the place")
{
    const QString path = folder.write("latin.css", "/* caf\u00e9 */\nN { width: 1 }\n/* \xe9t\xe9 */");
    expectWarning("StyleEngine # " + path.toStdString() + ":3:4: this is no UTF-8 text: save the file as UTF-8");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
    const QString sound = folder.write("sound.css", "/* \xef\xbf\xbd */ N { width: 2 }");
    CHECK(fixture.engine.loadStyleSheet(sound));
    CHECK(node.width == 2.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: an import may be written as a file's address")
{
    const QString base = folder.write("the base.css", "N { height: 2 }");
    const QByteArray address = QUrl::fromLocalFile(base).toEncoded();
    REQUIRE(address.contains("%20"));
    SUBCASE("in small letters")
    {
        folder.write("a.css", "@import '" + address + "'; N { width: 1 }");
    }
    SUBCASE("in capitals")
    {
        folder.write("a.css", "@import 'FILE" + address.mid(4) + "'; N { width: 1 }");
    }
    CHECK(fixture.engine.loadStyleSheet(QString::fromStdString(folder.path("a.css"))));
    CHECK(node.height == 2.f);
    CHECK(node.width == 1.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: a sheet may be imported in two places, and counts where it stands last")
{
    folder.write("base.css", "N { width: 1; height: 1 }");
    folder.write("left.css", "@import 'base.css'; N { width: 2; height: 2 }");
    folder.write("right.css", "@import 'base.css'; N { height: 3 }");
    CHECK(fixture.engine.loadStyleSheet(folder.write("a.css", "@import 'left.css'; @import 'right.css';")));
    CHECK(node.width == 1.f);
    CHECK(node.height == 3.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: a sheet that imports itself, by whatever name, is a warning and holds once")
{
    const QString path = folder.write("a.css", "");
    REQUIRE(QFile::link(path, QString::fromStdString(folder.path("other.css"))));
    folder.write("a.css", "@import 'a.css'; @import 'css/../other.css'; N { width: 1 }");
    REQUIRE(QDir().mkpath(QString::fromStdString(folder.path("css"))));
    const std::string a = folder.path("a.css");
    expectWarning("StyleEngine # " + a + ":1:1: @import: '" + a + "' imports this file itself; it is skipped");
    expectWarning("StyleEngine # " + a + ":1:18: @import: '" + folder.path("other.css")
                  + "' imports this file itself; it is skipped");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: an empty file is a sheet without rules")
{
    CHECK(fixture.engine.loadStyleSheet(folder.write("empty.css", "")));
    CHECK(fixture.engine.loadStyleSheet(folder.write("mark.css", "\xef\xbb\xbfN { width: 1 }")));
    CHECK(node.width == 1.f);
}

TEST_CASE("style sheet loader: a folder is no sheet")
{
    StyleFixture fixture;
    Folder folder;
    REQUIRE(QDir().mkpath(QString::fromStdString(folder.path("css"))));
    TestSupport::expectWarningStartingWith("StyleEngine # Cannot read style sheet '" + folder.path("css") + "': ");
    CHECK_FALSE(fixture.engine.loadStyleSheet(QString::fromStdString(folder.path("css"))));
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: a NUL byte is told with its place and ends nothing")
{
    const QString path = folder.write("nul.css", QByteArray("N { width: 1 }\n/* \0 */ N { height: 3 }", 38));
    expectWarning("StyleEngine # " + path.toStdString() + ":2:4: this is a NUL byte, which no text has: save the file as UTF-8");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
    CHECK(node.height == 3.f);
}

TEST_CASE("style sheet loader: sheets that import each other twice are read up to a bound, which is reported once")
{
    StyleFixture fixture;
    Folder folder;
    constexpr int kSheets = 20;
    for (int i = 0; i < kSheets; ++i) {
        const QByteArray next = "@import 's" + QByteArray::number(i + 1) + ".css';";
        folder.write(("s" + std::to_string(i) + ".css").c_str(), next + ' ' + next);
    }
    folder.write("s20.css", "N { width: 1 }");
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # " + folder.path("s19.css")
                  + ":1:20: @import: more than 256 imports; this one and those that follow are skipped");
    CHECK(fixture.engine.loadStyleSheet(QString::fromStdString(folder.path("s0.css"))));
    CHECK(node.width == 1.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: what is imported has a bound in bytes, which is told once with its place")
{
    const QByteArray large = "N { width: 1 }\n/*" + QByteArray(1 << 20, ' ') + "*/";
    folder.write("large.css", large);
    const QString path = folder.write("a.css", QByteArray("@import 'large.css';\n").repeated(60) + "N { height: 2 }");
    expectWarning("StyleEngine # " + path.toStdString() + ":4:1: @import: with '" + folder.path("large.css")
                  + "' the imported files have more than 4 MiB together, each counted as often as it is imported; this one and "
                    "those that follow are skipped: import it once");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 1.f);
    CHECK(node.height == 2.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: beside a sheet as large as may be, another as large is imported")
{
    const auto filled = [&](const QByteArray& text) { return text + QByteArray((4 << 20) - text.size() - 2, ' ') + "*/"; };
    folder.write("large.css", filled("N { width: 1 } /*"));
    CHECK(fixture.engine.loadStyleSheet(folder.write("a.css", filled("@import 'large.css'; N { height: 2 } /*"))));
    CHECK(node.width == 1.f);
    CHECK(node.height == 2.f);
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: sheets that import each other in a ring write each line once")
{
    for (int i = 0; i < 3; ++i) {
        const QByteArray next = "@import 'r" + QByteArray::number((i + 1) % 3) + ".css';";
        folder.write(("r" + std::to_string(i) + ".css").c_str(), next + '\n' + next + "\nN { width: 1 }\n@import 'late.css';");
    }
    const std::string text = ": @import: '" + folder.path("r0.css") + "' imports this file itself; it is skipped";
    expectWarning("StyleEngine # " + folder.path("r2.css") + ":1:1" + text);
    expectWarning("StyleEngine # " + folder.path("r2.css") + ":2:1" + text);
    for (const char* name : {"r0.css", "r1.css", "r2.css"})
        expectWarning("StyleEngine # " + folder.path(name) + ":4:1: @import must stand before all rules; it is skipped");
    CHECK(fixture.engine.loadStyleSheet(QString::fromStdString(folder.path("r0.css"))));
}

TEST_CASE_FIXTURE(FolderAndNode,
                  "style sheet loader: a value that does not fit is told once, however often its sheet is imported")
{
    const QString bad = folder.write("bad.css", "N { width: x;\nheight: var(--none, y) }");
    for (const char* text : {":1:5: width: expected a number, got 'x'; the declaration is skipped",
                             ":2:1: height: expected a number, got 'y'; the default is used"})
        expectWarning("StyleEngine # " + bad.toStdString() + text);
    const QString path = folder.write("main.css", "@import 'bad.css'; @import 'bad.css'; N { text: a }");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.text == QStringLiteral("a"));
    // Another node meets the same declarations.
    fixture.add("", "N", "other");
}

TEST_CASE_FIXTURE(FolderAndNode, "style sheet loader: of very many mistakes a hundred are told, and the rest of the sheet holds")
{
    const QString path = folder.write("bad.css", QByteArray("N { : 1 }\n").repeated(101) + "N { width: 2; height: x }");
    for (int line = 1; line <= 100; ++line)
        TestSupport::expectWarningStartingWith("StyleEngine # " + path.toStdString() + ':' + std::to_string(line) + ":5: ");
    expectWarning("StyleEngine # " + path.toStdString()
                  + ": there are more than 100 mistakes; mend these first, further ones are not reported");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 2.f);
}

TEST_CASE_FIXTURE(FolderAndNode,
                  "style sheet loader: rules beyond a bound are skipped with the place of the first, imported ones counted")
{
    folder.write("base.css", QByteArray("M { width: 1 }\n").repeated(19998));
    const QString path =
        folder.write("a.css", "@import 'base.css';\nN { width: 1 }\nN { width: 2 }\nN { width: 3 }\nN { height: 9 }");
    expectWarning(
        "StyleEngine # " + path.toStdString()
        + ":4:5: there are more than 20000 rules, those of imported sheets included; this one and those that follow are "
          "skipped");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 2.f);
    CHECK(node.height != 9.f);
}

TEST_CASE("style sheet loader: a sheet beyond the limit is skipped with its size, also where it is imported")
{
    StyleFixture fixture;
    Folder folder;
    auto& node = fixture.add("", "N", "n");
    const QString large = folder.write("large.css", "N { width: 1 }");
    REQUIRE(QFile::resize(large, qint64(5) << 20));
    expectWarning("StyleEngine # Cannot read style sheet '" + large.toStdString()
                  + "': it has 5.0 MiB, the limit is 4 MiB; it is skipped");
    CHECK_FALSE(fixture.engine.loadStyleSheet(large));
    const QString path = folder.write("main.css", "@import 'large.css'; N { width: 2 }");
    expectWarning("StyleEngine # " + path.toStdString() + ":1:1: @import: cannot read '" + large.toStdString()
                  + "': it has 5.0 MiB, the limit is 4 MiB; it is skipped");
    CHECK(fixture.engine.loadStyleSheet(path));
    CHECK(node.width == 2.f);
}
