#include "DeclaredTypes.hpp"
#include "LogCapture.hpp"

#include <Cascara/StyleEngine.hpp>
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

TEST_CASE("trellis types: what the guide for authors writes is no mistake when a sheet is checked")
{
    struct Checked
    {
        Checked() { Cascara::StyleEngine::instance().setChecksNames(true); }
        ~Checked()
        {
            Cascara::StyleEngine::instance().clearStyleSheets();
            Cascara::StyleEngine::instance().setChecksNames(false);
        }
    };
    const Checked checked;
    Cascara::StyleEngine::instance().addStyleSheet(
        QString::fromUtf8(
            "Widget { opacity: 30%; border: 2px solid navy; background: #fc0; border-radius: 9px 9px 0 0 }"
            "Widget { opacity: calc(20% + 10%); width: calc(100% - 2em); margin: 0 auto; location: 1px 2mm }"
            "TextWidget { font: bold 20px/1.4 Inter; line-height: 140%; letter-spacing: normal; white-space: nowrap }"
            "@keyframes go { from { opacity: 0% } to { opacity: 100%; scale: 1.5 } }"),
        QStringLiteral("guide.css"));
    CHECK(TestSupport::loggedLines().empty());
}
