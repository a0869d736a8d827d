#pragma once

#include "input/InputSettings.hpp"

#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

/// What the command line of `tavola run` or `tavola replay` says. A plain record.
struct RunOptions
{
    enum class Command { Run, Replay };

    QString presentation; ///< may be empty in a replay: the recording knows
    bool headless = false;
    bool manualClock = false;
    bool openGL = false;
    bool fullScreen = false;
    std::optional<QSize> size;
    InputSettings::Transport tuioTransport = InputSettings::Transport::Udp;
    QString tuioAddress = QStringLiteral("127.0.0.1");
    int tuioPort = 3333;
    bool hasTuio = false;           ///< given: goes before the presentation's listeners
    bool showInput = false;         ///< draw contacts over the table
    QString recordFile;             ///< record the input into it
    QString replayFile;             ///< the recording that is replayed instead of listening
    QString treesFile;              ///< write the widgets of each frame into it
    std::optional<int> inspectPort; ///< 0 chooses one
    QString plugin;                 ///< replaces the plug-ins of the presentation
    QString dataFolder;             ///< where the registry of people and the outbox live
    QString mediaServer;            ///< replaces the presentation's media server address
    QString mailServer;             ///< replaces the mail server of each of the presentation's e-mail services

    [[nodiscard]] static QString help(Command command = Command::Run);
    /// Nothing, with the reason in `error`, for arguments that make no sense. `arguments` stand after the command's word.
    [[nodiscard]] static std::optional<RunOptions> parse(const QStringList& arguments, QString& error,
                                                         Command command = Command::Run);
};
