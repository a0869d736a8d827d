#include "PageAddresses.hpp"

namespace MediaServer
{

PageAddresses::PageAddresses(const QString& publicUrl)
    : m_base(publicUrl.endsWith(QLatin1Char('/')) ? publicUrl : publicUrl + QLatin1Char('/'))
{
}

QString PageAddresses::page(const QString& token) const
{
    return m_base + QLatin1String("p/") + token;
}

QString PageAddresses::qrCode(const QString& token) const
{
    return page(token) + QLatin1String("/qr.png");
}

} // namespace MediaServer
