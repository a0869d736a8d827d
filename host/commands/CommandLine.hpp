#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace Host
{
/// The command line of one of the program's commands: options, which stand anywhere, and words. With actions the words are
///
///     tavola people ACTION PRESENTATION [WORD ...] [--option VALUE ...]
///
/// A value is given as `--option VALUE` or `--option=VALUE`; one that begins with "--" needs the second form, so that a forgotten
/// value is noticed. The last one counts. A lone "-" and a negative number are words. `--help` and `-h` are
/// always options.
class CommandLine
{
public:
    /// Why the program ends without carrying out its command. Code 0: help was asked for and is the text.
    struct Exit
    {
        int code;
        QString text;
    };

    /// The parts of the help text. The list of options stands between `description` and `footer`.
    struct Help
    {
        QString usage; ///< "PRESENTATION [OPTION ...]"
        QString description;
        QString footer;
    };

    /// An option with a value.
    struct Option
    {
        const char* name; ///< "--size"
        const char* valueName;
        const char* help; ///< null: not listed
        QString wants;    ///< what the value must be, for the message about another one
        /// Stores the value; false for one that makes no sense.
        std::function<bool(const QString& value)> read;
    };

    /// `name`: the word after "tavola"; empty for the program itself. `actions`: empty for a command without any.
    CommandLine(QString name, const Help& help, QStringList actions = {});
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// An option without a value. `value` outlives the parsing.
    void addFlag(const char* name, bool& value, const char* help);
    void addOption(Option option);

    /// Nothing when all arguments make sense. `arguments` are those after the command's word. To be called once.
    [[nodiscard]] std::optional<Exit> parse(const QStringList& arguments);

    /// Parses the arguments of a command with actions, and lets `check` judge those that make sense by themselves. The code to
    /// end the program with, whose reason has been written; nothing when the command is to be carried out.
    [[nodiscard]] std::optional<int> begin(const QStringList& arguments, const std::function<std::optional<Exit>()>& check);

    [[nodiscard]] const QString& action() const noexcept { return m_action; }
    [[nodiscard]] const QString& presentation() const noexcept { return m_presentation; }
    /// All words; with actions those after the presentation.
    [[nodiscard]] const QStringList& words() const noexcept { return m_words; }
    [[nodiscard]] bool isGiven(const char* option) const;
    [[nodiscard]] QString help() const;

    /// For a command without any argument: writes the help to standard error and returns the code of a usage error.
    int missingCommand() const;
    /// Writes the exit's text to standard output, or with the command's name to standard error. Returns its code.
    int end(const Exit& exit) const;
    /// Writes an error to standard error, on one line, without control characters and secrets; returns `code`.
    int fail(const QString& text, int code) const;
    /// Writes a line to standard output, without control characters.
    static void print(const QString& line);
    /// 0, or 1 with an error when what was printed could not be written.
    [[nodiscard]] int printed() const;

private:
    std::optional<Exit> readActionWords();

    struct Private;
    std::unique_ptr<Private> d;
    QString m_name;
    QStringList m_actions;
    QString m_action;
    QString m_presentation;
    QStringList m_words;
};
}
