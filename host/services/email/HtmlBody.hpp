#pragma once

#include <QString>

#include <optional>

namespace Host
{
/// The HTML part of a message whose text part was filled by somebody else.
///
/// In the HTML template "<name>" becomes the recipient's name, "<links>" the lines that the text part got in place of its own
/// "<links>" (or at its end), "<content>" the whole text part. A template without the latter two gets the links before its
/// end. Everything filled in is escaped; web addresses can be clicked.
namespace HtmlBody
{
struct Parts
{
    QString htmlTemplate;
    QString textTemplate;
    QString text;     ///< the text template, filled
    QString name;     ///< what stands for "<name>"
    QString addendum; ///< lines at the end, beside what the template says; may be empty
};

[[nodiscard]] QString compose(const Parts& parts);

/// What the text template's "<links>" were replaced by, or, without one, what was appended. Nothing when `text` is not the
/// filled template.
[[nodiscard]] std::optional<QString> filledLinks(const QString& textTemplate, const QString& name, const QString& text);
/// Escaped, with line breaks and clickable web addresses.
[[nodiscard]] QString fromText(const QString& text);
}
}
