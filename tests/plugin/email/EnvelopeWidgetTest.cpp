#include "email/EnvelopeWidget.hpp"

#include "PluginSupport.hpp"
#include "RecordingContext.hpp"
#include "TestHost.hpp"

#include <Trellis/FrameInfo.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <cmath>
#include <limits>

using PluginTest::Strings;
using Tavola::EnvelopeWidget;
using TestSupport::RecordingContext;
using TestSupport::TestHost;

namespace
{
constexpr float kTwoPi = float(Vecta::kTwoPi);

struct Envelope
{
    TestHost host;
    Bedrock::IntrusivePtr<EnvelopeWidget> widget{new EnvelopeWidget(&host.mainWidget())};

    Envelope() { widget->setSize({115.f, 75.f}); }

    Facet::AttributeT<bool>& drawProgress()
    {
        return dynamic_cast<Facet::AttributeT<bool>&>(*widget->attribute("draw-progress"));
    }
    Facet::AttributeT<float>& animationTime()
    {
        return dynamic_cast<Facet::AttributeT<float>&>(*widget->attribute("animation-time"));
    }

    std::vector<RecordingContext::Call> arcs()
    {
        RecordingContext context;
        widget->renderContent(context);
        std::vector<RecordingContext::Call> found;
        for (const auto& call : context.calls())
            if (call.kind == RecordingContext::Call::Kind::Arc)
                found.push_back(call);
        return found;
    }
    RecordingContext::Call arc()
    {
        const auto found = arcs();
        REQUIRE(found.size() == 1);
        return found[0];
    }
};
}

TEST_CASE("envelope: it has a type and a class of its own, and no ring")
{
    Envelope envelope;
    CHECK(envelope.widget->cssType() == "EnvelopeWidget");
    CHECK(PluginTest::classesOf(*envelope.widget) == Strings{"envelope"});
    CHECK(envelope.drawProgress().value() == false);
    CHECK(envelope.animationTime().value() == 4.f);
    CHECK(envelope.arcs().empty());
    CHECK_FALSE(envelope.widget->isUpdating());
}

TEST_CASE("envelope: the ring is an arc of 300 degrees that touches the widget's edges")
{
    Envelope envelope;
    envelope.drawProgress().setValue(true);
    const auto arc = envelope.arc();
    CHECK(arc.rect.center() == Vecta::Vector2f(57.5f, 37.5f));
    CHECK(arc.radius == 50.f);
    CHECK(arc.fromRadians == 0.f);
    CHECK(arc.toRadians == 5.235988f);
    CHECK(arc.segments == 0);
}

TEST_CASE("envelope: the ring is stroked in premultiplied translucent black, 15 wide, and not filled")
{
    Envelope envelope;
    envelope.drawProgress().setValue(true);
    const auto style = envelope.arc().style;
    CHECK_FALSE(style.hasFill);
    CHECK(style.hasStroke);
    CHECK(style.strokeWidth == 15.f);
    CHECK(style.stroke == Bedrock::Color::fromString("#000000AA").premultiplied());
    CHECK(style.stroke.alpha == doctest::Approx(170.0 / 255.0));
}

TEST_CASE("envelope: the ring is drawn over the picture")
{
    Envelope envelope;
    envelope.host.style("EnvelopeWidget { background-color: #ff0000 }");
    envelope.drawProgress().setValue(true);
    RecordingContext context;
    envelope.widget->renderContent(context);
    REQUIRE(context.calls().size() >= 2);
    CHECK(context.calls().back().kind == RecordingContext::Call::Kind::Arc);
}

TEST_CASE("envelope: the ring turns once in the animation time")
{
    Envelope envelope;
    envelope.drawProgress().setValue(true);
    envelope.host.frame(1.0);
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi / 4));
    CHECK(envelope.arc().toRadians == doctest::Approx(kTwoPi / 4 + 5.235988f));
    envelope.host.frames(3, 1.0);
    // The gap is back where it began; the angle itself has grown by a turn.
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi));
    CHECK(std::cos(envelope.arc().fromRadians) == doctest::Approx(1.0));
    envelope.host.frames(8, 1.0);
    CHECK(envelope.arc().fromRadians == doctest::Approx(3 * kTwoPi));
}

TEST_CASE("envelope: another animation time is another speed")
{
    Envelope envelope;
    envelope.animationTime().setValue(2.f);
    envelope.drawProgress().setValue(true);
    envelope.host.frame(0.5);
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi / 4));
}

TEST_CASE("envelope: switching the ring off and on restarts it at angle 0")
{
    Envelope envelope;
    envelope.drawProgress().setValue(true);
    envelope.host.frames(2, 1.0);
    envelope.drawProgress().setValue(false);
    CHECK(envelope.arcs().empty());
    envelope.host.frames(3, 1.0);
    envelope.drawProgress().setValue(true);
    CHECK(envelope.arc().fromRadians == 0.f);
    envelope.host.frame(1.0);
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi / 4));
}

TEST_CASE("envelope: the same value set again does not restart the ring")
{
    Envelope envelope;
    envelope.drawProgress().setValue(true);
    envelope.host.frame(1.0);
    envelope.drawProgress().setValue(true);
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi / 4));
}

TEST_CASE("envelope: the style sheet switches the ring on and off")
{
    Envelope envelope;
    envelope.host.style(".sending .envelope { draw-progress: true; animation-time: 8 }");
    CHECK(envelope.arcs().empty());
    envelope.host.mainWidget().addCSSClass("sending");
    envelope.host.frame(1.0);
    CHECK(envelope.arc().fromRadians == doctest::Approx(kTwoPi / 8));
    envelope.host.mainWidget().removeCSSClass("sending");
    CHECK(envelope.arcs().empty());
}

TEST_CASE("envelope: it is updated only while the ring shows, and each of those frames draws it anew")
{
    Envelope envelope;
    envelope.host.frames(3);
    (void)envelope.host.app().collectDamage();
    envelope.host.frame(0.1);
    CHECK(envelope.host.app().damage().empty());
    envelope.drawProgress().setValue(true);
    CHECK(envelope.widget->isUpdating());
    (void)envelope.host.app().collectDamage();
    envelope.host.frame(0.1);
    CHECK_FALSE(envelope.host.app().damage().empty());
    envelope.drawProgress().setValue(false);
    CHECK_FALSE(envelope.widget->isUpdating());
    CHECK_FALSE(envelope.host.app().damage().empty());
}

TEST_CASE("envelope: time that passes while the ring is off does not count")
{
    Envelope envelope;
    envelope.widget->update(Trellis::FrameInfo(1.f, 1.0, 1));
    envelope.widget->update(Trellis::FrameInfo(1.f, 2.0, 2));
    envelope.drawProgress().setValue(true);
    CHECK(envelope.arc().fromRadians == 0.f);
}

TEST_CASE("envelope: a widget narrower than the stroke passes its negative radius on")
{
    Envelope envelope;
    envelope.widget->setSize({5.f, 40.f});
    envelope.drawProgress().setValue(true);
    CHECK(envelope.arc().radius == -5.f);
}

TEST_CASE("envelope: an animation time of 0 is not guarded against")
{
    Envelope envelope;
    envelope.animationTime().setValue(0.f);
    envelope.drawProgress().setValue(true);
    CHECK(std::isnan(envelope.arc().fromRadians));
    envelope.host.frame(1.0);
    CHECK(envelope.arc().fromRadians == std::numeric_limits<float>::infinity());
    CHECK(envelope.arc().toRadians == std::numeric_limits<float>::infinity());
}
