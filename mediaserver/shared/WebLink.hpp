#pragma once

#include <QString>
#include <optional>

namespace MediaServer
{

/// A web address that may stand in a link: absolute, http or https, with a host.
struct WebLink
{
    QString href; ///< encoded, pure ASCII; still to be escaped for HTML
    QString host; ///< for display, without "www."
};

/// Empty for everything else: other schemes ("javascript:", "data:", "file:"), relative addresses, bad syntax.
[[nodiscard]] std::optional<WebLink> parseWebLink(const QString& text);

}
