#include <doctest/doctest.h>

#include "component/PluginStamp.hpp"

#include "Patience.hpp"
#include "TestHost.hpp"

#include <Tavola/Package.hpp>
#include <Tavola/PluginLoader.hpp>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

using Tavola::checkStamp;
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

bool isSame(const QByteArray& stamp)
{
    return checkStamp(stamp).isSame;
}

bool isFromHost(const QByteArray& line)
{
    return line.endsWith(" host");
}

/// The libraries in the list that the system's loader reads.
QList<QByteArray> listedIn(const QString& path)
{
    QProcess readelf;
    readelf.start(QStringLiteral("readelf"), {QStringLiteral("-dW"), path});
    REQUIRE(readelf.waitForFinished(TestSupport::kPatienceMs));
    REQUIRE(readelf.exitCode() == 0);
    QList<QByteArray> names;
    for (const QByteArray& line : readelf.readAllStandardOutput().split('\n'))
        if (line.contains("(NEEDED)"))
            names << line.mid(line.indexOf('[') + 1, line.indexOf(']') - line.indexOf('[') - 1);
    return names;
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
        CHECK(QByteArray::fromHex(line.split(' ').at(1)).size() == 20);
    CHECK(isSame(stamp));
}

TEST_CASE("plug-in stamp: another build, a library that is not loaded, and no line at all are not this program")
{
    const QByteArray stamp = pluginStamp(QStringLiteral(TEST_PLUGIN));
    REQUIRE(isSame(stamp));
    for (const QByteArray& line : stamp.trimmed().split('\n')) {
        CAPTURE(line.toStdString());
        const int last = line.size() - 1 - (isFromHost(line) ? 5 : 0);
        QByteArray digit = line;
        digit[last] = digit[last] == '0' ? '1' : '0';
        CHECK_FALSE(isSame(QByteArray(stamp).replace(line, digit)));
        CHECK_FALSE(isSame(QByteArray(stamp).replace(line, line.left(last))));
        CHECK_FALSE(isSame(QByteArray(stamp).replace(line, "another-" + line)));
        CHECK(isSame(line));
    }
    CHECK_FALSE(isSame(stamp + "libnone.so.1 0123456789abcdef0123456789abcdef01234567\n"));
    for (const char* nothing : {"", "\n", " ", "libc.so.6", "libc.so.6 "})
        CHECK_FALSE(isSame(nothing));
}

TEST_CASE("plug-in stamp: the loader's list has what every library of Qt lists, and the host brings the others")
{
    const QString path = QStringLiteral(TEST_PLUGIN);
    QList<QByteArray> listed;
    QList<QByteArray> fromHost;
    for (const QByteArray& line : pluginStamp(path).trimmed().split('\n'))
        (isFromHost(line) ? fromHost : listed) << line.left(line.indexOf(' '));
    CHECK(listed == listedIn(path));
    for (const char* library : {"libtavola-core.so", "libtrellis.so"})
        CHECK_MESSAGE(fromHost.contains(library), library);
    for (const char* library : {"libQt5Core.so.5", "libstdc++.so.6", "libc.so.6"})
        CHECK_MESSAGE(listed.contains(library), library);
}

TEST_CASE("plug-in stamp: of a library that is not in the program it says whether the host has to bring it")
{
    const QByteArray stamp = pluginStamp(QStringLiteral(TEST_PLUGIN));
    CHECK(checkStamp(stamp).missing.isEmpty());
    CHECK(checkStamp("").missing.isEmpty());
    const QByteArray number = " 0123456789abcdef0123456789abcdef01234567";
    CHECK(checkStamp(stamp + "libnone.so.1" + number + "\n").missing.isEmpty());
    CHECK(checkStamp(stamp + "libnone.so.1" + number + " host\nlibother.so.2" + number + " host\n").missing == "libnone.so.1");
    CHECK(checkStamp(QByteArray("libc.so.6") + number + " host\n").missing.isEmpty());
}

TEST_CASE("plug-in stamp: a plug-in for which the host lacks a library is refused with the name of that library")
{
    TestSupport::TestHost host;
    const QTemporaryDir folder;
    QByteArray bytes = bytesOf(QStringLiteral(TEST_PLUGIN));
    const int at = bytes.indexOf(pluginStamp(QStringLiteral(TEST_PLUGIN)));
    REQUIRE(at > 0);
    bytes.replace(bytes.indexOf("libtrellis.so ", at), 13, "libtrellos.so");
    QFile file(folder.filePath(QStringLiteral("libother.so")));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    QFile package(folder.filePath(QStringLiteral("other.json")));
    REQUIRE(package.open(QIODevice::WriteOnly));
    package.write(R"({"components": {"thing": {"type": "widget"}}})");
    package.close();
    QString error;
    CHECK_FALSE(PluginLoader::load(file.fileName(), error));
    CHECK(error
          == file.fileName()
              + ": it was linked with libtrellos.so, which is not in this program; use the plug-in that was built with it");
    CHECK(host.tavola().factories().empty());
    CHECK_FALSE(host.tavola().packageOfComponent("thing"));
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
    REQUIRE(isSame(stamp));
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
