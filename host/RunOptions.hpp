#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

/// What the command line of `tavola run` says. A plain record.
struct RunOptions
{
    QString presentation;
    bool headless = false;
    bool manualClock = false;
    bool openGL = false;
    std::optional<QSize> size;
    QString tuioAddress = QStringLiteral("127.0.0.1");
    int tuioPort = 3333;
    std::optional<int> inspectPort; ///< 0 chooses one
    QString plugin;                 ///< replaces the plug-ins of the presentation
    QString dataFolder;             ///< where the registry of people and the outbox live
    QString mediaServer;            ///< replaces the presentation's media server address
    QString mailServer;             ///< replaces the mail server of each of the presentation's e-mail services

    [[nodiscard]] static QString help();
    /// Nothing, with the reason in `error`, for arguments that make no sense. `arguments` stand after "run".
    [[nodiscard]] static std::optional<RunOptions> parse(const QStringList& arguments, QString& error);
};
