#include "services/collections/CollectionSettings.hpp"

#include <doctest/doctest.h>

using Host::CollectionSettings;

TEST_CASE("collection settings: days and hours up to ten years are read, and forever; nothing else is")
{
    const struct
    {
        const char* text;
        qint64 seconds; ///< -1: refused
    } rows[] = {
        {"30d", 2592000}, {"1d", 86400},  {"12h", 43200},   {"3650d", 315360000}, {"87600h", 315360000},
        {"forever", 0},   {"3651d", -1},  {"87601h", -1},   {"0d", -1},           {"-1d", -1},
        {"", -1},         {"30", -1},     {"30 d", -1},     {"30D", -1},          {"1.5d", -1},
        {"30d\n", -1},    {"30days", -1}, {"for ever", -1}, {"99999999d", -1},    {"1m", -1},
        {"d", -1},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const auto settings = CollectionSettings::parse(QString::fromUtf8(row.text));
        CHECK(settings.has_value() == (row.seconds >= 0));
        if (settings)
            CHECK(settings->keepSeconds == row.seconds);
    }
}
