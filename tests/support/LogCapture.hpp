#pragma once

#include <Bedrock/Trace.hpp>

#include <string>
#include <vector>

/// The log of a test. While tests run, every warning and error must be announced; one that was not, and an announced one
/// that did not come, fail the test. Info lines are free. Checked and forgotten after every run of a test case, that is
/// once for each of its subcases. All functions: any thread.
namespace TestSupport
{
struct LogLine
{
    Bedrock::Trace::Level level;
    std::string text;
};

/// Announces one coming line with exactly this text and level. To be called before the line is logged.
void expectWarning(const std::string& text);
void expectError(const std::string& text);
/// As above where part of the text is not the test's business (an operating system's words): the line starts with `start`.
void expectWarningStartingWith(const std::string& start);
void expectErrorStartingWith(const std::string& start);

/// Everything logged since the test began, in order.
[[nodiscard]] std::vector<LogLine> loggedLines();
}
