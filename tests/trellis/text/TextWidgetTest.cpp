#include <doctest/doctest.h>

#include "Scene.hpp"

#include <Trellis/TextWidget.hpp>

using Trellis::TextWidget;
using namespace TrellisTest;

// What texts have in common is TextInterfaceWidget's.

TEST_CASE("text widget: style sheets reach it by its type")
{
    Scene scene;
    const Bedrock::IntrusivePtr<TextWidget> widget(new TextWidget(scene.app.mainLayer().get()));
    CHECK(widget->cssType() == "TextWidget");
    CHECK(widget->parent() == scene.app.mainLayer().get());
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral("TextWidget { text: \"styled\" }"), QStringLiteral("test.css"));
    CHECK(widget->text() == QStringLiteral("styled"));
    widget->setText(QStringLiteral("written"));
    CHECK(widget->text() == QStringLiteral("written"));
}

TEST_CASE("text widget: it is to be read, a finger on it is a finger on what it lies in")
{
    Scene scene;
    auto& card = scene.box(100, 100, 200, 100, "movable: true;");
    auto* widget = new TextWidget(&card);
    widget->setText(QStringLiteral("Ann"));
    scene.frames();
    const auto from = widget->mapToScene(widget->size() * 0.5f);
    scene.input.fingerDown(1, from);
    scene.frames();
    scene.input.fingerMove(1, from + Vecta::Vector2f(50.f, 0.f));
    scene.frames(2);
    CHECK_POINT(card.location(), 150, 100);
    CHECK_POINT(widget->location(), 0, 0);
    scene.input.fingerUp(1);
    scene.frames();
}
