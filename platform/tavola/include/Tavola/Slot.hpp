#pragma once

#include <QByteArray>

#include <memory>
#include <vector>

namespace Tavola
{
class Component;

/// A named place of a component into which a presentation puts other components, in order.
struct Slot
{
    QByteArray name;
    std::vector<std::shared_ptr<Component>> components;
};
}
