#pragma once

#include <Bedrock/Export.hpp>

#include <QStringList>

namespace Facet
{
/// The word that was probably meant by `written`: the one with the fewest letters changed, left out, added or exchanged with
/// their neighbour, at most two and at most a third of the letters. Empty when none is so near. Case does not count. Any thread.
[[nodiscard]] TAVOLA_EXPORT QString nearestWord(const QString& written, const QStringList& words);
/// For messages: " (did you mean 'word'?)", or empty.
[[nodiscard]] TAVOLA_EXPORT QString didYouMean(const QString& written, const QStringList& words);
}
