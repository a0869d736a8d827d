#include "inspector/TableLog.hpp"

#include <QJsonObject>

namespace Host
{
TableLog::TableLog() : m_lines(std::make_shared<Lines>())
{
    m_traceSinkBefore = Bedrock::Trace::setSink([lines = m_lines](Bedrock::Trace::Level level, const std::string& text) {
        const std::lock_guard<std::mutex> guard(lines->mutex);
        Bedrock::Trace::writeToStandardError(level, text);
        lines->lines.push_back({level, text});
        lines->bytes += text.size();
        while (lines->lines.size() > kKept || (lines->bytes > kKeptBytes && lines->lines.size() > 1)) {
            lines->bytes -= lines->lines.front().text.size();
            lines->lines.pop_front();
        }
    });
    m_analyticsSinkBefore = Tavola::DataGathering::setSink([this](const Tavola::DataGathering::Event& event) {
        m_events.push_back(QJsonObject{{"type", event.type}, {"data", event.data}});
        if (m_events.size() > kKept)
            m_events.pop_front();
    });
}

TableLog::~TableLog()
{
    Tavola::DataGathering::setSink(std::move(m_analyticsSinkBefore));
    Bedrock::Trace::setSink(std::move(m_traceSinkBefore));
}

QJsonArray TableLog::lines() const
{
    const std::lock_guard<std::mutex> guard(m_lines->mutex);
    QJsonArray result;
    for (const Line& line : m_lines->lines)
        result.append(QJsonObject{{"level", Bedrock::Trace::levelName(line.level)}, {"text", QString::fromStdString(line.text)}});
    return result;
}

QJsonArray TableLog::analytics() const
{
    QJsonArray result;
    for (const QJsonObject& event : m_events)
        result.append(event);
    return result;
}
}
