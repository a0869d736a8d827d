#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace Host
{
/// The texts of a presentation in one language, from a file such as "languages/de.json": an object of names and texts,
///
///     { "sent": "Gesendet.", "back": "Zurück" }
///
/// which style sheets name as variables: `text: var(--sent)`. A plain record.
struct LanguageTexts
{
    struct Text
    {
        QString name;
        QString text;
        int line = 0; ///< of the file
    };

    QString tag;  ///< the file's name in lower case: "de", "pt-br"
    QString file; ///< absolute path
    std::vector<Text> texts;

    /// The files of folders, in the order of the folders, then of the tags. A file that cannot be read, a name or a text that
    /// is none, and a text that another language of the same folder has are each a warning with file and line; the rest is
    /// read. Blocks.
    [[nodiscard]] static std::vector<LanguageTexts> read(const QStringList& folders);

    /// The texts as a style sheet that defines them for the nodes that `selector` matches.
    [[nodiscard]] QString styleSheet(const QString& selector) const;
};

/// The style sheets of these languages, in the order in which they are to be added, before those of a presentation. What opens at
/// a card of a language gets its texts; the rest of the table, and each text that is missing, has the table's language; what that
/// lacks is English.
struct LanguageSheet
{
    QString css;
    QString file; ///< the file of texts, for messages
};
[[nodiscard]] std::vector<LanguageSheet> languageSheets(const std::vector<LanguageTexts>& languages,
                                                        const QString& tableLanguage);
}
