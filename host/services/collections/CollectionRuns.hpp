#pragma once

#include <QString>

#include <QtGlobal>

#include <map>

namespace Host
{
/// The numbers of the runs of tables' programs that have written items, counted from 1 in the order of their first items; by the
/// beginning of the keys that the run has made.
using CollectionRuns = std::map<QString, qint64>;
}
