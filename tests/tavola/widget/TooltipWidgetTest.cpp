#include <doctest/doctest.h>

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/TextWidget.hpp>

using Bedrock::makeIntrusive;
using Tavola::TooltipWidget;
using TestSupport::TestHost;

TEST_CASE("tooltip: is a child of its parent with a text widget inside")
{
    TestHost host;
    const auto tooltip = makeIntrusive<TooltipWidget>(host.ui().mainWidget());
    CHECK(tooltip->parent() == host.ui().mainWidget().get());
    CHECK(tooltip->cssType() == "TooltipWidget");
    CHECK(tooltip->textWidget()->parent() == tooltip.get());
    CHECK(tooltip->textWidget()->hasCSSClass("tooltip-text"));
    CHECK(tooltip->text().isEmpty());
}

TEST_CASE("tooltip: a text that was set shows")
{
    TestHost host;
    const auto tooltip = makeIntrusive<TooltipWidget>(host.ui().mainWidget());
    tooltip->setText("Help");
    CHECK(tooltip->text() == "Help");
    CHECK(tooltip->textWidget()->text() == "Help");
}

TEST_CASE("tooltip: the default text comes from the style of the tooltip or of its text widget")
{
    TestHost host;
    host.style("TooltipWidget.a { text: 'of the tooltip' } TooltipWidget.b > .tooltip-text { text: 'of the text' }");
    const auto tooltip = makeIntrusive<TooltipWidget>(host.ui().mainWidget());
    tooltip->addCSSClass("a");
    CHECK(tooltip->text() == "of the tooltip");
    tooltip->addCSSClass("b");
    CHECK(tooltip->text() == "of the text");
    tooltip->removeCSSClass("b");
    CHECK(tooltip->text() == "of the tooltip");
    tooltip->removeCSSClass("a");
    CHECK(tooltip->text().isEmpty());
}

TEST_CASE("tooltip: a text that was set goes before every style")
{
    TestHost host;
    host.style("TooltipWidget { text: 'of the tooltip' } .tooltip-text { text: 'of the text' }");
    const auto tooltip = makeIntrusive<TooltipWidget>(host.ui().mainWidget());
    CHECK(tooltip->text() == "of the text");
    tooltip->setText("set");
    CHECK(tooltip->text() == "set");
    tooltip->setText(QString());
    CHECK(tooltip->text().isEmpty());
    tooltip->attribute("text")->clearValue(Facet::kUserLayer);
    CHECK(tooltip->text() == "of the text");
}

TEST_CASE("tooltip: the text set is the same as the tooltip's style while another one shows")
{
    TestHost host;
    host.style("TooltipWidget { text: 'same' } .tooltip-text { text: 'other' }");
    const auto tooltip = makeIntrusive<TooltipWidget>(host.ui().mainWidget());
    tooltip->setText("same");
    CHECK(tooltip->text() == "same");
}
