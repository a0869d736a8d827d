#pragma once

#include <QString>

#include <functional>

namespace Bench
{
/// Ends the program with that reason.
[[noreturn]] void fail(const QString& reason);
/// How long the work takes.
[[nodiscard]] double seconds(const std::function<void()>& work);
/// Measures both in turn, and prints the medians and the ratio of work to rival.
void compare(const char* what, const std::function<double()>& work, const char* rivalName, const std::function<double()>& rival);

void groupCommit();
void pageRate();
}
