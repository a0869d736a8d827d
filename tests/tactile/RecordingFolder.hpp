#pragma once

#include "SampleText.hpp"

#include <Tactile/DatagramPlayer.hpp>
#include <Tactile/DatagramRecorder.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

/// A recording in a folder of its own.
struct RecordingFolder
{
    QTemporaryDir dir;
    std::string file = dir.filePath(QStringLiteral("evening.rec")).toStdString();

    [[nodiscard]] QString privateFile() const { return QString::fromStdString(file) + QStringLiteral(".private"); }
    [[nodiscard]] QByteArray bytes() const { return bytesOf(QString::fromStdString(file)); }
    [[nodiscard]] QByteArray privateBytes() const { return bytesOf(privateFile()); }
    void write(const QByteArray& bytes) const { write(QString::fromStdString(file), bytes); }
    void writePrivate(const QByteArray& bytes) const { write(privateFile(), bytes); }
    [[nodiscard]] std::unique_ptr<Tactile::DatagramRecorder> record() const
    {
        std::string error;
        auto recorder = Tactile::DatagramRecorder::create(file, error, [] { return 0.0; });
        REQUIRE(error.empty());
        REQUIRE(recorder);
        return recorder;
    }
    /// What each frame of the recording says.
    [[nodiscard]] std::vector<std::string> replay() const
    {
        std::string error;
        auto player = Tactile::DatagramPlayer::open(file, error);
        REQUIRE(error.empty());
        REQUIRE(player);
        Tactile::TuioInput input(player->settings());
        Tactile::Sample sample;
        std::vector<std::string> frames;
        double now = 0.0;
        while (const auto frame = player->nextFrame(input)) {
            input.readSample(now += frame->dtSeconds, sample);
            frames.push_back(describe(sample));
            CHECK(frame->number == frames.size());
        }
        CHECK_FALSE(player->nextFrame(input));
        return frames;
    }

private:
    static QByteArray bytesOf(const QString& name)
    {
        QFile f(name);
        REQUIRE(f.open(QIODevice::ReadOnly));
        return f.readAll();
    }
    static void write(const QString& name, const QByteArray& bytes)
    {
        QFile f(name);
        REQUIRE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }
};
