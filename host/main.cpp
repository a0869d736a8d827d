#include "commands/MailCommand.hpp"
#include "commands/PeopleCommand.hpp"
#include "commands/RunOptions.hpp"
#include "input/TableInput.hpp"
#include "inspector/Inspector.hpp"
#include "presentation/Presentation.hpp"
#include "table/RunLoop.hpp"
#include "table/Table.hpp"
#include "table/TableLog.hpp"
#include "window/TableWindow.hpp"

#include <Trellis/Application.hpp>

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>

#include <sys/stat.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace
{
int fail(const QString& text, int code)
{
    std::fprintf(stderr, "tavola: %s\n", text.toUtf8().constData());
    return code;
}

void say(const QString& text)
{
    std::printf("tavola: %s\n", text.toUtf8().constData());
    std::fflush(stdout);
}

/// Makes the application. Qt's offscreen platform never frees its screen, which is not to be taken for a leak of the table.
void makeApplication(std::optional<QGuiApplication>& application, int& argc, char** argv)
{
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler disabler;
#endif
    application.emplace(argc, argv);
}

Lantern::WindowOptions windowOptions(const Presentation& presentation, const RunOptions& options,
                                     const Trellis::Application& application)
{
    Lantern::WindowOptions result;
    result.size = QSize(int(application.size().x), int(application.size().y));
    result.title = presentation.title;
    result.isFullScreen = options.fullScreen;
    if (options.openGL)
        result.drawing = Lantern::WindowOptions::Drawing::OpenGl;
    return result;
}

int run(const RunOptions& options)
{
    const TableLog log;
    QString error;
    const auto presentation = Presentation::load(options.presentation, error);
    if (!presentation)
        return fail(error, 1);

    const auto table = Table::open(*presentation, options, error);
    if (!table)
        return fail(error, 1);
    for (const QJsonValue& listener : table->listeners())
        say(QStringLiteral("TUIO on ") + listener.toObject().value(QLatin1String("tuio")).toString());
    if (table->isReplay())
        say(QStringLiteral("replays ") + options.replayFile);

    std::unique_ptr<Inspector> inspector;
    if (options.inspectPort) {
        inspector = std::make_unique<Inspector>(Inspector::Subject{table->application(), log, &table->input(), options.manualClock,
                                                                     [&table] { return table->mailState(); },
                                                                     [&table](double dt) { return table->frame(dt).has_value(); },
                                                                     [&table] { return table->listeners(); }});
        if (!inspector->listen(*options.inspectPort, error))
            return fail(QStringLiteral("the inspector cannot listen on port %1: %2").arg(*options.inspectPort).arg(error), 1);
        say(QStringLiteral("inspector on http://127.0.0.1:%1/").arg(inspector->port()));
    }

    std::unique_ptr<TableWindow> window;
    if (!options.headless) {
        constexpr float kCardRadiusMm = 35.f;
        window = std::make_unique<TableWindow>(table->application(), windowOptions(*presentation, options, table->application()),
                                               presentation->cards, kCardRadiusMm / presentation->pixelPitchMm);
    }
    say(QStringLiteral("%1 is open").arg(presentation->title.isEmpty() ? presentation->folder : presentation->title));
    return RunLoop(*table, window.get(), options.manualClock).run();
}

const char* const kHelp = "usage: tavola COMMAND ...\n"
                          "Shows presentations on a multi-touch table.\n"
                          "\n"
                          "  run PRESENTATION [OPTION ...]  open a presentation on the table; its options: tavola run --help\n"
                          "  replay RECORDING [OPTION ...]  replay the input that a run recorded; more: tavola replay --help\n"
                          "  mail list|retry|drop ...       work on undelivered e-mail; more: tavola mail --help\n"
                          "  people list|add|import|export|remove ...\n"
                          "                                 the people a table knows; more: tavola people --help\n"
                          "\n"
                          "  --help     this text\n"
                          "  --version  the program's version\n"
                          "\n"
                          "Exit code: 0 after a table that was closed, 1 when it could not open, 2 for a command line that makes no sense.\n";

bool asksFor(const QString& argument, const char* longName, const char* shortName)
{
    return argument == QLatin1String(longName) || argument == QLatin1String(shortName);
}

/// A desktop's, or one that Qt is told to use without a desktop (eglfs, linuxfb).
bool hasDisplay()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty())
        return platform != "offscreen" && platform != "minimal";
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

bool asksForHelp(const QString& argument)
{
    return asksFor(argument, "--help", "-h") || argument == QLatin1String("help");
}
}

int main(int argc, char** argv)
{
    // Names, addresses and recordings of visitors are nobody else's business on this machine.
    ::umask(077);
    bool headless = !hasDisplay();
    for (int i = 1; i < argc; ++i)
        headless = headless || std::strcmp(argv[i], "--headless") == 0;
    if (headless && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (arguments.isEmpty()) {
        std::fputs(kHelp, stderr);
        return 2;
    }
    if (asksForHelp(arguments.first())) {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (asksFor(arguments.first(), "--version", "-v")) {
        std::puts("tavola " TAVOLA_VERSION);
        return 0;
    }
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("mail")) {
        if (arguments.isEmpty() || asksForHelp(arguments.first())) {
            std::fputs(MailCommand::help(), arguments.isEmpty() ? stderr : stdout);
            return arguments.isEmpty() ? 2 : 0;
        }
        const QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("tavola"));
        return MailCommand::run(arguments);
    }
    if (command == QLatin1String("people")) {
        if (arguments.isEmpty() || asksForHelp(arguments.first())) {
            std::fputs(PeopleCommand::help(), arguments.isEmpty() ? stderr : stdout);
            return arguments.isEmpty() ? 2 : 0;
        }
        const QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("tavola"));
        return PeopleCommand::run(arguments);
    }
    const auto kind = command == QLatin1String("replay") ? RunOptions::Command::Replay : RunOptions::Command::Run;
    if (command != QLatin1String("run") && kind != RunOptions::Command::Replay)
        return fail(QStringLiteral("unknown command %1; see tavola --help").arg(command), 2);
    if (std::any_of(arguments.begin(), arguments.end(), [](const QString& argument) { return asksFor(argument, "--help", "-h"); })) {
        std::fputs(RunOptions::help(kind).toUtf8().constData(), stdout);
        return 0;
    }
    QString error;
    auto options = RunOptions::parse(arguments, error, kind);
    if (!options)
        return fail(error, 2);
    if (options->presentation.isEmpty()) {
        options->presentation = recordedPresentation(options->replayFile, error);
        if (options->presentation.isEmpty())
            return fail(error, 1);
    }
    if (headless && !options->headless) {
        options->headless = true;
        say(QStringLiteral("there is no display; running without a window"));
    }

    std::optional<QGuiApplication> application;
    // Qt would take some of the table's options for its own.
    int programOnly = 1;
    makeApplication(application, programOnly, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tavola"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    if (options->fullScreen && !options->headless && !options->size)
        options->size = QGuiApplication::primaryScreen()->size();
    return run(*options);
}
