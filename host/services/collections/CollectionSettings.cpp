#include "services/collections/CollectionSettings.hpp"

#include <QRegularExpression>

namespace Host
{
std::optional<CollectionSettings> CollectionSettings::parse(const QString& keep)
{
    if (keep == QLatin1String("forever"))
        return CollectionSettings{};
    static const QRegularExpression expression(QStringLiteral("\\A([1-9][0-9]{0,4})([dh])\\z"));
    const auto match = expression.match(keep);
    if (!match.hasMatch())
        return std::nullopt;
    constexpr qint64 kHour = 3600;
    const qint64 seconds = match.captured(1).toLongLong() * (match.captured(2) == QLatin1String("d") ? 24 * kHour : kHour);
    if (seconds > kLongestDays * 24 * kHour)
        return std::nullopt;
    return CollectionSettings{seconds};
}
}
