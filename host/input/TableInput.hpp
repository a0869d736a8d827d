#pragma once

#include <Vecta/Vector2T.hpp>

#include <QJsonArray>
#include <QString>

#include <memory>
#include <optional>

namespace Tactile
{
class TuioInput;
}

namespace Host
{
struct InputSettings;
struct RecordingNote;
class ScreenView;

/// The source of a table's input: listeners, whose datagrams are recorded if there is a recording to make, or a recording that is
/// replayed. Owned by the table. Main thread only.
class TableInput
{
public:
    /// The recording to make or the one to replay; at most one of the two is given.
    struct Recordings
    {
        QString made;
        QString replayed;
    };

    /// Null, with the reason in `error`, when the recording that is to be replayed cannot be read, or the one to be made
    /// cannot be written. One without its private half is replayed with shortened names and answers, and a warning.
    [[nodiscard]] static std::unique_ptr<TableInput> open(const Recordings& recordings, QString& error);
    ~TableInput();
    TableInput(const TableInput&) = delete;
    TableInput& operator=(const TableInput&) = delete;

    [[nodiscard]] bool isRecording() const noexcept;
    /// The note of the recording that is replayed; empty otherwise.
    [[nodiscard]] RecordingNote recordedNote() const;
    /// Writes the note into the recording that is made, if there is one, shortened, and into its private half. Call before
    /// start().
    void describe(const RecordingNote& note);

    /// The size of the recorded table, in a replay.
    [[nodiscard]] std::optional<Vecta::Vector2f> recordedSize() const;

    /// Makes the input of a table and begins to listen; in a replay the recording's settings count instead. A listener without a
    /// rectangle of its own covers the whole screen, and what begins in a bar of it is dropped. False, with the reason in
    /// `error`, when it cannot listen.
    [[nodiscard]] bool start(const InputSettings& given, const ScreenView& view, float pixelPitchMm, QString& error);
    /// Valid after start() has returned true.
    [[nodiscard]] Tactile::TuioInput& tuio() const noexcept { return *m_tuio; }

    /// Plugs the recording into the inbox, or the replay, until this goes. When the application exists, and before the first job
    /// of the inbox.
    void plugIn();

    /// The step of the frame to come: the given one, or that of the recording, whose datagrams are given to the input. Nothing at
    /// the end of a recording. In a replay this waits for pictures and the like that the recorded frame took; see Replay.
    [[nodiscard]] std::optional<double> nextStep(double dtSeconds);
    [[nodiscard]] bool isReplay() const noexcept;

    /// The port of the first listener; 0 in a replay.
    [[nodiscard]] int port() const;
    /// [{"tuio", "refusedSenders", "silentConnections", "ignoredAreas"}] of each listener: its address, the number of datagrams
    /// dropped, or connections refused, because their sender is not allowed, of connections that never sent a packet and made
    /// room for others, and of areas whose contacts are ignored.
    [[nodiscard]] QJsonArray listeners() const;

private:
    TableInput();
    struct Private;
    std::unique_ptr<Private> d;
    std::unique_ptr<Tactile::TuioInput> m_tuio; // destroyed first: its sources call the recorder
};

/// The presentation that a recording was made with; empty, with the reason in `error`, when it names none.
[[nodiscard]] QString recordedPresentation(const QString& recording, QString& error);
}
