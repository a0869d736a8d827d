#include "commands/CollectionsCommand.hpp"
#include "commands/CommandLine.hpp"
#include "commands/MailCommand.hpp"
#include "commands/PeopleCommand.hpp"
#include "commands/RunCommand.hpp"

#include <Bedrock/CommandLineSecrets.hpp>
#include <Bedrock/QtMessages.hpp>

#include <QCoreApplication>
#include <QStringList>

#include <csignal>
#include <cstdio>

#include <sys/stat.h>

using Host::CollectionsCommand;
using Host::CommandLine;
using Host::MailCommand;
using Host::PeopleCommand;
using Host::RunCommand;
using Host::RunOptions;

namespace
{
/// A command that works on a presentation without opening a table.
template <class Command>
int work(const QStringList& arguments, char* program)
{
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
    {"collections", work<CollectionsCommand>},
};
}

int main(int argc, char** argv)
{
    // When the reader of the log or of an answer goes away, the write fails; the program goes on.
    std::signal(SIGPIPE, SIG_IGN);
    // Names, addresses and recordings of visitors are readable for the user of this process only.
    ::umask(077);
    const Bedrock::QtMessages qtMessages;
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    Bedrock::overwriteCommandLineSecrets(argc, argv);

    CommandLine line(
        {},
        {QStringLiteral("COMMAND ..."),
         QStringLiteral("Shows presentations on a multi-touch table.\n"
                        "\n"
                        "  run PRESENTATION [OPTION ...]  open a presentation on the table; its options: tavola run --help\n"
                        "  replay RECORDING [OPTION ...]  replay the input that a run recorded; more: tavola replay --help\n"
                        "  mail list|retry|drop ...       work on undelivered e-mail; more: tavola mail --help\n"
                        "  people list|add|import|export|remove ...\n"
                        "                                 the people a table knows; more: tavola people --help\n"
                        "  collections list|clear|import ...\n"
                        "                                 what cards have collected; more: tavola collections --help"),
         QStringLiteral("Exit code: 0 after a table that was closed, 1 when it could not open, 2 for a command line that makes "
                        "no sense.")});
    bool wantsVersion = false;
    line.addFlag("-v,--version", wantsVersion, "the program's version");
    if (arguments.isEmpty())
        return line.missingCommand();
    // The first argument is the command, and those after it are the command's own.
    if (const auto exit = line.parse(arguments.mid(0, 1)))
        return line.end(*exit);
    if (wantsVersion) {
        std::puts("tavola " TAVOLA_VERSION);
        return 0;
    }
    const QString name = arguments.takeFirst();
    if (name == QLatin1String("help"))
        return line.end({0, line.help()});
    for (const auto& command : kCommands)
        if (name == QLatin1String(command.name))
            return command.run(arguments, argv[0]);
    return line.fail(QStringLiteral("unknown command %1; see tavola --help").arg(name), 2);
}
