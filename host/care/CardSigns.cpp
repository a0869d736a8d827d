#include "care/CardSigns.hpp"

#include "care/CardOpenings.hpp"
#include "care/CardOutline.hpp"
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
#include <cmath>
#include <iterator>
#include <typeinfo>

namespace Host
{
namespace
{
/// A card is held from the side that its rotation points away from.
constexpr float kToHolder = float(Vecta::kTwoPi) / 4.f;
constexpr float kWordsGapMm = 4.f; ///< between the words and a card

const QByteArray kUnknown = QByteArrayLiteral("unknown");
const QByteArray kRefused = QByteArrayLiteral("refused");
const QByteArray kCovered = QByteArrayLiteral("covered");
const QByteArray kOtherSpace = QByteArrayLiteral("other-space");
const QByteArray kAgain = QByteArrayLiteral("again");
const QByteArray kTwice = QByteArrayLiteral("twice");
const QByteArray kNoWords = QByteArrayLiteral("no-words");

/// The same one, none of whose corners is more than so far from where it was.
bool isSameCard(const Tactile::Marker& a, const Tactile::Marker& b, float pixelPitchMm)
{
    const float byTurnMm = std::abs(a.rotation() - b.rotation()) * kCardSideMm * 0.71f;
    const float byMoveMm = (a.centerLocation() - b.centerLocation()).length() * pixelPitchMm;
    return a.id() == b.id() && byMoveMm + byTurnMm <= kTrembleMm;
}

/// Whether the widget has an instance of a class of its own, as detectors have; content has one of the common class.
bool hasOwnInstance(const Trellis::Widget& widget)
{
    const auto instance = Tavola::Tavola::instance()->widgetInstance(widget.id());
    if (!instance || dynamic_cast<const PanelInstance*>(instance.get()))
        return false;
    const Tavola::WidgetInstance& made = *instance;
    return typeid(made) != typeid(Tavola::WidgetInstance);
}

/// `shown`: the reason that the card's sign gives, empty without a sign.
QByteArray byRegistry(const Tactile::Marker& card, const QByteArray& shown)
{
    const auto cache = Tavola::Tavola::instance()->services()->tesselServiceCache();
    if (!cache || !cache->isCached(card.code()))
        return kUnknown;
    // One that became known while it lay there was not offered to anything since.
    return shown == kUnknown || shown == kAgain ? kAgain : kRefused;
}

bool isBackground(const Trellis::Widget& holder)
{
    return &holder == Tavola::Tavola::instance()->ui()->background().get()
        || dynamic_cast<const Tavola::MarkerDetectorWidget*>(&holder);
}

/// Why a card that no widget holds is not taken. `wasHeld`: by a widget that has gone.
QByteArray reasonWithoutHolder(const Tactile::Marker& card, const QByteArray& shown, bool wasHeld, const CardOpenings& openings)
{
    if (shown == kCovered || shown == kOtherSpace)
        return shown;
    if (!wasHeld)
        return byRegistry(card, shown);
    return openings.isOpen(card.code()) ? QByteArray() : kAgain;
}

/// What lies on the table and holds the card; null where that is nothing of the content.
const Trellis::Widget* onTable(const Trellis::Widget& holder, const Trellis::Widget& content)
{
    return holder.nearest([&content](const Trellis::Widget& widget) { return widget.parent() == &content; });
}

/// Why nothing took the card that a widget holds; empty when something did.
QByteArray reasonOf(const Tactile::Marker& card, const QByteArray& shown, const Trellis::Widget& holder,
                    const Trellis::Widget& content, const CardOpenings& openings)
{
    if (isBackground(holder))
        return byRegistry(card, shown);
    if (holder.eventHasListeners("marker-down"))
        return {};
    const Trellis::Widget* const below = onTable(holder, content);
    const auto owner = below ? openings.codeOf(*below) : std::nullopt;
    if (owner)
        return *owner == card.code() ? QByteArray() : kOtherSpace;
    if (!hasOwnInstance(holder))
        return kCovered;
    // A detector that opens under a card takes it, and opens nothing.
    return shown.isEmpty() || openings.isOpen(card.code()) ? QByteArray() : kAgain;
}

Trellis::TextWidget& wordsOf(const Trellis::Widget& sign)
{
    return static_cast<Trellis::TextWidget&>(*sign.children().front());
}

std::optional<SignWordsShape> shapeOfWords(const Trellis::Widget& sign)
{
    Trellis::TextWidget& words = wordsOf(sign);
    words.setPseudoClass(kNoWords, words.text().isEmpty());
    return signWordsShape(words, sign);
}

bool isSameOutline(const OpenOutline& a, const OpenOutline& b)
{
    return a.widget == b.widget && a.outline == b.outline;
}
}

CardSigns::CardSigns(float pixelPitchMm) : m_pixelPitchMm(pixelPitchMm) {}
CardSigns::~CardSigns() = default;

void CardSigns::update(Trellis::Widget& layer, const Trellis::Widget& content, const Surroundings& surroundings)
{
    const auto& cards = surroundings.grabManager.currentSample().markers;
    if (cards.empty() && m_cards.empty())
        return;
    bool isSearchNeeded = noteSurroundings(cards, surroundings.open);
    for (auto& sign : m_signs)
        sign.second.isPresent = false;
    for (auto card = cards.begin(); card != cards.end(); ++card) {
        const auto known = m_signs.find(card->id());
        const QByteArray shown = known == m_signs.end() ? QByteArray() : known->second.reason;
        const Trellis::InputGrabber* const grabber = surroundings.grabManager.grabber(card->id());
        if (grabber && !isBackground(grabber->widget()))
            m_held.insert(card->id());
        const QByteArray reason = grabber
            ? reasonOf(*card, shown, grabber->widget(), content, surroundings.openings)
            : reasonWithoutHolder(*card, shown, m_held.count(card->id()) > 0, surroundings.openings);
        const bool isTwice = std::any_of(cards.begin(), card, [card](const auto& other) { return other.code() == card->code(); });
        if (reason.isEmpty() && !isTwice)
            continue;
        Sign& sign = signOf(layer, *card);
        explain(sign, reason, isTwice, surroundings.languages ? surroundings.languages->ofCard(card->code()) : QString());
        const Trellis::Widget* const below = grabber ? onTable(grabber->widget(), content) : nullptr;
        const auto words = shapeOfWords(*sign.widget);
        const bool hadWords = sign.words.has_value();
        isSearchNeeded |= below != sign.below || words.has_value() != hadWords || (words && !words->isSameUnturned(*sign.words));
        sign.below = below;
        sign.words = words;
    }
    for (auto sign = m_signs.begin(); sign != m_signs.end();) {
        if (sign->second.isPresent) {
            ++sign;
            continue;
        }
        sign->second.widget->removeFromParent();
        sign = m_signs.erase(sign);
        isSearchNeeded = true;
    }
    if (isSearchNeeded)
        placeAllWords(cards);
}

/// Returns whether anything has changed that the words of signs make room for. Forgets cards that were lifted.
bool CardSigns::noteSurroundings(const std::vector<Tactile::Marker>& cards, const std::vector<OpenOutline>& open)
{
    const Vecta::Vector2f table = Trellis::Application::instance()->size();
    const auto isSame = [this](const auto& a, const auto& b) { return isSameCard(a, b, m_pixelPitchMm); };
    if (table == m_table && std::equal(cards.begin(), cards.end(), m_cards.begin(), m_cards.end(), isSame)
        && std::equal(open.begin(), open.end(), m_open.begin(), m_open.end(), isSameOutline))
        return false;
    m_table = table;
    m_open = open;
    for (auto held = m_held.begin(); held != m_held.end();) {
        const bool isLying = std::any_of(cards.begin(), cards.end(), [held](const auto& card) { return card.id() == *held; });
        held = isLying ? std::next(held) : m_held.erase(held);
    }
    return true;
}

CardSigns::Sign& CardSigns::signOf(Trellis::Widget& layer, const Tactile::Marker& card)
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
    sign.widget->setRotation(card.rotation() + kToHolder);
    const Vecta::Vector2f center = layer.mapFromScene(card.centerLocation());
    if ((sign.widget->centerLocation() - center).lengthSquared() > 0.01f)
        sign.widget->setCenterLocation(center);
    return sign;
}

void CardSigns::explain(Sign& sign, const QByteArray& reason, bool isTwice, const QString& language)
{
    if (sign.reason != reason) {
        if (!sign.reason.isEmpty())
            sign.widget->removeCSSClass(sign.reason);
        if (!reason.isEmpty())
            sign.widget->addCSSClass(reason);
        sign.reason = reason;
    }
    if (sign.isTwice != isTwice) {
        if (isTwice)
            sign.widget->addCSSClass(kTwice);
        else
            sign.widget->removeCSSClass(kTwice);
        sign.isTwice = isTwice;
    }
    if (sign.language != language) {
        setLanguage(*sign.widget, language);
        sign.language = language;
    }
}

/// In the order in which the cards came: the words of the first one stay, and later ones make room.
void CardSigns::placeAllWords(const std::vector<Tactile::Marker>& cards)
{
    m_cards = cards;
    std::vector<PlaceSearch::Outline> placed;
    for (const Tactile::Marker& card : cards) {
        const auto found = m_signs.find(card.id());
        if (found == m_signs.end() || !found->second.words)
            continue;
        Sign& sign = found->second;
        SignSurroundings surroundings;
        surroundings.card = cardOutline(card, m_pixelPitchMm);
        for (const Tactile::Marker& other : cards)
            if (other.id() != card.id())
                surroundings.otherCards.push_back(cardOutline(other, m_pixelPitchMm));
        surroundings.others = placed;
        for (const OpenOutline& open : m_open)
            if (open.widget != sign.below)
                surroundings.others.push_back(open.outline);
        surroundings.table = m_table;
        surroundings.gapPx = kWordsGapMm / m_pixelPitchMm;
        surroundings.tremblePx = kTrembleMm / m_pixelPitchMm;
        placed.push_back(sign.wordsPlace.place(wordsOf(*sign.widget), *sign.words, card.centerLocation(), surroundings));
    }
}
}
