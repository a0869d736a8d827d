#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace Tavola
{
class PluginLoader;
}

namespace Host
{
/// The folders in which plug-ins are searched by name: those of TAVOLA_PLUGIN_PATH (separated by ':'), then beside the program,
/// in ../lib and ../lib/tavola of it.
[[nodiscard]] QStringList pluginFolders();

/// Whether a plug-in is given by its file, which is then not searched for: it has a slash. A bare name never means a file of the
/// current directory.
[[nodiscard]] bool isPluginPath(const QString& nameOrPath);

/// The absolute path of a plug-in's library, by name ("tavola-personal") or path; empty when there is none.
[[nodiscard]] QString findPlugin(const QString& nameOrPath);

/// Loads a plug-in by name or path. Null, with the reason in `error`, when there is none or it cannot be loaded. Main thread.
[[nodiscard]] std::unique_ptr<Tavola::PluginLoader> loadPlugin(const QString& nameOrPath, QString& error);
}
