#include "PageAddresses.hpp"

#include "PageTexts.hpp"

#include <QStringBuilder>

namespace MediaServer
{

namespace
{

QLatin1String queryOf(const PageTexts* texts)
{
    return texts ? QLatin1String("?lang=") : QLatin1String();
}

QLatin1String languageOf(const PageTexts* texts)
{
    return texts ? QLatin1String(texts->language) : QLatin1String();
}

}

PageAddresses::PageAddresses(const QString& publicUrl)
    : m_base(publicUrl.endsWith(QLatin1Char('/')) ? publicUrl : publicUrl + QLatin1Char('/'))
{
}

QString PageAddresses::page(const QString& token, const PageTexts* texts) const
{
    return m_base % QLatin1String("p/") % token % queryOf(texts) % languageOf(texts);
}

QString PageAddresses::qrCode(const QString& token, const PageTexts* texts) const
{
    return m_base % QLatin1String("p/") % token % QLatin1String("/qr.png") % queryOf(texts) % languageOf(texts);
}

}
