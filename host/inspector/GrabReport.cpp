#include "GrabReport.hpp"

#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonObject>

namespace Host
{
QJsonArray grabReport(const Trellis::GrabManager& grabManager)
{
    QJsonArray report;
    for (const Tactile::Marker& marker : grabManager.currentSample().markers) {
        const Trellis::InputGrabber* grabber = grabManager.grabber(marker.id());
        const auto* holder = grabber ? dynamic_cast<const Trellis::Widget*>(grabber->host()) : nullptr;
        const QJsonValue told = holder ? QJsonValue(QJsonObject{{"id", qint64(holder->id())},
                                                                {"type", QString::fromUtf8(holder->cssType())},
                                                                {"cssId", QString::fromUtf8(holder->cssId())}})
                                       : QJsonValue();
        report.append(QJsonObject{{"id", qint64(marker.id())}, {"code", QString::number(marker.code())}, {"holder", told}});
    }
    return report;
}
}
