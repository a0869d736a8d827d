#pragma once

#include <Bedrock/Export.hpp>

#include <QJsonObject>
#include <QString>

#include <functional>

/// Analytics: what visitors do with their personal spaces. Building an event does nothing; logging hands it to the sink.
namespace Tavola::DataGathering
{
struct Event
{
    QString type;
    QJsonObject data;
};

[[nodiscard]] TAVOLA_EXPORT Event widgetAddedToPersonalSpaceEvent(long widgetId, unsigned long code, const QString& name,
                                                                  const QString& email);
[[nodiscard]] TAVOLA_EXPORT Event widgetRemovedFromPersonalSpaceEvent(long widgetId, unsigned long code);
/// One widget of those whose content goes into an e-mail.
[[nodiscard]] TAVOLA_EXPORT Event widgetInEmailEvent(long widgetId, const QString& name, const QString& address);
/// What became of an e-mail; `error` is kept only where it failed.
[[nodiscard]] TAVOLA_EXPORT Event emailEvent(const QString& name, const QString& address, bool success, const QString& error);

/// Hands the event to the sink; without a sink it is dropped. Main thread.
TAVOLA_EXPORT void logEventToService(const Event& event);

using Sink = std::function<void(const Event&)>;
/// Replaces the sink and returns the one before. Main thread.
TAVOLA_EXPORT Sink setSink(Sink sink);
}
