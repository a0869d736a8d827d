#pragma once

#include <QString>

#include <vector>

namespace Host
{
/// A card and its owner. A plain record.
struct Person
{
    unsigned long code = 0;
    QString name;
    QString email;
    QString contentKey;
    int kind = 0;       ///< marker kind: 0 personal, 3 unregistered
    QString language{}; ///< a language tag in lower case, "de"; empty: that of the table

    friend bool operator==(const Person& a, const Person& b)
    {
        return a.code == b.code && a.name == b.name && a.email == b.email && a.contentKey == b.contentKey && a.kind == b.kind
            && a.language == b.language;
    }
};

/// Reads and writes people as comma-separated values (RFC 4180: quoted fields, doubled quotes, line breaks in quotes; UTF-8, a
/// byte order mark is skipped). Blanks around a field are dropped, those in quotes are kept; a line break in quotes is read as
/// LF. The first line names the columns: code, name, email, content-key, kind, language; only code is required. "kind" is
/// personal, unregistered or a number, "language" a language tag.
class PeopleFile
{
public:
    enum class Addresses { AsTheyAre, Checked };

    /// The people in a file. A line with a mistake is skipped with a warning that names file and line: an invalid or repeated
    /// code, an unknown kind, more fields than columns, a quote that is never closed. Invalid UTF-8, and an e-mail address or a
    /// language that is none, are read as an empty text, an unknown column is skipped, each with a warning. `complete`: the file
    /// exists and there was no warning.
    [[nodiscard]] static std::vector<Person> read(const QString& path, bool& complete);
    /// As for a file. Texts of a registry have the addresses as visitors typed them.
    [[nodiscard]] static std::vector<Person> parse(const QString& text, const QString& fileName, bool& complete,
                                                   Addresses addresses = Addresses::AsTheyAre);
    enum class Formulas {
        Keep,
        Disarm ///< a text that a spreadsheet would take for a formula gets an apostrophe in front
    };
    /// The people as such a text. Reading it gives the same people, with LF for every line break in their names, and with the
    /// apostrophes of Formulas::Disarm.
    [[nodiscard]] static QString format(const std::vector<Person>& people, Formulas formulas = Formulas::Keep);
    /// "personal", "unregistered" or the number.
    [[nodiscard]] static QString kindName(int kind);
    /// The opposite; an empty word is personal. False for anything else.
    [[nodiscard]] static bool parseKind(const QString& word, int& kind);
    /// A language tag in lower case, with blanks around it dropped; an empty word is none. False for anything else.
    [[nodiscard]] static bool parseLanguage(const QString& word, QString& language);
};
}
