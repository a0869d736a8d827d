// What the store of the media server costs, against rivals in the same run.

#include "Rows.hpp"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{
constexpr int kRounds = 7;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
}

namespace Bench
{
void fail(const QString& reason)
{
    std::fprintf(stderr, "storage_speed: %s\n", reason.toUtf8().constData());
    std::exit(1);
}

double seconds(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void compare(const char* what, const std::function<double()>& work, const char* rivalName, const std::function<double()>& rival)
{
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int i = 0; i < kRounds; ++i) {
        ours.push_back(work());
        theirs.push_back(rival());
    }
    const double own = median(ours);
    const double other = median(theirs);
    std::printf("%s: %.3f ms; %s: %.3f ms; ratio %.2f\n", what, 1000 * own, rivalName, 1000 * other, own / other);
    std::fflush(stdout);
}
}

/// Arguments: "commands", "pages"; none is both.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList rows = QCoreApplication::arguments().mid(1);
    if (rows.isEmpty() || rows.contains(QStringLiteral("commands")))
        Bench::groupCommit();
    if (rows.isEmpty() || rows.contains(QStringLiteral("pages")))
        Bench::pageRate();
    return 0;
}
