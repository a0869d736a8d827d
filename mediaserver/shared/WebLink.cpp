#include "WebLink.hpp"

#include <QUrl>

namespace MediaServer
{

std::optional<WebLink> parseWebLink(const QString& text)
{
    const QUrl url(text, QUrl::TolerantMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    // QUrl keeps schemes in lower case, so that "JavaScript:" and "HTTPS:" are decided here as well.
    if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        return std::nullopt;

    WebLink link;
    link.href = QString::fromLatin1(url.toEncoded());
    link.host = url.host();
    if (link.host.startsWith(QLatin1String("www.")))
        link.host.remove(0, 4);
    return link;
}

}
