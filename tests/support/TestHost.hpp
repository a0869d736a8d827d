#pragma once

#include "FakeServices.hpp"
#include "Patience.hpp"
#include "ScriptedInput.hpp"

#include <Tavola/DataGathering.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace TestSupport
{
/// A whole table without a screen: the real toolkit and host core, fingers and cards moved by the test, fake services.
/// Frames are cranked by hand. At its end everything that was made must be gone again, which is checked.
///
///     TestHost host;
///     host.addPerson(1001, "Ann", "ann@example.org");
///     host.style("PersonalSpaceWidget { collection-mode: upload }");
///     const auto card = host.input.markerDown(1001, {960, 540});
///     host.frame();
class TestHost
{
public:
    static constexpr double kFrameSeconds = 1.0 / 60.0;

    explicit TestHost(Vecta::Vector2f sizePx = {1920.f, 1080.f});
    ~TestHost();
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    ScriptedInput input;

    [[nodiscard]] Trellis::Application& app() { return *m_app; }
    [[nodiscard]] Tavola::Tavola& tavola() { return *m_tavola; }
    [[nodiscard]] Tavola::UserInterface& ui() { return *m_tavola->ui(); }
    [[nodiscard]] Trellis::Widget& mainWidget() { return *ui().mainWidget(); }
    /// For tests of what happens when the application goes first.
    void destroyTavola();

    // ---- Frames -------------------------------------------------------------------------------------------------------

    void frame(double dtSeconds = kFrameSeconds) { m_app->frame(dtSeconds); }
    void frames(int count, double dtSeconds = kFrameSeconds);
    /// Frames without time passing until the condition holds, for what other threads and sockets bring; false when it does
    /// not within `timeoutMs` of real time.
    [[nodiscard]] bool frameUntil(const std::function<bool()>& condition, int timeoutMs = kPatienceMs);

    /// Puts finger `id` down at `from`, moves it to `to` in `steps` frames and leaves it down there.
    void drag(std::int64_t id, Vecta::Vector2f from, Vecta::Vector2f to, int steps = 4);
    /// As above, and lets go; the frame of letting go included.
    void dragAndDrop(std::int64_t id, Vecta::Vector2f from, Vecta::Vector2f to, int steps = 4);
    /// A tap within one frame.
    void tap(Vecta::Vector2f scenePoint);

    // ---- What is configured --------------------------------------------------------------------------------------------

    /// Adds a style sheet; messages call it "test.css".
    void style(const QString& css);
    /// A package that declares these components, as the JSON beside a plug-in does.
    void declareComponents(const QStringList& names);

    /// The marker service; configured from the start.
    [[nodiscard]] FakeTesselService& tesselService() { return *m_tesselService; }
    /// As a presentation without one.
    void removeTesselService() { m_tavola->services()->setTesselService(nullptr); }
    [[nodiscard]] Tavola::TesselServiceCache& cache() { return *m_tavola->services()->tesselServiceCache(); }
    /// Makes a card known to the cache as a personal one.
    void addPerson(unsigned long code, const QString& name, const QString& email = QString(),
                   const QByteArray& contentKey = QByteArray());
    /// Makes a card known to the cache as one without an owner (or of another kind).
    void addCard(unsigned long code, int type);

    /// The media server, configured from the start as "media-server-service". The plug-in asks for that type and for no name; the
    /// name here is one that nothing else uses, so that a look-up by a name finds no service.
    [[nodiscard]] FakeMediaServer& mediaServer() { return *m_mediaServer; }
    void removeMediaServer() { m_tavola->services()->removeService(m_mediaServer); }

    // ---- What was heard ------------------------------------------------------------------------------------------------

    /// Analytics events in the order they were logged.
    [[nodiscard]] const std::vector<Tavola::DataGathering::Event>& analytics() const { return m_analytics; }
    /// Texts of Tavola::errorMessage. Each is also an error in the log, which a test announces with
    /// expectError("Tavola # text").
    [[nodiscard]] const std::vector<QString>& errorMessages() const { return m_errorMessages; }

private:
    long m_liveObjectsBefore;
    std::unique_ptr<Trellis::Application> m_app;
    std::shared_ptr<Tavola::Tavola> m_tavola;
    std::shared_ptr<FakeTesselService> m_tesselService;
    std::shared_ptr<FakeMediaServer> m_mediaServer;
    std::vector<Tavola::DataGathering::Event> m_analytics;
    std::vector<QString> m_errorMessages;
    Tavola::DataGathering::Sink m_sinkBefore;
};
}
