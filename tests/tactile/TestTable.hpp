#pragma once

#include "ScriptedDatagrams.hpp"

#include <Tactile/Sample.hpp>
#include <Tactile/TuioEncoder.hpp>
#include <Tactile/TuioInput.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A table of 1000 × 1000 pixels, a millimetre each, fed with made packets, with frames cranked by hand. Smoothing is off
/// unless a test turns it on.
struct TestTable
{
    static Tactile::TuioSettings plainSettings()
    {
        Tactile::TuioSettings settings;
        settings.tableRect = {0.f, 0.f, 1000.f, 1000.f};
        settings.tracker.pixelPitchMm = 1.f;
        settings.tracker.smoothing = false;
        return settings;
    }

    /// `recorder`, if any, outlives the table.
    explicit TestTable(const Tactile::TuioSettings& settings = plainSettings(), Tactile::InputRecorder* recorder = nullptr)
        : input(settings)
    {
        input.setRecorder(recorder);
        auto source = std::make_unique<TestSupport::ScriptedDatagrams>();
        datagrams = source.get();
        isAdded = input.addSource(std::move(source));
    }

    struct Card
    {
        std::int32_t session;
        std::int32_t code;
        float x;
        float y;
        float angle = 0.f;
    };
    struct Finger
    {
        std::int32_t session;
        float x;
        float y;
    };

    static std::vector<char> cardsPacket(std::int32_t frame, const std::vector<Card>& cards, const std::string& source = "a@b")
    {
        Tactile::TuioEncoder encoder(source);
        std::vector<std::int32_t> alive;
        for (const Card& c : cards)
            alive.push_back(c.session);
        encoder.begin(Tactile::TuioProfile::Objects);
        encoder.alive(alive);
        for (const Card& c : cards)
            encoder.setObject(c.session, c.code, c.x, c.y, c.angle);
        return encoder.finish(frame);
    }
    static std::vector<char> fingersPacket(std::int32_t frame, const std::vector<Finger>& fingers,
                                           const std::string& source = "a@b")
    {
        Tactile::TuioEncoder encoder(source);
        std::vector<std::int32_t> alive;
        for (const Finger& f : fingers)
            alive.push_back(f.session);
        encoder.begin(Tactile::TuioProfile::Cursors);
        encoder.alive(alive);
        for (const Finger& f : fingers)
            encoder.setCursor(f.session, f.x, f.y);
        return encoder.finish(frame);
    }

    /// Each with the next frame number of its profile.
    void cards(const std::vector<Card>& all) { datagrams->send(cardsPacket(++cardFrame, all)); }
    void fingers(const std::vector<Finger>& all) { datagrams->send(fingersPacket(++fingerFrame, all)); }

    const Tactile::Sample& frame(double dt = 1.0 / 60)
    {
        now += dt;
        input.readSample(now, sample);
        return sample;
    }

    /// The changes of a frame in short: "down 1 up 1".
    static std::string changesOf(const Tactile::Sample& sample)
    {
        static const char* const kNames[] = {"down", "move", "up", "cancel"};
        std::string text;
        for (const Tactile::InputChange& change : sample.changes)
            text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(change.kind)]) + ' '
                + std::to_string(change.object.id());
        return text;
    }
    /// Those of the last frame.
    [[nodiscard]] std::string changes() const { return changesOf(sample); }
    [[nodiscard]] std::uint64_t drops(Tactile::TuioDrop cause) const
    {
        return input.counters().drops[static_cast<std::size_t>(cause)];
    }

    TestSupport::ScriptedDatagrams* datagrams = nullptr;
    Tactile::TuioInput input;
    Tactile::Sample sample;
    bool isAdded = false;
    double now = 0.0;
    std::int32_t cardFrame = 0;
    std::int32_t fingerFrame = 0;
};
