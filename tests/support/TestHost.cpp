#include "TestHost.hpp"

#include "EventLoop.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/Inbox.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Tavola/Package.hpp>

#include <QJsonObject>

#include <doctest/doctest.h>

namespace TestSupport
{
TestHost::TestHost(Vecta::Vector2f sizePx)
    : m_liveObjectsBefore(Bedrock::ReferenceCounted::liveObjects()), m_app(std::make_unique<Trellis::Application>(sizePx)),
      m_tavola(Tavola::Tavola::create()), m_tesselService(std::make_shared<FakeTesselService>()),
      m_mediaServer(std::make_shared<FakeMediaServer>())
{
    m_app->addInputSource(input);
    m_tavola->services()->setTesselService(m_tesselService);
    m_tavola->services()->addService(QStringLiteral("media-server-service"), QStringLiteral("server-of-the-test"), m_mediaServer);
    m_tavola->setErrorMessageHandler([this](const QString& text) { m_errorMessages.push_back(text); });
    m_sinkBefore =
        Tavola::DataGathering::setSink([this](const Tavola::DataGathering::Event& event) { m_analytics.push_back(event); });
}

TestHost::~TestHost()
{
    // A registration that a test left held must not hold the background thread for ever.
    m_tesselService->releaseRegistrations();
    Bedrock::BGThread::instance()->waitUntilIdle();
    (void)Bedrock::Inbox::instance().deliver();
    Bedrock::AfterUpdateQueue::instance().clear();
    m_mediaServer->script = nullptr;
    m_tesselService->answerPersonalWidget = nullptr;
    destroyTavola();
    m_app->removeInputSource(input);
    m_app->destroyRemovedWidgets();
    m_app.reset();
    m_mediaServer->breakPromises();
    // Continuations of the broken promises, whose widgets are gone.
    (void)Bedrock::Inbox::instance().deliver();
    Bedrock::AfterUpdateQueue::instance().drain();
    Bedrock::Inbox::instance().clear();
    Bedrock::AfterUpdateQueue::instance().clear();
    Cascara::StyleEngine::instance().clearStyleSheets();
    Tavola::DataGathering::setSink(std::move(m_sinkBefore));
    CHECK_MESSAGE(Bedrock::ReferenceCounted::liveObjects() == m_liveObjectsBefore, "widgets or operators are left over");
}

void TestHost::destroyTavola()
{
    m_tavola.reset();
}

void TestHost::frames(int count, double dtSeconds)
{
    for (int i = 0; i < count; ++i)
        frame(dtSeconds);
}

bool TestHost::frameUntil(const std::function<bool()>& condition, int timeoutMs)
{
    return pumpUntil(
        [&] {
            frame(0.0);
            return condition();
        },
        timeoutMs);
}

void TestHost::drag(std::int64_t id, Vecta::Vector2f from, Vecta::Vector2f to, int steps)
{
    input.fingerDown(id, from);
    frame();
    for (int i = 1; i <= steps; ++i) {
        input.fingerMove(id, from + (to - from) * (static_cast<float>(i) / static_cast<float>(steps)));
        frame();
    }
}

void TestHost::dragAndDrop(std::int64_t id, Vecta::Vector2f from, Vecta::Vector2f to, int steps)
{
    drag(id, from, to, steps);
    input.fingerUp(id);
    frame();
}

void TestHost::tap(Vecta::Vector2f scenePoint)
{
    input.tap(999, scenePoint);
    frame();
}

void TestHost::style(const QString& css)
{
    Cascara::StyleEngine::instance().addStyleSheet(css, QStringLiteral("test.css"));
}

void TestHost::declareComponents(const QStringList& names)
{
    QJsonObject components;
    for (const QString& name : names)
        components.insert(name, QJsonObject{{QStringLiteral("type"), QStringLiteral("widget")}});
    m_tavola->addPackage(Tavola::Package::fromJson(
        {{QStringLiteral("package"), QStringLiteral("test")}, {QStringLiteral("components"), components}},
        QStringLiteral("test.json")));
}

void TestHost::addPerson(unsigned long code, const QString& name, const QString& email, const QByteArray& contentKey)
{
    using Tavola::TesselServiceAPI;
    cache().insert(code,
                   TesselServiceAPI::MarkerProperties(TesselServiceAPI::MarkerProperties::kPersonal,
                                                      TesselServiceAPI::PersonalMarkerProperties{name, email, contentKey}));
}

void TestHost::addCard(unsigned long code, int type)
{
    cache().insert(code, Tavola::TesselServiceAPI::MarkerProperties(type, std::nullopt));
}
}
