#pragma once

#include "content/RenderedPage.hpp"

#include <functional>

namespace Tavola
{
/// What the rendering of one page may cost.
struct PageLimits
{
    double seconds = 20.0;
    int megabytes = 1024; ///< of the address space
};

struct PageRequest
{
    QString path;
    int page = 0; ///< from 0; the last one where the document has fewer
    int widthPx = 0;
};

/// Renders the page in a process of its own, so that a document can neither crash the table nor take its memory, and waits for
/// it. The process is killed when it takes longer than allowed and as soon as `isGivenUp` returns true. Any thread but the main
/// one.
[[nodiscard]] RenderedPage renderPage(const PageRequest& request, const PageLimits& limits,
                                      const std::function<bool()>& isGivenUp);
}
