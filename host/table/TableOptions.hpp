#pragma once

#include "presentation/InputSettings.hpp"
#include "presentation/ScreenView.hpp"

#include <QSize>
#include <QString>

#include <optional>

namespace Host
{
/// What is asked of a table beyond its presentation. What is empty leaves the presentation's own in force. A plain record.
struct TableOptions
{
    std::optional<QSize> size;                       ///< of the layout, in pixels
    std::optional<QSize> screen;                     ///< that the table fills, in pixels; nothing: the layout is shown as it is
    std::optional<ScreenFit> fit;                    ///< of the layout to the screen
    std::optional<InputSettings::Listener> listener; ///< replaces the presentation's listeners
    QString language;                                ///< of the table, a tag in lower case; replaces the presentation's
    std::optional<int> pictureMegabytes;             ///< replaces the presentation's
    std::optional<int> decodedMegabytes;             ///< replaces the presentation's
    QString decodedFolder;                           ///< where decoded pictures and pages are kept; empty: nowhere
    std::optional<int> paintingThreads;              ///< replaces the presentation's
    bool showInput = false;                          ///< draw contacts over the table
    QString recordFile;                              ///< record the input into it
    QString replayFile;                              ///< the recording that is replayed instead of listening
    QString treesFile;                               ///< write the widgets of each frame into it
    QString plugin;                                  ///< replaces the plug-ins
    QString dataFolder;                              ///< where the registry of people and the outbox live
    QString mediaServer;                             ///< replaces the address of the media server
    QString mailServer;                              ///< replaces the mail server of each e-mail service
};
}
