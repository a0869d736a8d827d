#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/TavolaFactoryT.hpp>
#include <Vecta/Vector2T.hpp>

#include <QString>

#include <functional>
#include <memory>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class MenuFiles;
class Package;
class PdfPages;
class ServiceProvider;
class SnapshotWriter;
class UIComponent;
class UserInterface;
class WidgetInstance;

/// The application of a table: what plug-ins and host widgets reach everything through. Exists beside a
/// Trellis::Application, which must be made before it. Main thread only but for what is marked.
class TAVOLA_EXPORT Tavola : public std::enable_shared_from_this<Tavola>
{
public:
    /// Makes the application and its layers in the toolkit's main layer, and makes it the instance.
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

    /// Adds a named factory. A name that is taken already is a warning: the factory that is there stays, and the iterator
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

    /// Tells the operator of an error in the configuration: logs it as an error "Tavola # text" and hands it to the handler.
    void errorMessage(const QString& text);
    void setErrorMessageHandler(std::function<void(const QString&)> handler);

private:
    Tavola();
    friend class ContentMenuWidget;
    friend class DocumentWidget;
    friend class FileRepresentation;
    friend class UIComponent;
    struct Private;

    void keepInstance(Trellis::Widget& widget, std::shared_ptr<WidgetInstance> instance);
    [[nodiscard]] MenuFiles& menuFiles() const noexcept;
    [[nodiscard]] PdfPages& pdfPages() const noexcept;
    [[nodiscard]] SnapshotWriter& snapshots() const noexcept;

    std::unique_ptr<Private> d;
};
}
