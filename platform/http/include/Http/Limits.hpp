#pragma once

#include <chrono>
#include <cstddef>

namespace Http
{
/// How many connections one door has at once.
struct ConnectionLimits
{
    std::size_t connections = 512;
    /// So many are never used for downloads, which may take long; but at most half of `connections`.
    std::size_t keptFree = 64;
    /// From one address, of IPv6 from one network of 64 bits (link-local ones: one address); this machine may have any number. A
    /// network that hides its phones behind one address counts as one.
    std::size_t perAddress = 64;
};

/// What clients may ask of one door. Everything that a client sends is bounded before it is parsed: no more than
/// `headerBytes` and a fixed read-ahead is kept of what has no meaning yet, chunk extensions included.
struct Limits
{
    std::size_t headerBytes = 8 * 1024; ///< more is answered with 431
    std::size_t bodyBytes = 64 * 1024;  ///< more is answered with 413
    /// For a whole request to arrive, for the next one on a kept connection, and for each piece of an answer to leave. The
    /// time that the handler takes is not counted. A connection ends a sixteenth of it later at most, and at most 250 ms.
    std::chrono::milliseconds timeout{10000};
    /// For started requests to be answered when the server is stopped; the longest of all doors counts.
    std::chrono::milliseconds grace{2000};
    ConnectionLimits clients; ///< a download too many is answered with 503
};
}
