#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/TavolaFactoryT.hpp>
#include <Vecta/Vector2T.hpp>

#include <QString>

#include <functional>
#include <memory>
#include <typeinfo>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class Package;
class ServiceProvider;
class UIComponent;
class UserInterface;
class WidgetInstance;

/// The application of a table: components, services, layers and what its widgets share. Exists beside a Trellis::Application,
/// which must be made before it. Main thread only, except where marked.
class TAVOLA_EXPORT Tavola : public std::enable_shared_from_this<Tavola>
{
public:
    /// Makes the application with its layers in the toolkit's main layer, and makes it the instance; one that exists already is
    /// replaced as the instance, with a warning.
    [[nodiscard]] static std::shared_ptr<Tavola> create();
    ~Tavola();
    Tavola(const Tavola&) = delete;
    Tavola& operator=(const Tavola&) = delete;

    /// The application; null while none exists. Any thread.
    [[nodiscard]] static std::shared_ptr<Tavola> instance();
    /// Empty while no application exists. Any thread.
    [[nodiscard]] static std::weak_ptr<Tavola> weakInstance();

    /// The service provider. Any thread.
    [[nodiscard]] ServiceProvider* services() const noexcept;
    [[nodiscard]] UserInterface* ui() const noexcept;

    /// Adds a named factory. A name that is registered already is a warning: the first factory stays, and the iterator
    /// returned is the table's end, which `unregisterFactory` ignores.
    FactoryTable::iterator registerFactory(const QString& name, std::shared_ptr<ComponentFactory> factory);
    void unregisterFactory(FactoryTable::iterator entry);
    [[nodiscard]] const FactoryTable& factories() const noexcept;
    /// A new component of a registered name, or null.
    [[nodiscard]] std::shared_ptr<UIComponent> createComponent(const QString& name) const;

    void addPackage(std::shared_ptr<Package> package);
    void removePackage(const std::shared_ptr<Package>& package);
    /// The package that declares a component, or null.
    [[nodiscard]] std::shared_ptr<Package> packageOfComponent(const QString& component) const;

    /// The instance of a widget by the widget's node id, or null.
    [[nodiscard]] std::shared_ptr<WidgetInstance> widgetInstance(long widgetId) const;

    /// The object of class T that this table's widgets share, such as threads or open files: made by T's default constructor
    /// when it is first asked for, and destroyed with the application after its widgets, the last made first. T's code must
    /// stay loaded for as long as the application exists.
    template <class T>
    [[nodiscard]] T& part()
    {
        if (const auto known = findPart(typeid(T)))
            return *static_cast<T*>(known.get());
        const auto made = std::make_shared<T>();
        keepPart(typeid(T), made);
        return *made;
    }

    /// Shows the operator an error in the configuration: logs it as an error "Tavola # text" and hands it to the handler.
    void errorMessage(const QString& text);
    void setErrorMessageHandler(std::function<void(const QString&)> handler);

private:
    Tavola();
    friend class UIComponent;
    struct Private;

    void keepInstance(Trellis::Widget& widget, std::shared_ptr<WidgetInstance> instance);
    [[nodiscard]] std::shared_ptr<void> findPart(const std::type_info& type) const;
    void keepPart(const std::type_info& type, std::shared_ptr<void> part);

    std::unique_ptr<Private> d;
};
}
