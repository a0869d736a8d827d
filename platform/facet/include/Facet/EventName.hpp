#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

namespace Facet
{
/// The name of an event, interned: equal names are equal numbers, so that sending compares no text. Making one from text
/// looks it up in a table (any thread); code that sends often keeps the EventName in a static constant.
class TAVOLA_EXPORT EventName
{
public:
    EventName(const char* name);
    EventName(const QByteArray& name);

    [[nodiscard]] int slot() const noexcept { return m_slot; }
    [[nodiscard]] QByteArray text() const;

    friend bool operator==(EventName a, EventName b) noexcept { return a.m_slot == b.m_slot; }
    friend bool operator!=(EventName a, EventName b) noexcept { return a.m_slot != b.m_slot; }

private:
    int m_slot;
};
}
