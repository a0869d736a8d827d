#include <doctest/doctest.h>

#include "component/PluginStamp.hpp"

#include "TestHost.hpp"

#include <Tavola/PluginLoader.hpp>

#include <QFile>
#include <QTemporaryDir>

using Tavola::isLinkedWithThisProgram;
using Tavola::PluginLoader;
using Tavola::pluginStamp;

namespace
{
QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

/// A copy of the plug-in that calls a function which no library has, beside its package.
struct UnfinishedPlugin
{
    QString write(const QByteArray& content) const
    {
        const QString path = folder.filePath(QStringLiteral("libunfinished.so"));
        QFile::remove(path); // never into the file that the loader has mapped
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(content) == content.size());
        QFile package(folder.filePath(QStringLiteral("unfinished.json")));
        REQUIRE(package.open(QIODevice::WriteOnly));
        package.write(R"({"package": "unfinished", "components": {}})");
        return path;
    }
    QTemporaryDir folder;
    QByteArray bytes = bytesOf(QStringLiteral(UNFINISHED_PLUGIN));
};
}

TEST_CASE("plug-in stamp: it names the builds of all libraries that the plug-in was linked with")
{
    const QByteArray stamp = pluginStamp(QStringLiteral(TEST_PLUGIN));
    CAPTURE(stamp.toStdString());
    for (const char* library : {"libtavola-core.so ", "libtrellis.so ", "libQt5Core.so.5 ", "libstdc++.so.6 ", "libc.so.6 "})
        CHECK_MESSAGE(stamp.contains(library), library);
    for (const QByteArray& line : stamp.trimmed().split('\n'))
        CHECK(QByteArray::fromHex(line.mid(line.indexOf(' ') + 1)).size() == 20);
    CHECK(isLinkedWithThisProgram(stamp));
}

TEST_CASE("plug-in stamp: another build, a library that is not loaded, and no line at all are not this program")
{
    const QByteArray stamp = pluginStamp(QStringLiteral(TEST_PLUGIN));
    REQUIRE(isLinkedWithThisProgram(stamp));
    for (const QByteArray& line : stamp.trimmed().split('\n')) {
        CAPTURE(line.toStdString());
        QByteArray digit = line;
        digit[digit.size() - 1] = digit.endsWith('0') ? '1' : '0';
        CHECK_FALSE(isLinkedWithThisProgram(QByteArray(stamp).replace(line, digit)));
        CHECK_FALSE(isLinkedWithThisProgram(QByteArray(stamp).replace(line, line.left(line.size() - 1))));
        CHECK_FALSE(isLinkedWithThisProgram(QByteArray(stamp).replace(line, "another-" + line)));
        CHECK(isLinkedWithThisProgram(line));
    }
    CHECK_FALSE(isLinkedWithThisProgram(stamp + "libnone.so.1 0123456789abcdef0123456789abcdef01234567\n"));
    for (const char* nothing : {"", "\n", " ", "libc.so.6", "libc.so.6 "})
        CHECK_FALSE(isLinkedWithThisProgram(nothing));
}

TEST_CASE("plug-in stamp: a file that is cut off anywhere, or is no plug-in, has none")
{
    const UnfinishedPlugin plugin;
    REQUIRE_FALSE(pluginStamp(plugin.write(plugin.bytes)).isEmpty());
    CHECK(pluginStamp(plugin.folder.filePath(QStringLiteral("none.so"))).isEmpty());
    CHECK(pluginStamp(plugin.folder.path()).isEmpty());
    for (const int length : {0, 1, 63, 64, 65, 200, 500, 1000, 1500})
        CHECK(pluginStamp(plugin.write(plugin.bytes.left(length))).isEmpty());
    // Each of the first bytes changed: nothing but an answer is expected.
    for (int at = 0; at < 700; ++at) {
        QByteArray changed = plugin.bytes.left(8192);
        changed[at] = char(changed[at] ^ 0xff);
        const QByteArray stamp = pluginStamp(plugin.write(changed));
        CHECK(stamp.size() <= 2048);
    }
}

TEST_CASE("plug-in stamp: functions are looked up at their first use with the libraries of the stamp, and at loading with others")
{
    const TestSupport::TestHost host;
    const UnfinishedPlugin plugin;
    QString error;
    {
        const auto loaded = PluginLoader::load(plugin.write(plugin.bytes), error);
        CHECK_MESSAGE(loaded, error.toStdString());
    }
    const QByteArray stamp = pluginStamp(plugin.write(plugin.bytes));
    REQUIRE(isLinkedWithThisProgram(stamp));
    const int at = plugin.bytes.indexOf(stamp);
    REQUIRE(at > 0);
    const int digit = at + stamp.indexOf(' ') + 1;
    QByteArray other = plugin.bytes;
    other[digit] = other[digit] == '0' ? '1' : '0';
    CHECK_FALSE(PluginLoader::load(plugin.write(other), error));
    CHECK_MESSAGE(error.contains(QLatin1String("functionThatNoLibraryHas")), error.toStdString());
    QByteArray none = plugin.bytes;
    none.replace(at, stamp.size(), QByteArray(stamp.size(), '\0'));
    CHECK_FALSE(PluginLoader::load(plugin.write(none), error));
    CHECK_MESSAGE(error.contains(QLatin1String("functionThatNoLibraryHas")), error.toStdString());
}
