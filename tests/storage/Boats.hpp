#pragma once

#include <Storage/Store.hpp>

#include <QString>

/// Boats with a length.
[[nodiscard]] Storage::Schema boats();
/// Puts a boat in; the job of a store.
[[nodiscard]] bool addBoat(Storage::Transaction& transaction, const QString& boat, int length = 1);
/// The names of all boats in the order of their numbers, joined by blanks.
[[nodiscard]] QString allBoats(Storage::Store& store);
