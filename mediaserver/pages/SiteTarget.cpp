#include "SiteTarget.hpp"

#include "PageTexts.hpp"
#include "items/ItemStore.hpp"

#include <QUrlQuery>

namespace MediaServer
{

SiteTarget SiteTarget::of(const Http::Request& request, const QByteArray& language)
{
    // No address of this server needs encoding, so an encoded one is unknown.
    const QString target = QString::fromLatin1(request.target);
    const QString named = QUrlQuery(target.section(QLatin1Char('?'), 1)).queryItemValue(QStringLiteral("lang"));
    const PageTexts* const asked = PageTexts::find(named.toLatin1());
    return {asked ? asked : &PageTexts::choose(request.header("Accept-Language"), language),
            asked ? QLatin1String("?lang=") + QLatin1String(asked->language) : QString(),
            target.section(QLatin1Char('?'), 0, 0).split(QLatin1Char('/'))};
}

bool SiteTarget::isPersonal() const
{
    return parts.size() >= 3 && parts[0].isEmpty() && parts[1] == QLatin1String("p") && isTokenForm(parts[2]);
}

std::optional<qint64> numberIn(const QString& text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber && QString::number(number) == text ? std::optional<qint64>(number) : std::nullopt;
}

}
