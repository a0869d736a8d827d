#include "table/PluginSearch.hpp"

#include <Tavola/PluginLoader.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace Host
{
QStringList pluginFolders()
{
    QStringList folders = QString::fromLocal8Bit(qgetenv("TAVOLA_PLUGIN_PATH")).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    const QDir program(QCoreApplication::applicationDirPath());
    for (const char* folder : {".", "../lib", "../lib/tavola"})
        folders << QDir::cleanPath(program.absoluteFilePath(QLatin1String(folder)));
    return folders;
}

bool isPluginPath(const QString& nameOrPath)
{
    return nameOrPath.contains(QLatin1Char('/'));
}

QString findPlugin(const QString& nameOrPath)
{
    if (isPluginPath(nameOrPath)) {
        const QFileInfo info(nameOrPath);
        return info.isFile() ? info.absoluteFilePath() : QString();
    }
    const QStringList folders = pluginFolders();
    for (const QString& folder : folders)
        for (const QString& prefix : {QString(), QStringLiteral("lib")}) {
            const QFileInfo info(QDir(folder).filePath(prefix + nameOrPath + QStringLiteral(".so")));
            if (info.isFile())
                return info.absoluteFilePath();
        }
    return {};
}

std::unique_ptr<Tavola::PluginLoader> loadPlugin(const QString& nameOrPath, QString& error)
{
    const QString path = findPlugin(nameOrPath);
    if (path.isEmpty()) {
        error = isPluginPath(nameOrPath) ? QStringLiteral("there is no plug-in file %1").arg(nameOrPath)
                                         : QStringLiteral("there is no plug-in %1; looked for in %2")
                                               .arg(nameOrPath, pluginFolders().join(QStringLiteral(", ")));
        if (!isPluginPath(nameOrPath) && nameOrPath.endsWith(QLatin1String(".so")))
            error += QStringLiteral(". A file is named with a slash: ./%1").arg(nameOrPath);
        return nullptr;
    }
    QString reason;
    auto plugin = Tavola::PluginLoader::load(path, reason);
    if (!plugin)
        error = QStringLiteral("plug-in %1 cannot be loaded: %2").arg(path, reason);
    return plugin;
}
}
