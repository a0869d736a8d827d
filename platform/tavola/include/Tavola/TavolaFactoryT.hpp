#pragma once

#include <Tavola/Schema.hpp>

#include <functional>
#include <map>
#include <memory>
#include <typeinfo>

#include <QString>

namespace Tavola
{
class UIComponent;

/// How components of one name are made.
template <class T, template <class...> class Ptr>
struct TavolaFactoryT
{
    std::function<Ptr<T>()> create;
    const std::type_info* type = nullptr; ///< of the class that `create` makes; static, never owned
    Schema schema;
};

using ComponentFactory = TavolaFactoryT<UIComponent, std::shared_ptr>;
/// Iterators stay valid while other entries come and go.
using FactoryTable = std::map<QString, std::shared_ptr<ComponentFactory>>;
}
