#pragma once

#include <memory>

namespace Tavola
{
class CustomWidgetInstanceComponent;
class WidgetComponent;

// The creation functions of the plug-in's components, for the host's factory table. Each returns a new component. Main thread.

/// "personal-space-widget"
[[nodiscard]] std::shared_ptr<WidgetComponent> makePersonalSpaceComponent();
/// "email-widget-popup"
[[nodiscard]] std::shared_ptr<WidgetComponent> makeEmailPopupComponent();
/// "personal-folder"
[[nodiscard]] std::shared_ptr<CustomWidgetInstanceComponent> makePersonalFolderComponent();
/// "tavola-personal-tessel-detector"
[[nodiscard]] std::shared_ptr<CustomWidgetInstanceComponent> makeTesselDetectorComponent();
}
