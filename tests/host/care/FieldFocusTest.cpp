#include "care/FieldFocus.hpp"

#include "care/CareAttributes.hpp"

#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <TestHost.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <doctest/doctest.h>

#include <QKeyEvent>

namespace
{
struct FieldFocusFixture
{
    FieldFocusFixture()
    {
        host.style("InputFieldWidget { display: none; } .asks InputFieldWidget { display: block; takes-focus: true; }");
        space->postConstruct();
        space->setSize({400.f, 400.f});
        host.mainWidget().addChild(space);
        space->setLocation({600.f, 200.f});
        field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(space.get(), false);
        field->postConstruct();
        host.frame();
    }
    bool isEditing() const { return field->editor()->isEditing() && field->keyboard(); }

    Host::CareAttributes attributes; ///< destroyed after the widgets
    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<Trellis::Widget> space = Bedrock::makeIntrusive<Trellis::Widget>();
    Bedrock::IntrusivePtr<Tavola::InputFieldWidget> field;
};
}

TEST_CASE("field focus: a field that begins to ask has the focus and its keyboard, and only then")
{
    FieldFocusFixture f;
    CHECK_FALSE(f.isEditing());
    f.space->addCSSClass("asks");
    f.host.frames(2);
    CHECK(f.isEditing());
    // Closing the keyboard is the visitor's decision.
    f.field->keyboard()->close();
    f.host.frames(60);
    CHECK_FALSE(f.isEditing());
    f.space->removeCSSClass("asks");
    f.host.frames(2);
    f.space->addCSSClass("asks");
    f.host.frames(2);
    CHECK(f.isEditing());
}

TEST_CASE("field focus: what is refused keeps the keyboard")
{
    FieldFocusFixture f;
    f.field->setValidator([](const QString& text) { return text == QLatin1String("yes"); });
    f.field->editor()->eventAddListener("editing-finished", [&f] {
        f.field->validate();
        f.field->showErrors(true);
    });
    f.space->addCSSClass("asks");
    f.host.frames(2);
    f.field->editor()->insertText(QStringLiteral("no"));
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    f.host.app().keyPressed(enter);
    f.host.frames(3);
    REQUIRE(f.field->hasPseudoClass("invalid"));
    CHECK(f.isEditing());
    CHECK(f.field->text() == "no");
    // A keyboard that is closed after the refusal stays closed.
    f.field->keyboard()->close();
    f.host.frames(10);
    CHECK(f.field->hasPseudoClass("invalid"));
    CHECK_FALSE(f.isEditing());
}

TEST_CASE("field focus: a field without the attribute is left alone")
{
    FieldFocusFixture f;
    f.host.style(".asks InputFieldWidget { takes-focus: false; }");
    f.space->addCSSClass("asks");
    f.host.frames(10);
    CHECK_FALSE(f.isEditing());
}

TEST_CASE("field focus: a field of a space that fades away takes nothing")
{
    FieldFocusFixture f;
    Trellis::FadeAnimator::fadeOutAndDelete(*f.space, 1.f, 0.f);
    f.space->addCSSClass("asks");
    f.host.frames(3);
    CHECK_FALSE(f.isEditing());
}
