#include "SpaceTable.hpp"

#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"
#include "registration/PersonalComponents.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/Inbox.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Tavola/Package.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Tavola/UserInterface.hpp>

#include <QJsonObject>

#include <algorithm>
#include <stdexcept>

namespace Bench
{
namespace
{
/// Class of a child of the space, its declarations here and in Qt's notation.
struct Rule
{
    const char* cssClass;
    const char* ours;
    const char* qt;
};
constexpr Rule kRules[] = {
    {"title", "font-size: 38px; color: #1d2a38", "font-size: 38px; color: #1d2a38"},
    {"custom-info", "font-size: 18px; color: #5b6775", "font-size: 18px; color: #5b6775"},
    {"info", "font-size: 20px; color: #a79a84", "font-size: 20px; color: #a79a84"},
    {"user-page-link", "font-size: 17px; color: #24435a", "font-size: 17px; color: #24435a"},
    {"help-button", "background-color: #e3d7c2", "background-color: #e3d7c2"},
    {"cancel-button", "background-color: #e3d7c2", "background-color: #e3d7c2"},
    {"save-button", "background-color: #24435a", "background-color: #24435a"},
    {"container", "display: inline; width: 100px; height: 100px", "min-width: 100px; min-height: 100px"},
    {"envelope", "background-color: #f2a65a", "background-color: #f2a65a"},
};
constexpr int kOtherRules = 100;

unsigned long g_lastCode = 500000;
}

QString spaceSheet()
{
    QString text = QStringLiteral("PersonalSpaceWidget { width: 600px; height: 640px; position: absolute; padding: 20px;"
                                  " background-color: #f7f1e6 }\n"
                                  "PersonalSpaceContentWidget { width: 528px; height: 340px; position: absolute }\n"
                                  "PersonalTesselDetectorWidget { width: 1920px; height: 1080px; position: absolute }\n");
    for (const Rule& rule : kRules)
        text += QStringLiteral("PersonalSpaceWidget .%1 { %2 }\n").arg(QLatin1String(rule.cssClass), QLatin1String(rule.ours));
    for (int i = 0; i < kOtherRules; ++i)
        text += QStringLiteral(".other%1 > .part { width: %2px; padding: 3px }\n").arg(i).arg(i + 10);
    return text;
}

QString qtSpaceSheet(QtNames names)
{
    const auto named = [names](const char* name) {
        return QString::fromLatin1(names == QtNames::ObjectName ? "#%1" : "*[class~=\"%1\"]").arg(QLatin1String(name));
    };
    QString text = named("PersonalSpaceWidget")
        + QStringLiteral(" { min-width: 600px; padding: 20px; background-color: #f7f1e6 }\n")
        + named("PersonalSpaceContentWidget") + QStringLiteral(" { min-width: 528px }\n");
    for (const Rule& rule : kRules)
        text += QStringLiteral("%1 %2 { %3 }\n").arg(named("PersonalSpaceWidget"), named(rule.cssClass), QLatin1String(rule.qt));
    for (int i = 0; i < kOtherRules; ++i)
        text += QStringLiteral("%1 > %2 { min-width: %3px; padding: 3px }\n")
                    .arg(named(QByteArray("other" + QByteArray::number(i)).constData()), named("part"))
                    .arg(i + 10);
    return text;
}

QString styledName(const QStringList& typeAndClasses)
{
    for (const Rule& rule : kRules)
        if (typeAndClasses.contains(QLatin1String(rule.cssClass)))
            return QLatin1String(rule.cssClass);
    return typeAndClasses.front();
}

SpaceTable::SpaceTable() : m_tavola(Tavola::Tavola::create())
{
    m_application.addInputSource(m_input);
    QJsonObject components;
    for (const char* name : {"personal-space-widget", "tavola-personal-tessel-detector"})
        components.insert(QLatin1String(name), QJsonObject{{QStringLiteral("type"), QStringLiteral("widget")}});
    m_tavola->addPackage(Tavola::Package::fromJson(
        {{QStringLiteral("package"), QStringLiteral("bench")}, {QStringLiteral("components"), components}},
        QStringLiteral("bench.json")));
    m_spaces.emplace(QStringLiteral("personal-space-widget"), Tavola::makePersonalSpaceComponent);
    m_detectors.emplace(QStringLiteral("tavola-personal-tessel-detector"), Tavola::makeTesselDetectorComponent);
    Cascara::StyleEngine::instance().addStyleSheet(spaceSheet(), QStringLiteral("bench.css"));
    m_tavola->ui()->mainWidget()->addChild(
        m_tavola->createComponent(QStringLiteral("tavola-personal-tessel-detector"))->createContentWidget());
    frames(2);
}

SpaceTable::~SpaceTable()
{
    clear();
    m_spaces.reset();
    m_detectors.reset();
    Bedrock::BGThread::instance()->waitUntilIdle();
    (void)Bedrock::Inbox::instance().deliver();
    Bedrock::AfterUpdateQueue::instance().clear();
    m_tavola.reset();
    m_application.removeInputSource(m_input);
    m_application.destroyRemovedWidgets();
    Cascara::StyleEngine::instance().clearStyleSheets();
}

void SpaceTable::frames(int count)
{
    for (int i = 0; i < count; ++i)
        m_application.frame(1.0 / 60.0);
}

unsigned long SpaceTable::newCard()
{
    using Tavola::TesselServiceAPI;
    m_tavola->services()->tesselServiceCache()->insert(
        ++g_lastCode,
        TesselServiceAPI::MarkerProperties(
            TesselServiceAPI::MarkerProperties::kPersonal,
            TesselServiceAPI::PersonalMarkerProperties{QStringLiteral("Ann"), QStringLiteral("ann@example.org"), {}}));
    return g_lastCode;
}

std::int64_t SpaceTable::putDown(unsigned long code)
{
    const std::size_t before = spaces().size();
    m_cards.push_back(m_input.markerDown(code, {700.f, 500.f}));
    frames(1);
    if (spaces().size() != before + 1)
        throw std::runtime_error("no space opened at the card");
    return m_cards.back();
}

void SpaceTable::lift(std::int64_t card)
{
    m_input.markerUp(card);
    m_cards.erase(std::remove(m_cards.begin(), m_cards.end(), card), m_cards.end());
    frames(1);
}

std::vector<Tavola::PersonalSpaceWidget*> SpaceTable::spaces()
{
    std::vector<Tavola::PersonalSpaceWidget*> found;
    for (const auto& child : m_tavola->ui()->mainWidget()->children())
        if (auto* space = dynamic_cast<Tavola::PersonalSpaceWidget*>(child.get()))
            found.push_back(space);
    return found;
}

void SpaceTable::clear()
{
    for (const std::int64_t card : m_cards)
        m_input.markerUp(card);
    m_cards.clear();
    for (Tavola::PersonalSpaceWidget* space : spaces())
        space->removeFromParent();
    frames(1);
}

SpaceTable::Area SpaceTable::openArea()
{
    const unsigned long code = newCard();
    const std::int64_t card = putDown(code);
    Tavola::PersonalSpaceWidget* const space = spaces().back();
    auto* area = dynamic_cast<Tavola::PersonalSpaceContentWidget*>(space->findByType("PersonalSpaceContentWidget"));
    lift(card);
    // Makes room for the next card.
    space->setLocation({-2000.f, 0.f});
    return {area, Tavola::PersonalSpaceContents::personalContent(code)};
}
}
