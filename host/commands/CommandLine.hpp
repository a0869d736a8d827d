#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace Host
{
/// The command line of a command that works on a presentation:
///
///     tavola people ACTION PRESENTATION [WORD ...] [--option VALUE ...]
///
/// Options stand anywhere. A lone "-" and what looks like a negative number are words; whatever else begins with "-" is an
/// option.
class CommandLine
{
public:
    struct Option
    {
        QString name;
        QString* value;          ///< takes what stands behind the name; outlives the parsing
        QString wants;           ///< what that is, for the message of one without
        bool mayBeEmpty = false; ///< the empty text is a value, too
    };

    /// `command`: the word behind "tavola".
    CommandLine(QString command, QStringList actions, std::vector<Option> options);

    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// False, with the reason in `error`, for arguments that make no sense. `arguments` stand after the command's word.
    [[nodiscard]] bool parse(const QStringList& arguments, QString& error);

    [[nodiscard]] const QString& action() const noexcept { return m_action; }
    [[nodiscard]] const QString& presentation() const noexcept { return m_presentation; }
    /// Behind the presentation.
    [[nodiscard]] const QStringList& words() const noexcept { return m_words; }
    /// The names of the options that were given, in their order.
    [[nodiscard]] const QStringList& givenOptions() const noexcept { return m_givenOptions; }

    /// Says on standard error what went wrong; returns `code`.
    int fail(const QString& text, int code) const;
    /// A line to standard output.
    static void print(const QString& line);
    /// 0, or 1 with a word when what was printed did not get out.
    [[nodiscard]] int printed() const;

private:
    QString m_command;
    QStringList m_actions;
    std::vector<Option> m_options;
    QString m_action;
    QString m_presentation;
    QStringList m_words;
    QStringList m_givenOptions;
};
}
