#pragma once

#include <QString>

#include <vector>

namespace Host
{
/// A card and its owner, as the registry keeps it.
struct Person
{
    unsigned long code = 0;
    QString name;
    QString email;
    QString contentKey;
    int kind = 0; ///< marker kind: 0 personal, 3 unregistered

    friend bool operator==(const Person& a, const Person& b)
    {
        return a.code == b.code && a.name == b.name && a.email == b.email && a.contentKey == b.contentKey && a.kind == b.kind;
    }
};

/// Reads people from comma-separated values as RFC 4180 has them (quoted fields, doubled quotes, line breaks in quotes;
/// UTF-8, a byte order mark is skipped). Blanks around a field are no part of it, those in quotes are; a line break in quotes is
/// read as LF. The first line names the columns: code, name, email, content-key, kind; only code
/// must be there. "kind" is personal, unregistered or a number.
class PeopleFile
{
public:
    /// The people in a file. Each line that cannot be read is a warning with file and line number and is skipped: a code that is
    /// none or stood in an earlier line, an unknown kind, more fields than columns, a quote that is never closed. A text that is
    /// no UTF-8 is left empty, a column that is not known is left out. `complete`: the file was there and nothing was skipped.
    [[nodiscard]] static std::vector<Person> read(const QString& path, bool& complete);
    [[nodiscard]] static std::vector<Person> parse(const QString& text, const QString& fileName, bool& complete);
    /// The people as such a text; reading it gives the same people (but for the kinds of line breaks in their names).
    [[nodiscard]] static QString format(const std::vector<Person>& people);
    /// "personal", "unregistered" or the number.
    [[nodiscard]] static QString kindName(int kind);
    /// The opposite; an empty word is personal. False for anything else.
    [[nodiscard]] static bool parseKind(const QString& word, int& kind);
};
}
