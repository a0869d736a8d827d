#pragma once

#include <Bedrock/Export.hpp>
#include <Cascara/StyleVocabulary.hpp>

#include <QString>

#include <memory>
#include <optional>

namespace Tavola
{
class Package;

/// A plug-in library while it is loaded. Loading reads the package file beside it (the library's name with the ending
/// .json, without a leading "lib") and then the library, whose static registrants do the rest; destroying unloads.
/// Main thread only; the application must exist for the registrants to find it. A plug-in need not list the libraries that
/// libtavola-core needs: they must be visible in the whole program, as those that it is linked with are.
class TAVOLA_EXPORT PluginLoader
{
public:
    /// Null, with the reason in `error`, when the library cannot be loaded.
    [[nodiscard]] static std::unique_ptr<PluginLoader> load(const QString& path, QString& error);
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    [[nodiscard]] const QString& path() const noexcept { return m_path; }

private:
    PluginLoader() = default;
    QString m_path;
    void* m_handle = nullptr;
    std::shared_ptr<Package> m_package;
    std::optional<Cascara::StyleVocabulary::Registrant> m_styleTypes;
};
}
