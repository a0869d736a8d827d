#pragma once

#include "care/OpenOutline.hpp"
#include "care/SignWords.hpp"

#include <Bedrock/IntrusivePtr.hpp>
#include <Tactile/Marker.hpp>

#include <QByteArray>
#include <QString>

#include <map>
#include <optional>
#include <set>
#include <vector>

namespace Trellis
{
class GrabManager;
class Widget;
}

namespace Host
{
class CardLanguages;
class CardOpenings;

/// Answers every card that nothing on the table took: a halo around it, of the CSS type "CardSign", turned to the card's holder,
/// with a text (".card-sign-text") that style sheets give words by the sign's classes:
///   "unknown"      the registry does not know the card
///   "refused"      the registry knows it, and nothing takes it here
///   "covered"      it lies on something that takes no card
///   "other-space"  it lies on what opened at another person's card
///   "again"        it would be taken, once it is lifted and put down again: it became known while it lay there, or what held it
///   went "twice"        a card of the same code lies on the table already; in addition, or alone where the card was taken all
///   the same
/// The text stands whole on the table and below no card, as near as possible to where style sheets put it; while there is room it
/// covers no text of another sign and nothing that visitors have open, but for what the card lies on. Its place is searched anew
/// only when one of these changes that it depends on, by more than a card trembles (`SignWords`). A card keeps "covered" and
/// "other-space" when what it lies on goes: it is taken only when it is put down again. Signs take no input, and are gone in the
/// frame in which the card is lifted or taken. What takes cards are widgets of plug-ins with an instance of their own, and
/// widgets with a listener of "marker-down". Main thread only.
class CardSigns
{
public:
    explicit CardSigns(float pixelPitchMm);
    ~CardSigns();
    CardSigns(const CardSigns&) = delete;
    CardSigns& operator=(const CardSigns&) = delete;

    /// What signs depend on, as it is in this frame.
    struct Surroundings
    {
        const Trellis::GrabManager& grabManager;
        const CardOpenings& openings;
        const std::vector<OpenOutline>& open;     ///< what visitors have open
        const CardLanguages* languages = nullptr; ///< with these a sign speaks the language of its card
    };
    /// Once a frame, after the input. Signs are children of `layer`; `content` is the layer of the table's content.
    void update(Trellis::Widget& layer, const Trellis::Widget& content, const Surroundings& surroundings);

private:
    struct Sign
    {
        Bedrock::IntrusivePtr<Trellis::Widget> widget;
        QByteArray reason; ///< empty for a card that was taken
        bool isTwice = false;
        QString language;
        const Trellis::Widget* below = nullptr; ///< what the card lies on; for comparisons only
        std::optional<SignWordsShape> words;    ///< in the last update
        SignWords wordsPlace;
        bool isPresent = true;
    };
    [[nodiscard]] bool noteSurroundings(const std::vector<Tactile::Marker>& cards, const std::vector<OpenOutline>& open);
    Sign& signOf(Trellis::Widget& layer, const Tactile::Marker& card);
    static void explain(Sign& sign, const QByteArray& reason, bool isTwice, const QString& language);
    void placeAllWords(const std::vector<Tactile::Marker>& cards);

    float m_pixelPitchMm;
    std::map<std::int64_t, Sign> m_signs; ///< by the card's id
    std::vector<Tactile::Marker> m_cards; ///< when words were placed last
    std::set<std::int64_t> m_held;        ///< those of them that a widget has held
    std::vector<OpenOutline> m_open;      ///< of the last update
    Vecta::Vector2f m_table;              ///< its size in that update, pixels
};
}
