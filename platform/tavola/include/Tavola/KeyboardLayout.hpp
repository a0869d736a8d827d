#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Tavola
{
/// What one key of a keyboard on the table does.
struct KeyboardKey
{
    enum class Action {
        Text, ///< types `text` (or `shifted`)
        Dead, ///< an accent that joins the letter typed next: ´ ` ^ ¨ ~
        Space,
        Shift,
        Backspace,
        Enter,
        Symbols,  ///< to the symbols and back
        Language, ///< to the next layout
        Left,
        Right,
        Hide, ///< closes the keyboard
        Gap   ///< room without a key
    };

    Action action = Action::Text;
    QString text;
    QString shifted;
    float width = 1.f; ///< in keys
};

/// Where the keys stand, read from JSON. A plain value.
///
///     { "name": "en", "label": "EN", "title": "English",
///       "letters": [ ["q", "w", "1!", { "dead": "´", "shift": "`" }, { "action": "enter", "width": 2 }], ... ] }
///
/// A text of one character is a key that types it, and its capital with shift; of two characters, the first one and with
/// shift the second. "symbols", rows like "letters", may be left out: the symbols that all layouts share are used.
struct TAVOLA_EXPORT KeyboardLayout
{
    using Rows = std::vector<std::vector<KeyboardKey>>;

    QString name;  ///< by which it is chosen
    QString label; ///< short, for the language key
    QString title; ///< for people
    Rows letters;
    Rows symbols;

    /// A key that is malformed is left out with a warning that names the place ("letters[2][5]"). Nothing, with a warning,
    /// when no key can be read at all or the layout has no name. `fileName` is for the messages.
    [[nodiscard]] static std::optional<KeyboardLayout> read(const QByteArray& json, const QString& fileName);

    /// The layouts there are, in the order in which the language key goes through them: en, de, fi, fr, then those added.
    [[nodiscard]] static QStringList names();
    /// Null when there is no such layout. The layout stays where it is until `add` replaces it.
    [[nodiscard]] static const KeyboardLayout* find(const QString& name);
    /// Adds a layout, or replaces the one of that name. Keyboards that are open keep the one they show.
    static void add(KeyboardLayout layout);
};
}
