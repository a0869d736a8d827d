#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <cstddef>
#include <string>
#include <string_view>

/// Names and other texts of visitors that the process has received, such as what they type. A log line that leaves the process
/// has them shortened (withoutSecrets() of LogText.hpp); inside it they stay as they are. One collection for the process. Any
/// thread.
///
/// A text counts from two characters on with a letter among them, and from six otherwise, so that numbers of log lines stay. What
/// visitors can register, such as "disk", is shortened wherever it stands as a word: the inspector has the exact line.
namespace Bedrock::PersonalTexts
{
/// Of more than these the oldest is forgotten.
constexpr std::size_t kMostTexts = 131072;
/// Of a longer text its beginning is remembered.
constexpr std::size_t kLongestBytes = 1024;

/// Leading and trailing blanks are no part of the text. Call before a line with the text can be logged. A plain e-mail address
/// need not be remembered: lines have addresses shortened by their form.
TAVOLA_EXPORT void remember(std::string_view utf8);
inline void remember(const QString& text)
{
    remember(text.toStdString());
}

/// The line with every remembered text in it cut to its first character ("Uma Ott" to "U…"; with an '@' in it the domain stays).
/// What stands ahead of " # ", where a line names the class that logs it, stays as it is.
[[nodiscard]] TAVOLA_EXPORT std::string shortened(std::string_view line);
}
