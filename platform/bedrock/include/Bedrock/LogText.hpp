#pragma once

#include <Bedrock/Export.hpp>

#include <string>
#include <string_view>

namespace Bedrock
{
/// What a text looks like when it leaves the program, UTF-8. Any thread.

/// The text with what must stay inside shortened: what is remembered of people (PersonalTexts.hpp), the local part of e-mail
/// addresses ("a…@example.org"), the token of a person's page ("/p/Ab3d…"), keys after "Bearer " and passwords in addresses
/// ("https://…@host"). Enough is left to tell two of them apart by hand.
[[nodiscard]] TAVOLA_EXPORT std::string withoutSecrets(std::string_view line);

/// The text on one line and without what a terminal would obey: "\n", "\r" and "\t" by their names, all other control characters,
/// those of C1 included, and bytes that are no UTF-8 as "\x1b"; separators of lines and marks of writing direction as "\u202e".
[[nodiscard]] TAVOLA_EXPORT std::string onOneLine(std::string_view text);
}
