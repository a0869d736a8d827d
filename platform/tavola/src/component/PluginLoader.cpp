#include <Tavola/PluginLoader.hpp>

#include "component/PluginStamp.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/Package.hpp>
#include <Tavola/Tavola.hpp>

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace Tavola
{
namespace
{
/// "libthing.so" and "thing.so" are described by "thing.json".
QString packagePathOf(const QFileInfo& library)
{
    QString name = library.completeBaseName();
    if (name.startsWith(QLatin1String("lib")))
        name.remove(0, 3);
    return library.absolutePath() + QLatin1Char('/') + name + QLatin1String(".json");
}

QString loaderReason()
{
    const char* reason = dlerror();
    return reason ? QString::fromLocal8Bit(reason) : QStringLiteral("unknown reason");
}
}

std::unique_ptr<PluginLoader> PluginLoader::load(const QString& path, QString& error)
{
    const auto application = Tavola::instance();
    if (!application) {
        error = QStringLiteral("%1: there is no application to load it into").arg(path);
        return nullptr;
    }
    const QFileInfo library(path);
    if (!library.isFile()) {
        error = QStringLiteral("%1: no such file").arg(path);
        return nullptr;
    }

    std::unique_ptr<PluginLoader> plugin(new PluginLoader);
    plugin->m_path = library.absoluteFilePath();
    // The registrants read the package while the library loads, so the package comes first.
    const QString packagePath = packagePathOf(library);
    if (QFileInfo::exists(packagePath)) {
        plugin->m_package = Package::load(packagePath);
        if (plugin->m_package) {
            application->addPackage(plugin->m_package);
            plugin->m_styleTypes.emplace(plugin->m_package->styleTypes());
        }
    } else {
        Bedrock::Trace::warning("PluginLoader # %s is missing; %s can register no components", qUtf8Printable(packagePath),
                                qUtf8Printable(plugin->m_path));
    }
    const StampCheck stamp = checkStamp(pluginStamp(plugin->m_path));
    if (!stamp.missing.isEmpty()) {
        error = QStringLiteral("%1: it was linked with %2, which is not in this program; use the plug-in that was built with it")
                    .arg(plugin->m_path, stamp.missing);
        return nullptr; // the destructor removes the package
    }
    // Everything is resolved now: a missing symbol is a reason at loading, not a crash at a visitor's touch. With the very
    // libraries that the plug-in was linked with none can be missing, and most are found faster when they are first used.
    const int binding = stamp.isSame ? RTLD_LAZY : RTLD_NOW;
    plugin->m_handle = dlopen(QFile::encodeName(plugin->m_path).constData(), binding | RTLD_LOCAL);
    if (!plugin->m_handle) {
        error = loaderReason();
        return nullptr;
    }
    return plugin;
}

PluginLoader::~PluginLoader()
{
    if (m_handle && dlclose(m_handle) != 0)
        Bedrock::Trace::warning("PluginLoader # Unloading %s failed: %s", qUtf8Printable(m_path), qUtf8Printable(loaderReason()));
    const auto application = Tavola::instance();
    if (application && m_package)
        application->removePackage(m_package);
}
}
