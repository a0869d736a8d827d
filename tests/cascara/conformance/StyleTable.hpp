#pragma once

#include <string>
#include <vector>

namespace CascaraTest
{
/// A line of a table that is written from the text of a CSS specification.
struct StyleRow
{
    /// A value, or a whole style sheet.
    std::string css;
    /// The value that comes of it, as `Facet::Attribute::toText` has it.
    std::string expected;
    /// Why the row does not apply here; it must not pass then. Null for a row that applies.
    const char* skip = nullptr;
    /// Warnings that a style sheet causes.
    int warnings = 0;
};

/// What is expected of a value that is none.
extern const char* const kInvalid;

/// Checks what `attribute` of a node makes of each value. Writes "n of m that apply".
void checkValues(const char* table, const char* attribute, const std::vector<StyleRow>& rows);

/// Checks what `attribute` of the node `#n.n` of type N has by each sheet. It is the second of three children of `Panel.panel`, a
/// child of `Root`; and each of these has the class `after` in addition a frame after the sheet was loaded.
void checkSheets(const char* table, const char* attribute, const std::vector<StyleRow>& rows);
}
