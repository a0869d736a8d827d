#pragma once

#include <QString>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// Gives a widget the pseudo-classes by which style sheets select a language: "lang(pt-br)" and "lang(pt)" for the tag "pt-br",
/// in place of those of another language. With an empty tag it has none. Main thread only.
void setLanguage(Trellis::Widget& widget, const QString& tag);
/// The tag that `setLanguage` gave; empty for none. Main thread only.
[[nodiscard]] QString languageOf(const Trellis::Widget& widget);
/// The language of the personal space on `layer` that sends to this address; empty for none. An address that was typed is in no
/// registry. Main thread only.
[[nodiscard]] QString languageOfSender(const Trellis::Widget& layer, const QString& address);
}
