#pragma once

#include "VisitPackets.hpp"

#include <optional>
#include <string>

namespace Visit
{
/// Where a visit is sent.
struct Target
{
    bool isStream = false; ///< TCP instead of UDP
    std::string host = "127.0.0.1";
    std::string port = "3333";
};

/// What the command line of tavola-visit asks for. A plain record.
struct Options
{
    std::string file;
    Target target;
    double rateHz = 60.0;
    TuioVersion version = TuioVersion::One;
    bool lift = false; ///< lift what the script leaves
    bool step = false; ///< play no faster than standard input asks for
    std::string source;
    double beganSeconds = 0.0; ///< since 1970

    /// Why nothing is played. Code 0: help was asked for and is the text; otherwise the text is an error.
    struct Exit
    {
        int code;
        std::string text;
    };

    /// Reads the command line into `options`. Nothing when all of it makes sense. `nowSeconds`: the default of --began.
    [[nodiscard]] static std::optional<Exit> parse(int count, const char* const* arguments, double nowSeconds, Options& options);
};
}
