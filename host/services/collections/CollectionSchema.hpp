#pragma once

#include <Storage/Schema.hpp>

namespace Host
{
/// The tables of what cards have collected. Version 1 is what SQLite files had before several tables could share a database.
[[nodiscard]] Storage::Schema collectionSchema();
}
