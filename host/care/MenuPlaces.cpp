#include "care/MenuPlaces.hpp"

#include "care/CardOpenings.hpp"
#include "care/PlaceKeeper.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>

#include <algorithm>

namespace Host
{
namespace
{
bool followsCard(const Trellis::Widget& menu)
{
    const auto& operators = menu.operators();
    return std::any_of(operators.begin(), operators.end(), [](const auto& op) {
        const auto* const moves = dynamic_cast<const Facet::AttributeT<bool>*>(op->attribute("move-widget-with-marker"));
        return moves && moves->value();
    });
}
}

void placeMenu(const CardOpening& opening, const PlaceKeeper& places, Vecta::Vector2f table)
{
    const auto menu = opening.widget.lock();
    if (!dynamic_cast<Tavola::ContentMenuWidget*>(menu.get()) || followsCard(*menu))
        return;
    for (const auto& node : menu->children())
        for (const auto& op : node->operators())
            if (auto* const launch = dynamic_cast<Tavola::LaunchedContentOperator*>(op.get()))
                launch->endAt(menu->mapFromScene(places.findPlace(opening, *node, table)));
}
}
