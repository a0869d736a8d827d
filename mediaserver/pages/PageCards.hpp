#pragma once

#include <QString>

namespace MediaServer
{

struct Item;
struct PageItem;
struct PageTexts;

/// The card of one item on its person's page, as an HTML list element; empty for an item that cannot be shown, which is a link
/// that is none of the web. `suffix`: what addresses of the page end with ("?lang=de").
[[nodiscard]] QString cardOf(const QString& token, const PageItem& entry, const PageTexts& texts, const QString& suffix);

/// The item's name for people, not escaped.
[[nodiscard]] QString shownName(const Item& item);

/// Escapes a text for a place between tags or in a quoted attribute. Control characters, which HTML does not allow, become
/// spaces.
[[nodiscard]] QString escaped(const QString& text);
[[nodiscard]] QString escaped(const char* text);

}
