#include "Storage/Failure.hpp"

namespace Storage
{
QString Failure::text() const
{
    return reason + QStringLiteral("; ") + remedy;
}
}
