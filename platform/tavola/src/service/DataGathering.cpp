#include <Tavola/DataGathering.hpp>

#include <utility>

namespace Tavola::DataGathering
{
namespace
{
Sink& sink()
{
    static Sink theSink;
    return theSink;
}
}

Event widgetAddedToPersonalSpaceEvent(long widgetId, unsigned long code, const QString& name, const QString& email)
{
    return {QStringLiteral("widget-added-to-personal-space"),
            {{QStringLiteral("widget"), static_cast<qint64>(widgetId)},
             {QStringLiteral("tessel"), static_cast<qint64>(code)},
             {QStringLiteral("name"), name},
             {QStringLiteral("email"), email}}};
}

Event widgetRemovedFromPersonalSpaceEvent(long widgetId, unsigned long code)
{
    return {QStringLiteral("widget-removed-from-personal-space"),
            {{QStringLiteral("widget"), static_cast<qint64>(widgetId)}, {QStringLiteral("tessel"), static_cast<qint64>(code)}}};
}

Event widgetInEmailEvent(long widgetId, const QString& name, const QString& address)
{
    return {QStringLiteral("widget-in-email"),
            {{QStringLiteral("widget"), static_cast<qint64>(widgetId)},
             {QStringLiteral("name"), name},
             {QStringLiteral("email"), address}}};
}

Event emailEvent(const QString& name, const QString& address, bool success, const QString& error)
{
    QJsonObject data{{QStringLiteral("name"), name}, {QStringLiteral("email"), address}, {QStringLiteral("success"), success}};
    if (!success)
        data.insert(QStringLiteral("error"), error);
    return {QStringLiteral("email"), data};
}

void logEventToService(const Event& event)
{
    // A copy: the sink may replace itself.
    if (const Sink current = sink())
        current(event);
}

Sink setSink(Sink newSink)
{
    return std::exchange(sink(), std::move(newSink));
}
}
