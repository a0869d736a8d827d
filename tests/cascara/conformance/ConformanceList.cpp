#include "conformance/ConformanceList.hpp"

#include <QFile>
#include <QStringList>

#include <doctest/doctest.h>

#include <algorithm>

namespace CascaraTest
{
namespace
{
QStringList linesOf(const QString& name)
{
    QFile file(qEnvironmentVariable("TAVOLA_CONFORMANCE_LISTS") + QLatin1Char('/') + name);
    CAPTURE(file.fileName().toStdString());
    REQUIRE(file.open(QIODevice::ReadOnly));
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.erase(
        std::remove_if(lines.begin(), lines.end(), [](const QString& line) { return line.startsWith(QLatin1String("# ")); }),
        lines.end());
    return lines;
}
}

ConformanceList::ConformanceList(const QString& name) : m_name(name)
{
    for (const QString& line : linesOf(name + QStringLiteral(".passes")))
        m_passes.push_back(line);
    for (const QString& line : linesOf(name + QStringLiteral(".skips"))) {
        const int colon = line.indexOf(QLatin1String(": "));
        CAPTURE(line.toStdString());
        REQUIRE(colon > 0);
        REQUIRE(line.size() > colon + 2); // there is a reason
        m_skips[line.left(colon)] = line.mid(colon + 2);
    }
}

void ConformanceList::add(const QString& test, const QString& difference)
{
    CAPTURE(test.toStdString());
    CHECK(m_tests.count(test) == 0);
    m_tests[test] = difference;
}

void ConformanceList::check() const
{
    std::size_t passed = 0;
    for (const auto& [test, difference] : m_tests) {
        const bool isListed = std::find(m_passes.begin(), m_passes.end(), test) != m_passes.end();
        const bool isSkipped = m_skips.count(test) > 0;
        const std::string what = test.toStdString() + (difference.isEmpty() ? "" : ": ") + difference.toStdString();
        passed += difference.isEmpty() && !isSkipped ? 1 : 0;
        if (difference.isEmpty() && isSkipped)
            FAIL_CHECK("passes by now: move it from the skips to the passes: " << what);
        else if (difference.isEmpty() && !isListed)
            FAIL_CHECK("passes, and is in no list: " << what);
        else if (!difference.isEmpty() && !isSkipped)
            FAIL_CHECK((isListed ? "passes no more: " : "does not pass, and is in no list: ") << what);
    }
    for (const QString& test : m_passes)
        CHECK_MESSAGE(m_tests.count(test) > 0, "there is no such test: " << test.toStdString());
    for (const auto& [test, reason] : m_skips)
        CHECK_MESSAGE(m_tests.count(test) > 0, "there is no such test: " << test.toStdString());
    MESSAGE(m_name.toStdString() << ": " << passed << " of " << m_tests.size() - m_skips.size() << " that apply, "
                                 << m_skips.size() << " skipped");
}
}
