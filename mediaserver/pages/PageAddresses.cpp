#include "PageAddresses.hpp"

#include "PageTexts.hpp"

namespace MediaServer
{

namespace
{

QString queryOf(const PageTexts* texts)
{
    return texts ? QLatin1String("?lang=") + QLatin1String(texts->language) : QString();
}

} // namespace

PageAddresses::PageAddresses(const QString& publicUrl)
    : m_base(publicUrl.endsWith(QLatin1Char('/')) ? publicUrl : publicUrl + QLatin1Char('/'))
{
}

QString PageAddresses::page(const QString& token, const PageTexts* texts) const
{
    return m_base + QLatin1String("p/") + token + queryOf(texts);
}

QString PageAddresses::qrCode(const QString& token, const PageTexts* texts) const
{
    return page(token) + QLatin1String("/qr.png") + queryOf(texts);
}

} // namespace MediaServer
