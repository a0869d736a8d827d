#pragma once

#include <QString>

#include <optional>

namespace Host
{
/// The HTML part of a message whose text part is filled already.
///
/// In the HTML template "<name>" becomes the recipient's name, "<links>" the lines that the text part has in place of its own
/// "<links>" (or at its end), "<content>" the whole text part. A template without the latter two gets the links before its
/// end. Everything filled in is escaped; web addresses become links.
namespace HtmlBody
{
struct Parts
{
    QString htmlTemplate;
    QString textTemplate;
    QString text;     ///< the text template, filled
    QString name;     ///< the replacement of "<name>"
    QString addendum; ///< lines added before the end; may be empty
};

[[nodiscard]] QString compose(const Parts& parts);
}
}
