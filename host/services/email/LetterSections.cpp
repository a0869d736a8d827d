#include "LetterSections.hpp"

#include <QRegularExpression>

#include <optional>

namespace Host
{
namespace
{
const QString kEnd = QStringLiteral("[end]");

/// The language of the section that a line begins; nothing for other lines.
std::optional<QString> languageBegun(const QString& line)
{
    static const QRegularExpression begin(QStringLiteral("\\A\\s*\\[language ([A-Za-z0-9-]+)\\]\\s*\\z"));
    const auto match = begin.match(line);
    return match.hasMatch() ? std::optional(match.captured(1).toLower()) : std::nullopt;
}

bool isEnd(const QString& line)
{
    return line.trimmed() == kEnd;
}

QString chosen(const QStringList& lines, const QStringList& languages)
{
    QStringList there;
    for (const QString& line : lines)
        if (const auto language = languageBegun(line))
            there << *language;
    for (const QString& language : languages)
        if (there.contains(language))
            return language;
    return there.value(0);
}
}

QString LetterSections::keep(const QString& text, const QStringList& languages)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    const QString language = chosen(lines, languages);
    if (language.isEmpty())
        return text;
    QStringList kept;
    std::optional<QString> section;
    for (const QString& line : lines) {
        if (const auto begun = languageBegun(line))
            section = begun;
        else if (section && isEnd(line))
            section.reset();
        else if (!section || *section == language)
            kept << line;
    }
    return kept.join(QLatin1Char('\n'));
}

QString LetterSections::fault(const QString& text)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    int begun = 0; // the line of the open section
    const auto open = [&] {
        return QStringLiteral("line %1: the section does not end; write [end] on a line after it").arg(begun);
    };
    for (int i = 0; i < lines.size(); ++i) {
        const bool begins = languageBegun(lines[i]).has_value();
        if (begins && begun)
            return open();
        if (!begins && !isEnd(lines[i]))
            continue;
        if (!begins && !begun)
            return QStringLiteral("line %1: [end] without a section; begin one with [language de] on a line before it")
                .arg(i + 1);
        begun = begins ? i + 1 : 0;
    }
    return begun ? open() : QString();
}

QString TextInLanguages::in(const QStringList& languages) const
{
    for (const QString& language : languages)
        if (const auto found = texts.find(language); found != texts.end())
            return *found;
    const auto others = texts.find(QString());
    return others != texts.end() || texts.isEmpty() ? texts.value(QString()) : texts.first();
}
}
