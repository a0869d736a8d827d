#include "care/CareStyles.hpp"

#include <Tavola/KeyboardLayout.hpp>

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace Host
{
QString careStyleSheet(float pixelPitchMm)
{
    constexpr float kHandleMm = 13.f;
    const int handlePx = int(std::ceil(kHandleMm / std::max(pixelPitchMm, 0.01f)));
    constexpr float kSignMm = 110.f; // around the card, whose diagonal is shorter
    const int signPx = int(std::ceil(kSignMm / std::max(pixelPitchMm, 0.01f)));
    const int textPx = std::max(300, signPx);
    return QStringLiteral("CloseHandle { position: absolute; right: 10px; top: 10px; width: %1px; height: %1px;"
                          " border-radius: %2px; background-color: #00000014; }")
               .arg(QString::number(handlePx), QString::number(handlePx / 2))
        // The parts that visitors read and tap first, as the plug-ins name them.
        + QStringLiteral(".title, .qr-icon, .user-page-link, .info, .envelope, .help-button, .send-button, .cancel-button,"
                         " .save-button, .menu-entry, InputFieldWidget, CloseHandle { keep-clear: true; }")
        + QStringLiteral(":reduced-motion ContentMenuWidget { content-opening-duration: 0s !important; } ")
        + QStringLiteral("DragShadow, FlyingPicture { position: absolute; } ")
        + QStringLiteral(
              "CardSign { position: absolute; width: %1px; height: %1px; border-radius: %2px; border-width: 4px;"
              " border-color: #f2a65a; } "
              ".card-sign-text { position: absolute; left: %3px; bottom: %5px; width: %4px; max-lines: 3; padding: 8px 12px;"
              " background-color: #000000cc; border-radius: 12px;"
              " text-align: center; font-size: 20px; color: #ffffff; } "
              ".card-sign-text:no-words { display: none; }")
              .arg(QString::number(signPx), QString::number(signPx / 2), QString::number((signPx - textPx) / 2),
                   QString::number(textPx), QString::number(signPx + 8));
}

QString languageKeyboardSheet()
{
    QString css;
    for (const QString& layout : Tavola::KeyboardLayout::names())
        css += QStringLiteral(":lang(%1) InputFieldWidget { keyboard-layout: %1; } ").arg(layout);
    return css;
}
}
