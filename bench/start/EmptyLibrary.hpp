#pragma once

#include <QObject>

namespace Bench
{
/// All that the empty library has: a class of Qt, so that it needs Qt as a plug-in does.
class Nothing final : public QObject
{
    Q_OBJECT
};
}
