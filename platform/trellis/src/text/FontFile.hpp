#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace Trellis
{
/// How a font is to be known.
struct FontNaming
{
    QString family;
    int weight = 0;        ///< 0: what the font says
    bool isItalic = false; ///< false: what the font says
};

/// Whether these are the bytes of a TrueType or OpenType font. If not, the reason is in `error`. Any thread.
[[nodiscard]] bool isFont(const QByteArray& bytes, QString& error);
/// The bytes of a TrueType or OpenType font with another family name, so that it is found under that one alone. Nothing, with the
/// reason in `error`, for anything else. Any thread.
[[nodiscard]] std::optional<QByteArray> renamedFont(const QByteArray& font, const FontNaming& naming, QString& error);
}
