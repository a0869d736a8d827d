#include "care/CardSigns.hpp"

#include "care/CardOpenings.hpp"
#include "care/CardOutline.hpp"
#include "care/SignWords.hpp"
#include "care/SpokenLanguage.hpp"
#include "components/PanelInstance.hpp"
#include "services/CardLanguages.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/MarkerDetectorWidget.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>
#include <Trellis/TextWidget.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <typeinfo>

namespace Host
{
namespace
{
/// A card is held from the side that its rotation points away from.
constexpr float kToHolder = float(Vecta::kTwoPi) / 4.f;
constexpr float kWordsGapMm = 4.f; ///< between the words and a card

const QByteArray kCovered = QByteArrayLiteral("covered");
const QByteArray kOtherSpace = QByteArrayLiteral("other-space");

/// Whether the widget has an instance of a class of its own, as detectors have; content has one of the common class.
bool hasOwnInstance(const Trellis::Widget& widget)
{
    const auto instance = Tavola::Tavola::instance()->widgetInstance(widget.id());
    if (!instance || dynamic_cast<const PanelInstance*>(instance.get()))
        return false;
    const Tavola::WidgetInstance& made = *instance;
    return typeid(made) != typeid(Tavola::WidgetInstance);
}

QByteArray byRegistry(const Tactile::Marker& card)
{
    const auto cache = Tavola::Tavola::instance()->services()->tesselServiceCache();
    return cache && cache->isCached(card.code()) ? QByteArray("refused") : QByteArray("unknown");
}

/// Why nothing took the card; empty when something did.
/// `shown`: of the sign that the card has.
QByteArray reasonOf(const Tactile::Marker& card, const QByteArray& shown, const Trellis::Widget& content,
                    const Trellis::GrabManager& grabManager, const CardOpenings& openings)
{
    const Trellis::InputGrabber* const grabber = grabManager.grabber(card.id());
    // A card that outlasts what it lies on is offered to nothing else until it is put down again.
    if (!grabber)
        return shown == kCovered || shown == kOtherSpace ? shown : byRegistry(card);
    const Trellis::Widget& holder = grabber->widget();
    if (&holder == Tavola::Tavola::instance()->ui()->background().get()
        || dynamic_cast<const Tavola::MarkerDetectorWidget*>(&holder))
        return byRegistry(card);
    if (holder.eventHasListeners("marker-down"))
        return {};
    const auto* const onTable = holder.nearest([&content](const Trellis::Widget& widget) { return widget.parent() == &content; });
    const auto owner = onTable ? openings.codeOf(*onTable) : std::nullopt;
    if (!owner)
        return hasOwnInstance(holder) ? QByteArray() : kCovered;
    return *owner == card.code() ? QByteArray() : kOtherSpace;
}
}

CardSigns::CardSigns(float pixelPitchMm) : m_pixelPitchMm(pixelPitchMm) {}
CardSigns::~CardSigns() = default;

void CardSigns::update(Trellis::Widget& layer, const Trellis::Widget& content, const Trellis::GrabManager& grabManager,
                       const CardOpenings& openings, const CardLanguages* languages)
{
    const auto& cards = grabManager.currentSample().markers;
    if (cards.empty() && m_signs.empty())
        return;
    for (auto& sign : m_signs)
        sign.second.isPresent = false;
    for (auto card = cards.begin(); card != cards.end(); ++card) {
        const auto sign = m_signs.find(card->id());
        const QByteArray reason =
            reasonOf(*card, sign == m_signs.end() ? QByteArray() : sign->second.reason, content, grabManager, openings);
        const bool isTwice = std::any_of(cards.begin(), card, [card](const auto& other) { return other.code() == card->code(); });
        if (reason.isEmpty())
            continue;
        show(layer, *card, reason, isTwice, languages ? languages->ofCard(card->code()) : QString());
        placeWords(*card, cards);
    }
    for (auto sign = m_signs.begin(); sign != m_signs.end();) {
        if (sign->second.isPresent) {
            ++sign;
            continue;
        }
        sign->second.widget->removeFromParent();
        sign = m_signs.erase(sign);
    }
}

void CardSigns::show(Trellis::Widget& layer, const Tactile::Marker& card, const QByteArray& reason, bool isTwice,
                     const QString& language)
{
    Sign& sign = m_signs[card.id()];
    sign.isPresent = true;
    if (!sign.widget) {
        sign.widget = Bedrock::makeIntrusive<Trellis::Widget>();
        sign.widget->setCSSType("CardSign");
        sign.widget->postConstruct();
        sign.widget->setInputEnabled(false);
        const auto text = Bedrock::makeIntrusive<Trellis::TextWidget>(sign.widget.get());
        text->addCSSClass("card-sign-text");
        text->postConstruct();
        layer.addChild(sign.widget);
    }
    if (sign.reason != reason) {
        if (!sign.reason.isEmpty())
            sign.widget->removeCSSClass(sign.reason);
        sign.widget->addCSSClass(reason);
        sign.reason = reason;
    }
    if (isTwice)
        sign.widget->addCSSClass("twice");
    else
        sign.widget->removeCSSClass("twice");
    setLanguage(*sign.widget, language);
    sign.widget->setRotation(card.rotation() + kToHolder);
    const Vecta::Vector2f center = layer.mapFromScene(card.centerLocation());
    if ((sign.widget->centerLocation() - center).lengthSquared() > 0.01f)
        sign.widget->setCenterLocation(center);
}

void CardSigns::placeWords(const Tactile::Marker& card, const std::vector<Tactile::Marker>& cards) const
{
    SignSurroundings surroundings;
    surroundings.card = cardOutline(card, m_pixelPitchMm);
    for (const Tactile::Marker& other : cards)
        if (other.id() != card.id())
            surroundings.otherCards.push_back(cardOutline(other, m_pixelPitchMm));
    surroundings.table = Trellis::Application::instance()->size();
    surroundings.gapPx = kWordsGapMm / m_pixelPitchMm;
    const auto& sign = m_signs.at(card.id()).widget;
    placeSignWords(*sign->children().front(), *sign, card.centerLocation(), surroundings);
}
}
