#include "commands/MailCommand.hpp"
#include "commands/PeopleCommand.hpp"
#include "commands/RunCommand.hpp"

#include <QCoreApplication>
#include <QStringList>

#include <csignal>
#include <cstdio>

#include <sys/stat.h>

using Host::MailCommand;
using Host::PeopleCommand;
using Host::RunCommand;
using Host::RunOptions;

namespace
{
const char* const kHelp =
    "usage: tavola COMMAND ...\n"
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

bool asksForHelp(const QString& argument)
{
    return asksFor(argument, "--help", "-h") || argument == QLatin1String("help");
}

/// Prints the text that was asked for, or, when nothing was, what could have been: then that is a mistake.
int printHelp(const char* help, bool wasAskedFor)
{
    std::fputs(help, wasAskedFor ? stdout : stderr);
    return wasAskedFor ? 0 : 2;
}

/// A command that works on a presentation without opening a table.
template <class Command>
int work(const QStringList& arguments, char* program)
{
    if (arguments.isEmpty() || asksForHelp(arguments.first()))
        return printHelp(Command::help(), !arguments.isEmpty());
    int programOnly = 1;
    char* argv[] = {program, nullptr};
    const QCoreApplication application(programOnly, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavola"));
    return Command::run(arguments);
}

template <RunOptions::Command command>
int openTable(const QStringList& arguments, char* program)
{
    return RunCommand::run(command, arguments, program);
}

const struct
{
    const char* name;
    int (*run)(const QStringList& arguments, char* program);
} kCommands[] = {
    {"run", openTable<RunOptions::Command::Run>},
    {"replay", openTable<RunOptions::Command::Replay>},
    {"mail", work<MailCommand>},
    {"people", work<PeopleCommand>},
};
}

int main(int argc, char** argv)
{
    // A reader of the log or of a client's answer that goes away costs what is written to it, not the program.
    std::signal(SIGPIPE, SIG_IGN);
    // Names, addresses and recordings of visitors are nobody else's business on this machine.
    ::umask(077);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (arguments.isEmpty() || asksForHelp(arguments.first()))
        return printHelp(kHelp, !arguments.isEmpty());
    if (asksFor(arguments.first(), "--version", "-v")) {
        std::puts("tavola " TAVOLA_VERSION);
        return 0;
    }
    const QString name = arguments.takeFirst();
    for (const auto& command : kCommands)
        if (name == QLatin1String(command.name))
            return command.run(arguments, argv[0]);
    std::fprintf(stderr, "tavola: unknown command %s; see tavola --help\n", name.toUtf8().constData());
    return 2;
}
