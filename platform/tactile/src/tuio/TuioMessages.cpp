#include "tuio/TuioMessages.hpp"

namespace Tactile
{
void TuioMessages::clear()
{
    m_operations.clear();
    m_aliveIds.clear();
}

bool TuioMessages::readAlive(OscArgumentReader& reader, TuioOperation& operation)
{
    operation.kind = TuioOperation::Kind::Alive;
    operation.aliveBegin = m_aliveIds.size();
    while (!reader.atEnd()) {
        std::int32_t id = 0;
        if (!reader.readInt(id))
            return false;
        m_aliveIds.push_back(id);
    }
    operation.aliveEnd = m_aliveIds.size();
    return true;
}

void TuioMessages::copyAlive(const TuioOperation& operation, std::vector<std::int32_t>& ids) const
{
    ids.assign(m_aliveIds.begin() + std::ptrdiff_t(operation.aliveBegin),
               m_aliveIds.begin() + std::ptrdiff_t(operation.aliveEnd));
}

bool readPose(OscArgumentReader& reader, TuioSet& set)
{
    return reader.readFloat(set.x) && reader.readFloat(set.y) && reader.readFloat(set.angle);
}
}
