#pragma once

#include <QString>

namespace Tavola
{
/// A mailbox and the name of its owner. A plain record; nothing is checked before a message is sent.
struct EmailAddress
{
    QString address; ///< "ann@example.org"
    QString name;    ///< the person's name as shown beside it; may be empty
};
}
