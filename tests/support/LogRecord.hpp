#pragma once

#include <string>
#include <vector>

/// The side of the log capture that main() uses.
namespace TestSupport
{
/// Takes the place of the trace sink for the rest of the process.
void installLogCapture();
/// Forgets lines and announcements.
void resetLog();
/// One sentence for every warning or error that was not announced and every announced line that did not come.
[[nodiscard]] std::vector<std::string> logComplaints();
}
