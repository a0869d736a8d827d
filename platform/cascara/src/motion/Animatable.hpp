#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Cascara
{
/// Whether transitions and animations may change the attribute step by step: places, sizes and looks, but no settings.
[[nodiscard]] bool isAnimatable(const QByteArray& attribute);

[[nodiscard]] QStringList animatableNames();
/// " (did you mean 'x'?)" for what may be a misspelt one of them, else empty.
[[nodiscard]] QString nearestAnimatable(const QString& written);
}
