#include <doctest/doctest.h>

#include "TestHost.hpp"

#include <Bedrock/LogText.hpp>
#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <QKeyEvent>

using Bedrock::makeIntrusive;
using Tavola::InputFieldWidget;
using TestSupport::TestHost;

namespace
{
void countTextWidgets(const Trellis::Widget& widget, int& count)
{
    count += dynamic_cast<const Trellis::TextInterfaceWidget*>(&widget) != nullptr;
    for (const auto& child : widget.children())
        countTextWidgets(*child, count);
}

/// The reasons that "editing-finished" gave.
std::shared_ptr<QStringList> listenToReasons(InputFieldWidget& field)
{
    auto reasons = std::make_shared<QStringList>();
    field.editor()->eventAddListenerBd("editing-finished", [reasons](Bedrock::BinaryData& data) {
        (void)data.readString();
        reasons->append(data.readString());
    });
    return reasons;
}
}

TEST_CASE("input field: has exactly three text widgets")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    int count = 0;
    countTextWidgets(*field, count);
    CHECK(count == 3);
    CHECK(field->editor()->parent() == field.get());
    CHECK(field->placeholder()->parent() == field.get());
    CHECK(field->tooltip()->parent() == field.get());
}

TEST_CASE("input field: what is written is its text")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    CHECK(field->text().isEmpty());
    field->editor()->insertText("Ann");
    CHECK(field->text() == "Ann");
}

TEST_CASE("input field: takes the keyboard only when told")
{
    TestHost host;
    const auto quiet = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    CHECK_FALSE(quiet->editor()->hasFocus());
    const auto eager = makeIntrusive<InputFieldWidget>(&host.mainWidget(), true);
    CHECK(eager->editor()->hasFocus());
}

TEST_CASE("input field: the placeholder shows while the field is empty")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    CHECK(field->placeholder()->isVisible());
    CHECK(field->hasPseudoClass("empty"));
    field->editor()->insertText("A");
    CHECK_FALSE(field->placeholder()->isVisible());
    CHECK_FALSE(field->hasPseudoClass("empty"));
    field->reset();
    CHECK(field->placeholder()->isVisible());
    CHECK(field->hasPseudoClass("empty"));
}

TEST_CASE("input field: the outcome of the validator is that of the last validate")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    CHECK(field->isValid());
    QStringList asked;
    field->setValidator([&asked](const QString& text) {
        asked.append(text);
        return text == "Ann";
    });
    CHECK(field->isValid());
    CHECK(asked.isEmpty());
    field->validate();
    CHECK_FALSE(field->isValid());
    field->editor()->insertText("Ann");
    CHECK_FALSE(field->isValid());
    field->validate();
    CHECK(field->isValid());
    CHECK(asked == QStringList{"", "Ann"});
}

TEST_CASE("input field: without a validator every text is valid but a blank one")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    const std::pair<const char*, bool> rows[] = {{"", false}, {"  ", false}, {"\t ", false}, {"A", true}, {" A ", true}};
    for (const auto& [text, isValid] : rows) {
        CAPTURE(text);
        field->editor()->clear();
        field->editor()->insertText(QLatin1String(text));
        field->validate();
        CHECK(field->isValid() == isValid);
    }
    field->setValidator([](const QString&) { return true; });
    field->editor()->clear();
    field->validate();
    CHECK(field->isValid());
    field->setValidator(nullptr);
    field->validate();
    CHECK_FALSE(field->isValid());
}

TEST_CASE("input field: what was typed is shortened in lines that leave the program once it was validated")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    field->editor()->insertText(QStringLiteral(" Tilda  Typer "));
    CHECK(Bedrock::withoutSecrets("A # Tilda  Typer") == "A # Tilda  Typer");
    field->validate();
    CHECK(Bedrock::withoutSecrets("A # Tilda  Typer, Tilda Typer") == "A # T…, T…");
    CHECK(field->text() == " Tilda  Typer ");
}

TEST_CASE("input field: errors show when asked for after a failed validation")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    field->setValidator([](const QString& text) { return !text.isEmpty(); });
    CHECK_FALSE(field->tooltip()->isVisible());
    field->showErrors(true); // nothing was validated yet
    CHECK_FALSE(field->tooltip()->isVisible());
    field->validate();
    CHECK_FALSE(field->tooltip()->isVisible());
    field->showErrors(true);
    CHECK(field->tooltip()->isVisible());
    CHECK(field->hasPseudoClass("invalid"));
    field->showErrors(false);
    CHECK_FALSE(field->tooltip()->isVisible());
    CHECK_FALSE(field->hasPseudoClass("invalid"));

    field->showErrors(true);
    field->editor()->insertText("A");
    CHECK_FALSE(field->tooltip()->isVisible());
    CHECK_FALSE(field->hasPseudoClass("invalid"));
}

TEST_CASE("input field: reset empties text and errors, keeps the validator and sends no enter")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), true);
    field->setValidator([](const QString& text) { return text.size() > 3; });
    field->editor()->insertText("Ann");
    field->validate();
    field->showErrors(true);
    REQUIRE(field->tooltip()->isVisible());
    const auto reasons = listenToReasons(*field);

    field->reset();
    CHECK(field->text().isEmpty());
    CHECK(field->isValid());
    CHECK_FALSE(field->tooltip()->isVisible());
    CHECK_FALSE(field->hasPseudoClass("invalid"));
    CHECK_FALSE(reasons->contains("enter"));
    field->validate();
    CHECK_FALSE(field->isValid());
}

TEST_CASE("input field: the enter key ends editing with the reason enter")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), true);
    const auto reasons = listenToReasons(*field);
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    host.app().keyPressed(enter);
    REQUIRE_FALSE(reasons->isEmpty());
    CHECK(reasons->first() == "enter");
}

TEST_CASE("input field: a tap on the placeholder writes into the field")
{
    TestHost host;
    host.style("InputFieldWidget { width: 300px; height: 40px } TextEditWidget { height: 40px } "
               "InputFieldWidget > .placeholder { text: 'Your name'; width: 300px; height: 40px }");
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    host.frame();
    CHECK(field->placeholder()->text() == "Your name");
    host.tap({20.f, 20.f});
    CHECK(field->editor()->hasFocus());
}

TEST_CASE("input field: the placeholder stands inside the padding, where no style says otherwise")
{
    TestHost host;
    host.style("InputFieldWidget { width: 300px; height: 44px; padding: 9px 14px } .high InputFieldWidget { padding: 20px }"
               "InputFieldWidget > .placeholder { text: 'Your name' } .aside .placeholder { left: 50px }");
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    host.frame();
    CHECK(field->placeholder()->location() == Vecta::Vector2f(14.f, 9.f));
    CHECK(field->editor()->location() == field->placeholder()->location());
    host.mainWidget().addCSSClass("high");
    host.frame();
    CHECK(field->placeholder()->location() == Vecta::Vector2f(20.f, 20.f));
    host.mainWidget().addCSSClass("aside");
    host.frame();
    CHECK(field->placeholder()->location() == Vecta::Vector2f(50.f, 20.f));
}

TEST_CASE("input field: the error text comes from the style sheet")
{
    TestHost host;
    host.style("InputFieldWidget > TooltipWidget { text: 'That is no address' }");
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    CHECK(field->tooltip()->textWidget()->text() == "That is no address");
}
