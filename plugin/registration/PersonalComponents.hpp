#pragma once

#include <memory>

namespace Tavola
{
class CustomWidgetInstanceComponent;
class WidgetComponent;

/// The components that the plug-in offers, each as the host's factory table wants it: a function that makes a new one.

/// "personal-space-widget"
[[nodiscard]] std::shared_ptr<WidgetComponent> makePersonalSpaceComponent();
/// "email-widget-popup"
[[nodiscard]] std::shared_ptr<WidgetComponent> makeEmailPopupComponent();
/// "personal-folder"
[[nodiscard]] std::shared_ptr<CustomWidgetInstanceComponent> makePersonalFolderComponent();
/// "tavola-personal-tessel-detector"
[[nodiscard]] std::shared_ptr<CustomWidgetInstanceComponent> makeTesselDetectorComponent();
}
