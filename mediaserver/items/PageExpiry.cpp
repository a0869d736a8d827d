#include "PageExpiry.hpp"

#include "ItemStore.hpp"
#include "shared/Log.hpp"

namespace MediaServer
{

void PageExpiry::check(Clock::time_point now)
{
    if (m_keepDays <= 0 || (m_hasRun && now - m_ranAt < kPause))
        return;
    m_hasRun = true;
    m_ranAt = now;
    m_remover.add([this] { remove(); });
}

void PageExpiry::remove()
{
    const auto removed = m_store.removeOlderThan(m_keepDays);
    if (!removed)
        m_warnings.log("Old pages could not be removed", removed.error().toStdString());
    else if (*removed > 0)
        logInfo(QStringLiteral("Removed %1 pages after %2 days without an addition").arg(*removed).arg(m_keepDays));
}

}
