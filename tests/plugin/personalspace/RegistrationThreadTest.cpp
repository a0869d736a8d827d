#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <Bedrock/BGThread.hpp>

#include <doctest/doctest.h>

// What the registration of a card's owner keeps on the background thread, and what comes back from there.

using PluginTest::classesOf;
using PluginTest::OpenSpace;
using PluginTest::Strings;

namespace
{
/// Fails with something that is no std::exception.
class OddTesselService final : public Tavola::TesselServiceAPI
{
public:
    boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long) override
    {
        return boost::make_unexpected(QString());
    }
    bool registerPersonalMarker(unsigned long, const QString&, const QString&) override { throw 42; }
};
}

TEST_CASE("registration: a request under way keeps the service, and not the application with its widgets")
{
    OpenSpace space;
    space.host.tesselService().holdRegistrations();
    space.write("Ann");
    space.tapSave();
    REQUIRE(space.host.frameUntil([&] { return space.host.tesselService().registrations().size() == 1; }));
    space.host.destroyTavola();
    CHECK(Tavola::Tavola::instance() == nullptr);
    CHECK(space.host.app().mainLayer()->children().empty());
    space.host.tesselService().releaseRegistrations();
    Bedrock::BGThread::instance()->waitUntilIdle();
}

TEST_CASE("registration: a service that throws what is no exception has refused, and the space waits no more")
{
    OpenSpace space;
    space.host.tavola().services()->setTesselService(std::make_shared<OddTesselService>());
    TestSupport::expectError("PersonalSpaceWidget::registerUser # Failed to register the owner of card "
                             + std::to_string(space.code) + " (unknown exception)");
    space.write("Ann");
    space.tapSave();
    Bedrock::BGThread::instance()->waitUntilIdle();
    space.host.frame();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
}
