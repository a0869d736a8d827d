#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace Host
{
/// Templates of letters: their sections, one for each language that a letter is written in, and their HTML. Any thread.
///
///     [language de]
///     Guten Tag <name>, ...
///     [end]
///
/// The marks stand on lines of their own. What lies outside of all sections, such as links appended to the end, is part of every
/// letter.
namespace LetterTemplate
{
/// The text with the sections of one language and without any mark: of the first of `languages` that has a section, or else of
/// the first section's. A text without sections stays as it is.
[[nodiscard]] QString inLanguage(const QString& text, const QStringList& languages);
/// What is wrong with the marks of a template, with its line: a section that does not end before the next or the end of the text,
/// an end without a section. Empty when nothing is.
[[nodiscard]] QString fault(const QString& text);

struct Html
{
    QString htmlTemplate;
    QString textTemplate;
    QString text;     ///< the text template, filled
    QString name;     ///< the replacement of "<name>"
    QString addendum; ///< lines added before the end; may be empty
};
/// The HTML part of a message whose text part is filled already. In the HTML template "<name>" becomes the recipient's name,
/// "<links>" the lines that the text part has in place of its own "<links>" (or at its end), "<content>" the whole text part. A
/// template without the latter two gets the links before its end. Everything filled in is escaped; web addresses become links.
[[nodiscard]] QString compose(const Html& parts);
}

/// A text that may be written in several languages. A plain value.
struct TextInLanguages
{
    TextInLanguages() = default;
    /// One text for every language.
    TextInLanguages(const QString& text) : texts{{QString(), text}} {} // NOLINT(google-explicit-constructor)

    QMap<QString, QString> texts; ///< by tag; "" is for all others

    /// In the first of `languages` that there is, or else the text for all others, or else any.
    [[nodiscard]] QString in(const QStringList& languages) const;
    [[nodiscard]] bool isEmpty() const noexcept { return texts.isEmpty(); }
};
}
