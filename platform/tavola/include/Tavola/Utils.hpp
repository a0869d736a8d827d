#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

namespace Tavola::Utils
{
/// The CSS class of content that a visitor opened and that the table may clear away.
[[nodiscard]] TAVOLA_EXPORT QByteArray temporaryWidgetCSSClass();
}
