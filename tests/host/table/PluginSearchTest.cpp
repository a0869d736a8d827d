#include "table/PluginSearch.hpp"

#include "Folder.hpp"

#include <Tavola/PluginLoader.hpp>

#include <doctest/doctest.h>

#include <QCoreApplication>
#include <QDir>

using namespace Host;

namespace
{
/// Sets the search path for the time of a test.
class SearchPath
{
public:
    explicit SearchPath(const QString& path) { qputenv("TAVOLA_PLUGIN_PATH", path.toLocal8Bit()); }
    ~SearchPath() { qunsetenv("TAVOLA_PLUGIN_PATH"); }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;
};
}

TEST_CASE("plug-in search: the search path comes first, then the program's own folders")
{
    const SearchPath path(QStringLiteral("/a:/b::"));
    const QString program = QCoreApplication::applicationDirPath();
    CHECK(pluginFolders()
          == QStringList{QStringLiteral("/a"), QStringLiteral("/b"), program,
                         QDir::cleanPath(program + QStringLiteral("/../lib")),
                         QDir::cleanPath(program + QStringLiteral("/../lib/tavola"))});
}

TEST_CASE("plug-in search: a name is found with and without the usual beginning, in the order of the folders")
{
    const Folder folder;
    const SearchPath path(folder.path(QStringLiteral("one")) + QLatin1Char(':') + folder.path(QStringLiteral("two")));
    const QString second = folder.write(QStringLiteral("two/libpanel.so"), "");
    CHECK(findPlugin(QStringLiteral("panel")) == second);
    const QString first = folder.write(QStringLiteral("one/libpanel.so"), "");
    CHECK(findPlugin(QStringLiteral("panel")) == first);
    const QString plain = folder.write(QStringLiteral("one/panel.so"), "");
    CHECK(findPlugin(QStringLiteral("panel")) == plain);
}

TEST_CASE("plug-in search: a path is taken as it is")
{
    const Folder folder;
    const QString file = folder.write(QStringLiteral("panel.so"), "");
    CHECK(findPlugin(file) == file);
    CHECK(findPlugin(folder.path(QStringLiteral("none.so"))).isEmpty());
}

TEST_CASE("plug-in search: a bare name is no file of the current directory")
{
    const Folder folder;
    const QString before = QDir::currentPath();
    folder.write(QStringLiteral("panel.so"), "");
    REQUIRE(QDir::setCurrent(folder.path()));
    CHECK(findPlugin(QStringLiteral("panel.so")).isEmpty());
    CHECK(findPlugin(QStringLiteral("panel")).isEmpty());
    CHECK(findPlugin(QStringLiteral("./panel.so")) == folder.path(QStringLiteral("panel.so")));
    REQUIRE(QDir::setCurrent(before));
}

TEST_CASE("plug-in search: what is nowhere, or a folder, is not found")
{
    const Folder folder;
    const SearchPath path(folder.path());
    folder.write(QStringLiteral("libfolder.so/file"), "");
    CHECK(findPlugin(QStringLiteral("no-such-plug-in")).isEmpty());
    CHECK(findPlugin(QStringLiteral("folder")).isEmpty());
    CHECK(findPlugin(QString()).isEmpty());
}

TEST_CASE("plug-in search: a plug-in that cannot be loaded is named with the reason")
{
    const Folder folder;
    const SearchPath path(folder.path());
    QString error;
    CHECK_FALSE(loadPlugin(QStringLiteral("none"), error));
    CHECK(error == QStringLiteral("there is no plug-in none; looked for in ") + pluginFolders().join(QStringLiteral(", ")));
    CHECK_FALSE(loadPlugin(QStringLiteral("none.so"), error));
    CHECK(error.endsWith(QLatin1String(". A file is named with a slash: ./none.so")));
    CHECK_FALSE(loadPlugin(QStringLiteral("/nowhere/such.so"), error));
    CHECK(error == "there is no plug-in file /nowhere/such.so");
    const QString broken = folder.write(QStringLiteral("broken.so"), "This is a letter, not a library.");
    CHECK_FALSE(loadPlugin(QStringLiteral("broken"), error));
    CHECK(error.startsWith(QStringLiteral("plug-in %1 cannot be loaded: ").arg(broken)));
}
