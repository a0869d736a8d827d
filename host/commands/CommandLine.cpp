#include "commands/CommandLine.hpp"

#include <Bedrock/LogText.hpp>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace Host
{
namespace
{
constexpr int kUsageError = 2;
constexpr std::size_t kHelpColumn = 28;

/// "list, retry or drop"
QString oneOf(const QStringList& words)
{
    return QStringList(words.mid(0, words.size() - 1)).join(QLatin1String(", ")) + QStringLiteral(" or ") + words.last();
}

/// Usage first, then what the command does, its options and the footer.
class HelpFormatter final : public CLI::Formatter
{
public:
    explicit HelpFormatter(std::string usage) : m_usage(std::move(usage)) { column_width(kHelpColumn); }

    std::string make_help(const CLI::App* app, std::string, CLI::AppFormatMode mode) const override
    {
        // A group of options that are not listed leaves an empty line behind.
        std::string options = make_groups(app, mode);
        options.erase(options.find_last_not_of('\n') + 1);
        return "usage: " + m_usage + '\n' + make_description(app) + options + "\n\n" + make_footer(app);
    }

private:
    std::string m_usage;
};
}

struct CommandLine::Private
{
    struct Known
    {
        Option option;
        CLI::Option* parsed;
    };

    CLI::App app;
    std::vector<Known> options;

    /// The option whose value is missing, or null.
    const Option* withoutValue(const QStringList& arguments) const
    {
        for (int i = 0; i < arguments.size(); ++i)
            for (const Known& known : options)
                if (arguments[i] == QLatin1String(known.option.name)
                    && (i + 1 == arguments.size() || arguments[i + 1].startsWith(QLatin1String("--"))))
                    return &known.option;
        return nullptr;
    }
    static Exit wrongValue(const Option& option)
    {
        return {kUsageError, QStringLiteral("%1 wants %2").arg(QLatin1String(option.name), option.wants)};
    }
};

CommandLine::CommandLine(QString name, const Help& help, QStringList actions)
    : d(std::make_unique<Private>()), m_name(name.isEmpty() ? QStringLiteral("tavola") : QStringLiteral("tavola ") + name),
      m_actions(std::move(actions))
{
    d->app.name(m_name.toStdString());
    d->app.description(help.description.toStdString());
    d->app.footer(help.footer.toStdString());
    d->app.set_help_flag("-h,--help", "this text");
    d->app.formatter(std::make_shared<HelpFormatter>((m_name + QLatin1Char(' ') + help.usage).toStdString()));
    // The words are sorted out here, so that what is wrong with them can be said in the command's own terms.
    d->app.allow_extras();
}

CommandLine::~CommandLine() = default;

void CommandLine::addFlag(const char* name, bool& value, const char* help)
{
    d->app.add_flag(name, value, help);
}

void CommandLine::addOption(Option option)
{
    CLI::Option* parsed = d->app.add_option(option.name);
    parsed->type_name(option.valueName)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    if (option.help)
        parsed->description(option.help);
    else
        parsed->group("");
    d->options.push_back({std::move(option), parsed});
}

std::optional<CommandLine::Exit> CommandLine::parse(const QStringList& arguments)
{
    if (const Option* option = d->withoutValue(arguments))
        return Private::wrongValue(*option);
    std::vector<std::string> reversed;
    for (const QString& argument : arguments)
        reversed.insert(reversed.begin(), argument.toStdString());
    try {
        d->app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return Exit{0, help()};
    } catch (const CLI::ParseError& error) {
        return Exit{kUsageError, QStringLiteral("%1; see %2 --help").arg(QString::fromUtf8(error.what()), m_name)};
    }
    for (const std::string& word : d->app.remaining())
        m_words << QString::fromStdString(word);
    for (const QString& word : qAsConst(m_words))
        if (word.size() > 1 && word[0] == QLatin1Char('-') && !word[1].isDigit())
            return Exit{kUsageError, QStringLiteral("unknown option %1; see %2 --help").arg(word, m_name)};
    for (const Private::Known& known : d->options)
        if (known.parsed->count() > 0 && !known.option.read(QString::fromStdString(known.parsed->results().back())))
            return Private::wrongValue(known.option);
    return m_actions.isEmpty() ? std::nullopt : readActionWords();
}

std::optional<CommandLine::Exit> CommandLine::readActionWords()
{
    m_action = m_words.value(0);
    m_presentation = m_words.value(1);
    m_words = m_words.mid(2);
    if (m_action == QLatin1String("help"))
        return Exit{0, help()};
    if (!m_actions.contains(m_action))
        return Exit{kUsageError, QStringLiteral("%1? See %2 --help").arg(oneOf(m_actions), m_name)};
    if (m_presentation.isEmpty())
        return Exit{kUsageError,
                    QStringLiteral("which presentation? Give its folder, for example: %1 %2 presentations/gallery")
                        .arg(m_name, m_actions.first())};
    return std::nullopt;
}

bool CommandLine::isGiven(const char* option) const
{
    return d->app.count(option) > 0;
}

QString CommandLine::help() const
{
    return QString::fromStdString(d->app.help());
}

std::optional<int> CommandLine::begin(const QStringList& arguments, const std::function<std::optional<Exit>()>& check)
{
    if (arguments.isEmpty())
        return missingCommand();
    auto exit = parse(arguments);
    if (!exit)
        exit = check();
    return exit ? std::optional(end(*exit)) : std::nullopt;
}

int CommandLine::missingCommand() const
{
    std::fputs(help().toUtf8().constData(), stderr);
    return kUsageError;
}

int CommandLine::end(const Exit& exit) const
{
    if (exit.code != 0)
        return fail(exit.text, exit.code);
    std::fputs(exit.text.toUtf8().constData(), stdout);
    return 0;
}

int CommandLine::fail(const QString& text, int code) const
{
    std::fprintf(stderr, "%s: %s\n", m_name.toUtf8().constData(),
                 Bedrock::onOneLine(Bedrock::withoutSecrets(text.toStdString())).c_str());
    return code;
}

void CommandLine::print(const QString& line)
{
    std::printf("%s\n", Bedrock::onOneLine(line.toStdString()).c_str());
}

int CommandLine::printed() const
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return 0;
    return fail(QStringLiteral("cannot write to standard output"), 1);
}
}
