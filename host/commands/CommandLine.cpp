#include "commands/CommandLine.hpp"

#include <algorithm>
#include <cstdio>

namespace Host
{
namespace
{
/// "list, retry or drop"
QString oneOf(const QStringList& words)
{
    return QStringList(words.mid(0, words.size() - 1)).join(QLatin1String(", ")) + QStringLiteral(" or ") + words.last();
}

bool isOption(const QString& argument)
{
    return argument.size() > 1 && argument[0] == QLatin1Char('-') && !argument[1].isDigit();
}
}

CommandLine::CommandLine(QString command, QStringList actions, std::vector<Option> options)
    : m_command(std::move(command)), m_actions(std::move(actions)), m_options(std::move(options))
{
}

bool CommandLine::parse(const QStringList& arguments, QString& error)
{
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const auto option =
            std::find_if(m_options.begin(), m_options.end(), [&](const Option& known) { return known.name == argument; });
        if (option != m_options.end()) {
            if (i + 1 == arguments.size() || (arguments[i + 1].isEmpty() && !option->mayBeEmpty)) {
                error = QStringLiteral("%1 wants %2").arg(argument, option->wants);
                return false;
            }
            *option->value = arguments[++i];
            m_givenOptions << argument;
        } else if (isOption(argument)) {
            error = QStringLiteral("unknown option %1; see tavola %2 --help").arg(argument, m_command);
            return false;
        } else if (m_action.isEmpty()) {
            m_action = argument;
        } else if (m_presentation.isEmpty()) {
            m_presentation = argument;
        } else {
            m_words << argument;
        }
    }
    if (!m_actions.contains(m_action)) {
        error = QStringLiteral("%1? See tavola %2 --help").arg(oneOf(m_actions), m_command);
        return false;
    }
    if (m_presentation.isEmpty()) {
        error = QStringLiteral("which presentation? Give its folder, for example: tavola %1 %2 presentations/gallery")
                    .arg(m_command, m_actions.first());
        return false;
    }
    return true;
}

int CommandLine::fail(const QString& text, int code) const
{
    std::fprintf(stderr, "tavola %s: %s\n", m_command.toUtf8().constData(), text.toUtf8().constData());
    return code;
}

void CommandLine::print(const QString& line)
{
    std::printf("%s\n", line.toUtf8().constData());
}

int CommandLine::printed() const
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return 0;
    return fail(QStringLiteral("cannot write to standard output"), 1);
}
}
