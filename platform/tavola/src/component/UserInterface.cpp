#include <Tavola/UserInterface.hpp>

#include "shared/AttributeDefaults.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <cassert>

namespace Tavola
{
namespace
{
using WidgetPtr = Bedrock::IntrusivePtr<Trellis::Widget>;

/// As large as the table, unless a style sheet has it otherwise.
WidgetPtr makeLayer(const char* type, const char* id)
{
    const auto layer = Bedrock::makeIntrusive<Trellis::Widget>();
    setDefaults(*layer, {{"position", "absolute"}, {"left", "0"}, {"top", "0"}, {"width", "100%"}, {"height", "100%"}});
    layer->setCSSType(type);
    layer->setCSSId(id);
    layer->postConstruct();
    Trellis::Application::instance()->mainLayer()->addChild(layer);
    return layer;
}
}

struct UserInterface::Private
{
    WidgetPtr background;
    WidgetPtr main;
    WidgetPtr overlay;
    WidgetPtr internalOverlay;
    float pixelPitchMm = kUsualPixelPitchMm;
    QString keyboardLayout;
    KeyboardPlacer keyboardPlacer;
};

UserInterface::UserInterface() : d(std::make_unique<Private>())
{
    assert(Trellis::Application::instance() && "the toolkit's application is made first");
    d->background = makeLayer("BackgroundWidget", "background");
    d->background->addCSSClass(QByteArrayLiteral("tavola-background"));
    d->main = makeLayer("LayerWidget", "main");
    d->overlay = makeLayer("LayerWidget", "overlay");
    d->internalOverlay = makeLayer("LayerWidget", "internal-overlay");
    setDefault(*d->main, "input-transparent", "true");
    setDefault(*d->internalOverlay, "input-transparent", "true");
    d->overlay->setInputEnabled(false);
    for (const auto& layer : {d->main, d->overlay})
        Trellis::Application::instance()->keepPicturesOf(*layer);
}

UserInterface::~UserInterface()
{
    for (const auto& layer : {d->internalOverlay, d->overlay, d->main, d->background})
        layer->removeFromParent();
}

WidgetPtr UserInterface::background() const
{
    return d->background;
}

WidgetPtr UserInterface::mainWidget() const
{
    return d->main;
}

WidgetPtr UserInterface::overlayWidget() const
{
    return d->overlay;
}

WidgetPtr UserInterface::internalOverlayWidget() const
{
    return d->internalOverlay;
}

void UserInterface::setPixelPitchMm(float pitchMm)
{
    if (pitchMm > 0.f)
        d->pixelPitchMm = pitchMm;
}

float UserInterface::pixelPitchMm() const noexcept
{
    return d->pixelPitchMm;
}

void UserInterface::setKeyboardLayout(const QString& name)
{
    d->keyboardLayout = name;
}

QString UserInterface::keyboardLayout() const
{
    return d->keyboardLayout;
}

void UserInterface::setKeyboardPlacer(KeyboardPlacer placer)
{
    d->keyboardPlacer = std::move(placer);
}

const UserInterface::KeyboardPlacer& UserInterface::keyboardPlacer() const noexcept
{
    return d->keyboardPlacer;
}

WidgetPtr UserInterface::createStockWidget(const QString& component, const QByteArray& style)
{
    if (style != "main")
        Bedrock::Trace::warning("UserInterface::createStockWidget # There is no style '%s' for '%s', 'main' is used",
                                style.constData(), qUtf8Printable(component));
    const auto application = Tavola::instance();
    const auto made = application ? application->createComponent(component) : nullptr;
    if (!made) {
        Bedrock::Trace::warning("UserInterface::createStockWidget # Component '%s' is not registered", qUtf8Printable(component));
        return nullptr;
    }
    return made->createContentWidget();
}
}
