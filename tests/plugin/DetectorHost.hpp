#pragma once

#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "detector/PersonalTesselDetectorWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"
#include "registration/FactoryRegistrant.hpp"
#include "registration/PersonalComponents.hpp"

#include <Tavola/Component.hpp>
#include <Trellis/InputGrabber.hpp>

#include <memory>
#include <optional>
#include <vector>

namespace PluginTest
{
/// A table whose host knows the plug-in's components, and a detector on it of 800 by 600 at (200, 100).
struct DetectorHost
{
    using Detector = Tavola::PersonalTesselDetectorWidget;

    TestSupport::TestHost host;
    std::optional<Tavola::FactoryRegistrant<Tavola::WidgetComponent>> spaceRegistrant;
    std::optional<Tavola::FactoryRegistrant<Tavola::CustomWidgetInstanceComponent>> detectorRegistrant;
    Bedrock::IntrusivePtr<Detector> detector;
    unsigned long code = newCode();

    DetectorHost()
    {
        host.declareComponents({"personal-space-widget", "tavola-personal-tessel-detector"});
        spaceRegistrant.emplace("personal-space-widget", Tavola::makePersonalSpaceComponent);
        detectorRegistrant.emplace("tavola-personal-tessel-detector", Tavola::makeTesselDetectorComponent);
        host.style("PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
                   "PersonalTesselDetectorWidget { width: 800px; height: 600px; position: absolute; left: 200px; top: 100px }");
    }

    /// As the host makes one for a presentation.
    void addDetector()
    {
        const auto made = host.tavola().createComponent("tavola-personal-tessel-detector")->createContentWidget();
        detector = Bedrock::dynamicPointerCast<Detector>(made);
        host.mainWidget().addChild(detector);
    }
    template <class Type>
    Facet::AttributeT<Type>& attribute(const char* name)
    {
        return dynamic_cast<Facet::AttributeT<Type>&>(*detector->attribute(name));
    }
    [[nodiscard]] std::vector<Tavola::PersonalSpaceWidget*> spaces()
    {
        std::vector<Tavola::PersonalSpaceWidget*> found;
        for (const auto& child : host.mainWidget().children())
            if (auto* space = dynamic_cast<Tavola::PersonalSpaceWidget*>(child.get()))
                found.push_back(space);
        return found;
    }
    /// Puts a card of this code down and cranks a frame; its id on the table.
    std::int64_t putDown(unsigned long card, Vecta::Vector2f point = {600.f, 400.f}, float rotationRadians = 0.f)
    {
        const auto id = host.input.markerDown(card, point, rotationRadians);
        host.frame();
        return id;
    }
    void lift(std::int64_t id)
    {
        host.input.markerUp(id);
        host.frame();
    }
    /// Who holds an object, or null.
    [[nodiscard]] Trellis::Widget* holder(std::int64_t id)
    {
        auto* grabber = host.app().grabManager()->grabber(id);
        return grabber ? dynamic_cast<Trellis::Widget*>(grabber->host()) : nullptr;
    }
};
}
