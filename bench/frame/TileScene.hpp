#pragma once

#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>
#include <Trellis/Widget.hpp>

namespace Bench
{
/// A table full of tiles, each a card with a text, laid out and at rest.
struct TileScene
{
    explicit TileScene(int tiles) : application({1920.f, 1080.f}), table(new Trellis::Widget(application.mainLayer().get()))
    {
        table->setSize(application.size());
        for (int i = 0; i < tiles; ++i) {
            auto* card = new Trellis::Widget(table.get());
            card->setSize({120.f, 90.f});
            card->setLocation({float(i * 37 % 1800), float(i * 53 % 980)});
            card->setRotation(float(i % 7) * 0.1f);
            (new Trellis::TextWidget(card))->setText(QStringLiteral("Card %1").arg(i));
        }
        settle();
    }
    /// Frames until nothing waits for another one.
    void settle()
    {
        for (int i = 0; i < 10; ++i) {
            application.frame(0.016);
            (void)application.collectDamage();
        }
    }
    Trellis::Application application;
    Bedrock::IntrusivePtr<Trellis::Widget> table; ///< holds all tiles
};
}
