#include "presentation/InputSettings.hpp"

#include <Tavola/JsonEntries.hpp>

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonObject>

#include <optional>
#include <utility>

namespace Host
{
namespace
{
using Listener = InputSettings::Listener;

constexpr double kMostPixels = 100000.0;
constexpr double kMostHoldMilliseconds = 60000.0;
constexpr double kMostLostSeconds = 3600.0;

/// Why a listener is left out, and the place of the mistake.
struct Wrong
{
    QString place;
    QString why;
};

bool readRect(const QJsonValue& value, Listener& listener)
{
    const QJsonArray numbers = value.toArray();
    if (numbers.size() != 4)
        return false;
    float* const parts[] = {&listener.x, &listener.y, &listener.width, &listener.height};
    for (int i = 0; i < 4; ++i) {
        const double number = numbers.at(i).toDouble(2 * kMostPixels);
        if (!(number >= -kMostPixels && number <= kMostPixels))
            return false;
        *parts[i] = float(number);
    }
    listener.hasRect = true;
    return listener.width > 0.f && listener.height > 0.f;
}

bool readAllow(const QJsonValue& value, QStringList& allow)
{
    for (const QJsonValue& entry : value.toArray()) {
        if (QHostAddress(entry.toString()).isNull())
            return false;
        allow << entry.toString();
    }
    // An empty list would allow every sender.
    return !allow.isEmpty();
}

constexpr int kMostAreas = 64; // of a listener; and corners of an area

/// `count` numbers from 0 to 1.
bool readShares(const QJsonValue& value, int count, float* shares)
{
    const QJsonArray numbers = value.toArray();
    if (numbers.size() != count)
        return false;
    for (int i = 0; i < count; ++i) {
        const double number = numbers.at(i).toDouble(-1.0);
        if (!(number >= 0.0 && number <= 1.0))
            return false;
        shares[i] = float(number);
    }
    return true;
}

bool readArea(const QJsonArray& entry, Tactile::SurfaceArea& area)
{
    if (entry.size() < 3 || entry.size() > kMostAreas)
        return false;
    if (!entry.at(0).isArray()) {
        float rect[4] = {};
        if (!readShares(entry, 4, rect) || rect[2] <= 0.f || rect[3] <= 0.f)
            return false;
        area = Tactile::SurfaceArea::ofRect({rect[0], rect[1], rect[2], rect[3]});
        return true;
    }
    for (const QJsonValue& corner : entry) {
        float point[2] = {};
        if (!readShares(corner, 2, point))
            return false;
        area.corners.push_back({point[0], point[1]});
    }
    return true;
}

void readIgnore(const QJsonValue& value, const QString& place, Listener& listener, const InputSettings::Skip& skip)
{
    const QJsonArray entries = value.toArray();
    if (!value.isArray() || entries.size() > kMostAreas)
        return skip(place, QStringLiteral("expected a list of up to %1 areas; nothing is ignored").arg(kMostAreas));
    for (int i = 0; i < entries.size(); ++i) {
        Tactile::SurfaceArea area;
        if (readArea(entries.at(i).toArray(), area))
            listener.ignore.push_back(std::move(area));
        else
            skip(place + QStringLiteral("[%1]").arg(i),
                 QStringLiteral(
                     "expected [x, y, width, height] or 3 to %1 corners [x, y], in numbers from 0 to 1 of the tracker's "
                     "surface; this area is not ignored")
                     .arg(kMostAreas));
    }
}

std::optional<Wrong> readListener(const QJsonObject& entry, const QString& place, Listener& listener)
{
    if (!InputSettings::parseAddress(entry.value(QLatin1String("tuio")).toString(), listener.transport, listener.address,
                                     listener.port))
        return Wrong{place + QLatin1String(".tuio"),
                     QStringLiteral("expected \"ADDRESS:PORT\" or \"tcp:ADDRESS:PORT\", such as \"127.0.0.1:3333\"")};
    const QJsonValue rect = entry.value(QLatin1String("rect"));
    if (!rect.isUndefined() && !readRect(rect, listener))
        return Wrong{place + QLatin1String(".rect"),
                     QStringLiteral("expected [x, y, width, height] in pixels of the table, the last two above 0")};
    const QJsonValue allow = entry.value(QLatin1String("allow"));
    if (!allow.isUndefined() && !readAllow(allow, listener.allow))
        return Wrong{place + QLatin1String(".allow"),
                     QStringLiteral("expected a list of numeric addresses, such as [\"192.168.0.20\"]")};
    return std::nullopt;
}
}

bool InputSettings::parseAddress(const QString& text, Transport& transport, QString& address, int& port)
{
    const QLatin1String tcp("tcp:");
    const bool isTcp = text.startsWith(tcp);
    transport = isTcp ? Transport::Tcp : Transport::Udp;
    const QString place = isTcp ? text.mid(tcp.size()) : text;
    const int colon = place.lastIndexOf(QLatin1Char(':'));
    if (colon >= 0) {
        address = place.left(colon);
        if (address.startsWith(QLatin1Char('[')) && address.endsWith(QLatin1Char(']')))
            address = address.mid(1, address.size() - 2);
        if (address == QLatin1String("localhost"))
            address = QStringLiteral("127.0.0.1");
    }
    bool ok = false;
    port = place.mid(colon + 1).toInt(&ok);
    return ok && port >= 0 && port <= 65535 && !QHostAddress(address).isNull();
}

InputSettings InputSettings::read(const QJsonObject& root, const Skip& skip)
{
    InputSettings settings;
    const QJsonValue input = root.value(QLatin1String("input"));
    if (!input.isUndefined() && !input.isArray())
        skip(QStringLiteral("input"), QStringLiteral("expected a list of listeners; no tracker is listened to"));
    const QJsonArray entries = input.toArray();
    const bool namesNone = input.isUndefined() || (input.isArray() && entries.isEmpty());
    if (!namesNone)
        settings.listeners.clear();
    for (int i = 0; i < entries.size(); ++i) {
        const QString place = QStringLiteral("input[%1]").arg(i);
        const QJsonObject entry = entries.at(i).toObject();
        Tavola::JsonEntries(entry, place, skip).checkKnown({"tuio", "rect", "allow", "ignore"});
        Listener listener;
        if (const auto wrong = readListener(entry, place, listener)) {
            skip(wrong->place, wrong->why + QStringLiteral("; nothing listens there"));
            continue;
        }
        const QJsonValue ignore = entry.value(QLatin1String("ignore"));
        if (!ignore.isUndefined())
            readIgnore(ignore, place + QLatin1String(".ignore"), listener, skip);
        settings.listeners.push_back(listener);
    }
    const Tavola::JsonEntries given =
        Tavola::JsonEntries::of(root.value(QLatin1String("inputSettings")), QStringLiteral("inputSettings"), skip);
    given.checkKnown({"holdMilliseconds", "lostSeconds", "smoothing"});
    settings.holdSeconds = given.number("holdMilliseconds", settings.holdSeconds * 1000.0, kMostHoldMilliseconds) / 1000.0;
    settings.lostSeconds = given.number("lostSeconds", settings.lostSeconds, kMostLostSeconds);
    settings.smoothing = given.flag("smoothing", settings.smoothing);
    return settings;
}
}
