#include "application/ApplicationPrivate.hpp"
#include "text/FontFaces.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <utility>

namespace Trellis
{
Application::Private::Private(Application& owner, Vecta::Vector2f size)
    : application(owner), sizePx(size), damage(layout, layers, {0.f, 0.f, size.x, size.y}),
      mainLayer(Bedrock::makeIntrusive<Widget>()), input(*mainLayer, motion)
{
}

Vecta::Vector2f Application::Private::flowSize(const Widget& widget, float availableWidth)
{
    return layout.flowSize(widget, availableWidth);
}

void Application::Private::widgetLeaves(Widget& widget)
{
    damage.widgetLeaves(widget);
    input.dropAllBelow(widget);
}

void Application::Private::widgetRemoved(Bedrock::IntrusivePtr<Widget> widget)
{
    removed.push_back(std::move(widget));
}

void Application::Private::bindFonts()
{
    FontFaces::instance().set(Cascara::StyleEngine::instance().fontFaces());
    const auto refresh = [](auto&& self, Widget& widget) -> void {
        if (auto* text = dynamic_cast<TextInterfaceWidget*>(&widget))
            text->fontsChanged();
        for (const auto& child : widget.children())
            self(self, *child);
    };
    refresh(refresh, *mainLayer);
}

Widget* Application::Private::keyboardFocus() const noexcept
{
    return focus;
}
}
