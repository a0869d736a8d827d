#pragma once

#include "shared/PersonalTesselWidget.hpp"

#include <Tavola/StylableTextHost.hpp>

#include <memory>

namespace Tavola
{
/// The widget that opens beside a personal card: greets its owner, collects the widgets that visitors drop into it, shows the
/// owner's page. The tree owns it. Its look comes from the style sheet alone: docs/style-attributes.md lists the attributes,
/// docs/presentations.md the classes and pseudo-classes.
///
/// CSS type "PersonalSpaceWidget". Children: texts "title", "info", "custom-info", "cancel-button", "save-button" and
/// "user-page-link", the "envelope", pictures "help-button" and "qr-icon", an InputFieldWidget, and from the first code on a
/// PersonalSpaceContentWidget.
///
/// Event: "stylable-widget-added" (node id of a text widget that was added after construction, int64).
/// Main thread only.
class PersonalSpaceWidget final : public PersonalTesselWidget, public StylableTextHost
{
public:
    /// How the contents are collected. The numbers index the classes.
    enum class CollectionMode { Email = 0, Upload = 1 };

    PersonalSpaceWidget();
    ~PersonalSpaceWidget() override;

    void setCode(unsigned long code) override;
    void setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties) override;
    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableWidgets() const override;

    /// Collects a widget as a drop does. Does nothing before the first setCode.
    void addWidget(Trellis::Widget& widget);

private:
    struct D;
    std::unique_ptr<D> d;
};
}
