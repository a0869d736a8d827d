#include "commands/RunCommand.hpp"

#include "input/TableInput.hpp"
#include "inspector/Inspector.hpp"
#include "inspector/TableLog.hpp"
#include "presentation/Presentation.hpp"
#include "table/PluginSearch.hpp"
#include "table/RunLoop.hpp"
#include "table/Table.hpp"
#include "table/TemporaryPlace.hpp"
#include "window/Display.hpp"
#include "window/TableWindow.hpp"

#include <Bedrock/LargeHeap.hpp>
#include <Bedrock/LogText.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FontRules.hpp>

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QScreen>
#include <QStandardPaths>

#include <cstdio>
#include <memory>
#include <optional>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace Host
{
namespace
{
int fail(const QString& text, int code)
{
    std::fprintf(stderr, "tavola: %s\n", Bedrock::onOneLine(Bedrock::withoutSecrets(text.toStdString())).c_str());
    return code;
}

void say(const QString& text)
{
    std::printf("tavola: %s\n", Bedrock::onOneLine(text.toStdString()).c_str());
    std::fflush(stdout);
}

/// Makes the application. Qt's offscreen platform never frees its screen, which is no leak of the table.
void makeApplication(std::optional<QGuiApplication>& application, int& argc, char** argv)
{
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler disabler;
#endif
    application.emplace(argc, argv);
}

/// Null, with the reason in `error`, when it cannot listen.
std::unique_ptr<Inspector> openInspector(Table& table, const TableLog& log, const RunOptions& options, QString& error)
{
    auto inspector = std::make_unique<Inspector>(
        Inspector::Subject{table.application(), log, &table.input(), options.manualClock, [&table] { return table.mailState(); },
                           [&table](double dt) { return table.frame(dt).has_value(); }, [&table] { return table.listeners(); },
                           [&table] { return table.collectionState(); }});
    if (!inspector->listen(*options.inspectPort, error)) {
        error = QStringLiteral("the inspector is not reachable. %1").arg(error);
        return nullptr;
    }
    say(QStringLiteral("inspector on http://127.0.0.1:%1/").arg(inspector->port()));
    return inspector;
}

std::unique_ptr<TableWindow> openWindow(Table& table, const Presentation& presentation, const RunOptions& options)
{
    constexpr float kCardRadiusMm = 35.f;
    const Vecta::Vector2f size = table.application().size();
    // A replay keeps the recorded size whatever shows it.
    const auto fit = table.isReplay() ? std::optional(ScreenFit::Scale)
        : options.table.fit           ? options.table.fit
                                      : presentation.fit;
    return std::make_unique<TableWindow>(table.application(), options.window(presentation.title, QSize(int(size.x), int(size.y))),
                                         presentation.cards, kCardRadiusMm / presentation.pixelPitchMm, fit);
}

/// What a recording may not do: load code from a file that only the presentation it names names. Empty when it does not.
QString untrustedPlugin(const Presentation& presentation, const RunOptions& options)
{
    if (!options.isPresentationRecorded || !options.table.plugin.isEmpty())
        return {};
    for (const QString& plugin : presentation.plugins)
        if (isPluginPath(plugin))
            return QStringLiteral("the presentation that %1 names loads the plug-in %2 by its path. To allow that, name the "
                                  "presentation, too: tavola replay %1 %3")
                .arg(options.table.replayFile, plugin, options.presentation);
    return {};
}

int runTable(const RunOptions& options, const TableLog& log)
{
    QString error;
    const auto presentation = Presentation::load(options.presentation, error);
    if (!presentation)
        return fail(error, 1);

    error = untrustedPlugin(*presentation, options);
    if (!error.isEmpty())
        return fail(error, 1);

    const auto table = Table::open(*presentation, options.table, error);
    if (!table)
        return fail(error, 1);
    for (const QJsonValue& listener : table->listeners())
        say(QStringLiteral("TUIO on ") + listener.toObject().value(QLatin1String("tuio")).toString());
    if (table->isReplay())
        say(QStringLiteral("replays ") + options.table.replayFile);

    std::unique_ptr<Inspector> inspector;
    if (options.inspectPort) {
        inspector = openInspector(*table, log, options, error);
        if (!inspector)
            return fail(error, 1);
    }
    std::unique_ptr<TableWindow> window;
    if (!options.headless)
        window = openWindow(*table, *presentation, options);
    // From here on the table closes in order at SIGTERM, so the line that announces it may be waited for.
    RunLoop loop(*table, window.get(), options.manualClock);
    say(QStringLiteral("%1 is open").arg(presentation->title.isEmpty() ? presentation->folder : presentation->title));
    return loop.run();
}
}

int RunCommand::run(RunOptions::Command command, const QStringList& arguments, char* program)
{
    // About what a table with a few pictures and languages has in its heap after its first frames.
    Bedrock::useLargeHeapPages(std::size_t(8) << 20);
    auto options = RunOptions::parse(arguments, command);
    if (!options) {
        if (options.error().code != 0)
            return fail(options.error().text, options.error().code);
        std::fputs(options.error().text.toUtf8().constData(), stdout);
        return 0;
    }
    if (options->presentation.isEmpty()) {
        QString error;
        options->presentation = recordedPresentation(options->table.replayFile, error);
        options->isPresentationRecorded = true;
        if (options->presentation.isEmpty())
            return fail(error, 1);
    }
    if (!options->headless && !hasDisplay(QProcessEnvironment::systemEnvironment())) {
        options->headless = true;
        say(QStringLiteral("there is no display; running without a window"));
    }
    if (options->headless && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    const TableLog log;
    // Before Qt's application, which makes folders.
    const TemporaryPlace temporary;
    if (!temporary.isValid())
        return fail(temporary.error(), 1);
    if (command == RunOptions::Command::Replay && options->table.dataFolder.isEmpty())
        options->table.dataFolder = temporary.path() + QStringLiteral("/data");

    Trellis::useTableFontRules();
    std::optional<QGuiApplication> application;
    // Qt would take some of the table's options for its own.
    int programOnly = 1;
    char* argv[] = {program, nullptr};
    makeApplication(application, programOnly, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tavola"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    options->table.decodedFolder =
        QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/tavola/decoded");
    if (options->fullScreen && !options->headless)
        options->table.screen = QGuiApplication::primaryScreen()->size();
    return runTable(*options, log);
}
}
