#include "detector/MarkerFilters.hpp"

#include <Bedrock/Trace.hpp>

#include <QStringList>

namespace Tavola
{
namespace
{
constexpr std::size_t kBucketHint = 10;
constexpr float kMaximumLoadFactor = 1.f;
}

MarkerFilters::MarkerFilters() : singleCodes(kBucketHint)
{
    singleCodes.max_load_factor(kMaximumLoadFactor);
}

void MarkerFilters::parse(const QString& text)
{
    hasFilters = false;
    singleCodes.clear();
    codeRanges.clear();
    if (text.isEmpty())
        return;

    const QStringList entries = text.split(QLatin1Char(','), Qt::KeepEmptyParts, Qt::CaseSensitive);
    for (const QString& entry : entries) {
        if (parseEntry(entry)) {
            hasFilters = true;
        } else {
            Bedrock::Trace::error(
                "PersonalTesselDetectorWidget::parseFilters # Invalid entry '%s' in '%s', expected format '10,20-25,30'",
                entry.toUtf8().constData(), text.toUtf8().constData());
        }
    }
}

bool MarkerFilters::parseEntry(const QString& entry)
{
    bool readable = false;
    if (entry.contains(QLatin1Char('-'))) {
        const QStringList bounds = entry.split(QLatin1Char('-'), Qt::KeepEmptyParts, Qt::CaseSensitive);
        if (bounds.size() != 2)
            return false;
        const std::uint64_t low = bounds.at(0).toULongLong(&readable, 10);
        if (!readable)
            return false;
        const std::uint64_t high = bounds.at(1).toULongLong(&readable, 10);
        if (!readable || low >= high)
            return false;
        codeRanges.push_back({low, high, true, true});
        return true;
    }
    const std::uint64_t code = entry.toULongLong(&readable, 10);
    if (readable)
        singleCodes.insert(code);
    return readable;
}

bool MarkerFilters::validCode(std::uint64_t code) const
{
    if (!hasFilters || singleCodes.count(code) != 0)
        return true;
    for (const CodeRange& range : codeRanges) {
        if ((!range.lowBounded || code >= range.low) && (!range.highBounded || code <= range.high))
            return true;
    }
    return false;
}
}
