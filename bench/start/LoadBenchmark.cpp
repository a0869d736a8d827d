// Row 15: the plug-in loaded and registered, against an empty library of Qt. What the plug-in links is in the program already.

#include "support/Compare.hpp"

#include <Tavola/PluginLoader.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Application.hpp>

#include <QNetworkRequest>

#include <dlfcn.h>

#include <stdexcept>

namespace
{
void loadPlugin(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    const auto tavola = Tavola::Tavola::create();
    // Keeps the library of Qt's network in the program, as the host does.
    benchmark::DoNotOptimize(QNetworkRequest());
    std::unique_ptr<Tavola::PluginLoader> plugin;
    void* empty = nullptr;
    const auto unload = [&empty] {
        if (empty)
            dlclose(empty);
        empty = nullptr;
    };
    Bench::compare(state,
                   {[&](long) {
                        QString error;
                        plugin = Tavola::PluginLoader::load(QStringLiteral(PLUGIN_FILE), error);
                        if (!plugin || tavola->factories().empty())
                            throw std::runtime_error("the plug-in is not loaded: " + error.toStdString());
                    },
                    [&] { plugin.reset(); }, 1},
                   {[&](long) {
                        empty = dlopen(EMPTY_FILE, RTLD_LAZY | RTLD_LOCAL); // as a plug-in that is linked with this program
                        if (!empty)
                            throw std::runtime_error(dlerror());
                    },
                    unload, 1});
    plugin.reset();
    unload();
}

const Bench::Row kRow([] { Bench::add("row15/load", loadPlugin); });
}
