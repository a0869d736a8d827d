#include "DeclaredTypes.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/ImageTileWidget.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/Operator.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

TEST_CASE("trellis types: what is declared for style sheets is what widgets have")
{
    TestSupport::DeclaredTypes types;
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    Trellis::FadeAnimator::fadeIn(*widget, 1.f, 0.f);
    REQUIRE(widget->operators().size() == 1);
    types.add(*widget->operators().front());
    types.add(*widget);
    types.add(*Bedrock::makeIntrusive<Trellis::TextWidget>());
    types.add(*Bedrock::makeIntrusive<Trellis::TextEditWidget>());
    types.add(*Bedrock::makeIntrusive<Trellis::ImageWidget>());
    types.add(*Bedrock::makeIntrusive<Trellis::ImageTileWidget>());
    types.check();
    for (const QString& type : Cascara::StyleVocabulary::types())
        CHECK_MESSAGE(types.hasSeen(type), type.toStdString());
}
