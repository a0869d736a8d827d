#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace Host
{
/// The sections of a letter's template, one for each language that it is written in:
///
///     [language de]
///     Guten Tag <name>, ...
///     [end]
///
/// The marks stand on lines of their own. What lies outside of all sections, such as links appended to the end, is part of every
/// letter. Any thread.
namespace LetterSections
{
/// The text with the sections of one language and without any mark: of the first of `languages` that has a section, or else of
/// the first section's. A text without sections stays as it is.
[[nodiscard]] QString keep(const QString& text, const QStringList& languages);
/// What is wrong with the marks of a template, with its line: a section that does not end before the next or the end of the text,
/// an end without a section. Empty when nothing is.
[[nodiscard]] QString fault(const QString& text);
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
