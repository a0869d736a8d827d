#include "care/SpokenLanguage.hpp"

#include "CareTable.hpp"
#include "care/CareStyles.hpp"
#include "presentation/LanguageTexts.hpp"
#include "services/CardLanguages.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

using namespace Host;
using Vecta::Vector2f;

namespace
{
std::shared_ptr<CardLanguages> languages()
{
    return std::make_shared<CardLanguages>(
        std::vector<Person>{{1001, {}, {}, {}, 0, QStringLiteral("pt-br")}, {1002, {}, {}, {}, 0, QStringLiteral("de")}});
}

struct SpokenLanguageFixture
{
    SpokenLanguageFixture() { table.host.style("Widget, TextWidget { width: 100px; height: 40px; }"); }
    Trellis::Widget& add(const Bedrock::IntrusivePtr<Trellis::Widget>& widget)
    {
        widget->postConstruct();
        table.host.mainWidget().addChild(widget);
        return *widget;
    }

    CareTable table{CareSettings(), {1920.f, 1080.f}, languages()};
};
}

TEST_CASE("spoken language: a widget has the pseudo-classes of its language and of the language's parents")
{
    SpokenLanguageFixture f;
    Trellis::Widget& widget = f.add(Bedrock::makeIntrusive<Trellis::Widget>());
    CHECK(languageOf(widget).isEmpty());
    setLanguage(widget, QStringLiteral("pt-br"));
    CHECK(widget.hasPseudoClass("lang(pt-br)"));
    CHECK(widget.hasPseudoClass("lang(pt)"));
    CHECK(languageOf(widget) == "pt-br");
    setLanguage(widget, QStringLiteral("pt"));
    CHECK_FALSE(widget.hasPseudoClass("lang(pt-br)"));
    CHECK(languageOf(widget) == "pt");
    widget.setPseudoClass("closing", true);
    setLanguage(widget, QString());
    CHECK(widget.pseudoClasses() == QList<QByteArray>{"closing"});
}

TEST_CASE("spoken language: what opens at a card has the card's language in its first frame, and the table's without one")
{
    SpokenLanguageFixture f;
    CHECK(languageOf(f.table.open(1001, {500.f, 500.f})) == "pt-br");
    CHECK(languageOf(f.table.open(1002, {900.f, 500.f})) == "de");
    CHECK(languageOf(f.table.open(7, {1400.f, 500.f})) == "en");
}

TEST_CASE("spoken language: a folder's content has the language of the card that came nearest, and of one that went")
{
    SpokenLanguageFixture f;
    const auto launch = [&](Vector2f point) -> Trellis::Widget& {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, point, 0.f));
        return f.add(widget);
    };
    f.table.area->setInputEnabled(false);
    const auto portuguese = f.table.host.input.markerDown(1001, {300.f, 300.f});
    const auto german = f.table.host.input.markerDown(1002, {1500.f, 700.f});
    Trellis::Widget& left = launch({310.f, 300.f});
    Trellis::Widget& right = launch({1500.f, 690.f});
    f.table.host.frame();
    CHECK(languageOf(left) == "pt-br");
    CHECK(languageOf(right) == "de");
    CHECK_FALSE(left.findByType("CloseHandle"));

    f.table.host.input.markerUp(portuguese);
    Trellis::Widget& uncovered = launch({300.f, 300.f});
    f.table.host.frame();
    CHECK(languageOf(uncovered) == "pt-br");

    // What a visitor launches while a card moves belongs to no card.
    f.table.host.input.markerMove(german, {1400.f, 700.f});
    Trellis::Widget& fromMenu = launch({300.f, 300.f});
    f.table.host.frame();
    CHECK(languageOf(fromMenu).isEmpty());
}

TEST_CASE("spoken language: what a menu launched keeps the menu's language, also when a card comes in that frame")
{
    SpokenLanguageFixture f;
    f.table.area->setInputEnabled(false);
    f.table.host.input.markerDown(1002, {300.f, 300.f});
    const auto launched = Bedrock::makeIntrusive<Trellis::Widget>();
    setLanguage(*launched, QStringLiteral("fi"));
    launched->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vector2f{310.f, 300.f}, 0.f));
    f.add(launched);
    f.table.host.frame();
    CHECK(languageOf(*launched) == "fi");
}

TEST_CASE("spoken language: the halo of a card that nothing took speaks the card's language")
{
    SpokenLanguageFixture f;
    f.table.area->setInputEnabled(false);
    f.table.host.input.markerDown(1002, {500.f, 500.f});
    f.table.host.frame();
    const auto signs = f.table.host.app().mainLayer()->findAllByType("CardSign");
    REQUIRE(signs.size() == 1);
    CHECK(languageOf(*signs[0]) == "de");
}

TEST_CASE("spoken language: texts are those of the card's language, then of the table's, and a text that reads from the right "
          "stands there")
{
    SpokenLanguageFixture f;
    const std::vector<LanguageTexts> texts{{"ar", {}, {{"hi", QString::fromUtf8("مرحبا"), 1}}},
                                           {"en", {}, {{"bye", "Bye", 1}, {"hi", "Hello", 2}}}};
    QString css;
    for (const LanguageSheet& sheet : languageSheets(texts, QStringLiteral("en")))
        css += sheet.css;
    f.table.host.style(css + ".hi { text: var(--hi); } .bye { text: var(--bye); }");
    const auto shown = [&](const char* cssClass, Trellis::Widget& parent) {
        const auto text = Bedrock::makeIntrusive<Trellis::TextWidget>(&parent);
        text->addCSSClass(cssClass);
        text->postConstruct();
        return text;
    };
    Trellis::Widget& space = f.table.open(1002, {500.f, 500.f});
    const auto hi = shown("hi", space);
    const auto bye = shown("bye", space);
    CHECK(hi->text() == "Hello");
    setLanguage(space, QStringLiteral("ar"));
    CHECK(hi->text() == QString::fromUtf8("مرحبا"));
    CHECK(bye->text() == "Bye");
    const auto outside = shown("hi", f.table.host.mainWidget());
    CHECK(outside->text() == "Hello");
}

TEST_CASE("spoken language: a letter to a typed address has the language of the space that sends it")
{
    SpokenLanguageFixture f;
    auto& main = f.table.host.mainWidget();
    Trellis::Widget& first = f.add(Bedrock::makeIntrusive<Trellis::Widget>());
    Trellis::Widget& second = f.add(Bedrock::makeIntrusive<Trellis::Widget>());
    const QString address = QStringLiteral("a@b.org");
    const Facet::AttributeT<QString> firstAddress(&first, "user-email", address);
    const Facet::AttributeT<QString> secondAddress(&second, "user-email", address);
    setLanguage(first, QStringLiteral("fi"));
    setLanguage(second, QStringLiteral("de"));
    CHECK(languageOfSender(main, address).isEmpty());
    second.addCSSClass("sending-email");
    CHECK(languageOfSender(main, address) == "de");
    CHECK(languageOfSender(main, QStringLiteral("b@b.org")).isEmpty());
}

TEST_CASE("spoken language: keyboards follow it where there is one of that language")
{
    SpokenLanguageFixture f;
    f.table.host.style(languageKeyboardSheet());
    Trellis::Widget& space = f.add(Bedrock::makeIntrusive<Trellis::Widget>());
    const auto field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(&space, false);
    field->postConstruct();
    const auto layoutIn = [&](const char* tag) {
        setLanguage(space, QLatin1String(tag));
        return field->keyboardLayout().value();
    };
    CHECK(layoutIn("de") == "de");
    CHECK(layoutIn("fi") == "fi");
    CHECK(layoutIn("fr-ch") == "fr");
    CHECK(layoutIn("pt").isEmpty());
}
