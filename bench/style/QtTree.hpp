#pragma once

#include <QFrame>

namespace Bench
{
/// Types of their own, so that a style sheet can name them.
class Tile final : public QFrame
{
    Q_OBJECT
public:
    using QFrame::QFrame;
};

class Sign final : public QFrame
{
    Q_OBJECT
public:
    using QFrame::QFrame;
};
}
