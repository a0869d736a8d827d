#pragma once

#include "care/CareAttributes.hpp"
#include "care/TableCare.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/Utils.hpp>
#include <TestHost.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>

#include <cmath>

/// Opens a widget at each card that comes down on it, as a plug-in's detector does: its centre at the card, turned like it.
class OpeningArea final : public Trellis::Widget
{
public:
    void markerDown(Tactile::Marker marker, Trellis::GrabManager& /*grabManager*/) override
    {
        const auto& layer = Tavola::Tavola::instance()->ui()->mainWidget();
        const auto opened = component ? component->createContentWidget() : Bedrock::makeIntrusive<Trellis::Widget>();
        if (!component)
            opened->postConstruct();
        opened->addCSSClass("opened");
        opened->addCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
        layer->addChild(opened);
        opened->setCenterLocation(marker.centerLocation());
        opened->setRotationAboutCenter(marker.rotation());
        const auto title = Bedrock::makeIntrusive<Trellis::Widget>(opened.get());
        title->addCSSClass("title");
        last = opened.get();
    }

    std::shared_ptr<Tavola::UIComponent> component; ///< makes what opens, when given
    Trellis::Widget* last = nullptr;                ///< what the last card opened
};

/// A table with an area that opens widgets of 600 × 640 pixels at cards, and the host's care for them.
struct CareTable
{
    explicit CareTable(const Host::CareSettings& settings = {}, Vecta::Vector2f size = {1920.f, 1080.f},
                       std::shared_ptr<const Host::CardLanguages> languages = nullptr)
        : host(size)
    {
        host.style(".opened { width: 600px; height: 640px; movable: true; }"
                   ".title { position: absolute; left: 36px; top: 26px; width: 528px; height: 50px; keep-clear: true; }");
        area->postConstruct();
        area->setSize(size);
        host.mainWidget().addChild(area);
        host.mainWidget().addOperator(Bedrock::makeIntrusive<Host::TableCare>(settings, 0.55f, std::move(languages)));
        host.frame();
    }

    /// Puts a card down, and runs the frame that opens its widget.
    Trellis::Widget& open(unsigned long code, Vecta::Vector2f point, float angle = 0.f)
    {
        card = host.input.markerDown(code, point, angle);
        host.frame();
        return *area->last;
    }
    static Vecta::Vector2f center(const Trellis::Widget& widget) { return widget.mapToScene(widget.size() / 2.f); }

    Host::CareAttributes attributes; ///< destroyed after the widgets
    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<OpeningArea> area = Bedrock::makeIntrusive<OpeningArea>();
    std::int64_t card = 0; ///< the one put down last
};
