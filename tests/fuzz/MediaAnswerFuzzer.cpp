// One input is an answer of the media server: its HTTP status in two bytes, big end first, then its body.

#include "FuzzSupport.hpp"

#include "services/MediaServerAnswer.hpp"

#include <Http/Address.hpp>

#include <QJsonDocument>
#include <QUrl>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const int status = (data[0] * 256 + data[1]) % 1000;
    const QByteArray body(reinterpret_cast<const char*>(data) + 2, int(size) - 2);
    QString wrong;
    const auto answer = Host::MediaServerAnswer::read(status, body, wrong);
    Fuzz::require(answer.has_value() == wrong.isEmpty(), "an answer is taken, or there is a reason");
    if (!answer)
        return 0;
    const QString page = answer->value(QLatin1String("userpageurl")).toString();
    Fuzz::require(page.size() <= Host::MediaServerAnswer::kLongestPageAddress, "an address is no longer than it may be");
    const QUrl url(page);
    Fuzz::require(page.isEmpty() || url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"),
                  "a page is on the web");
    (void)Http::isOnThisMachineOnly(url);
    // On its way through the inbox, and in a recording.
    const QByteArray packed = QJsonDocument(*answer).toJson(QJsonDocument::Compact);
    Fuzz::require(QJsonDocument::fromJson(packed).isObject(), "an answer can be recorded and replayed");
    return 0;
}
