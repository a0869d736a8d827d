#pragma once

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <array>
#include <optional>
#include <vector>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// Keeps the content of the table where visitors find it. What was flung over the edge so far that it can hardly be grabbed
/// glides back as soon as it stands still. When the table was not used for some seconds, what lay on it from the beginning goes
/// home, to its place, angle and size, one after the other; what has "stays" is left, and what visitors opened is none of this. A
/// finger that holds a widget ends its way. All time is frame time. Main thread only.
class TableTidy
{
public:
    static constexpr float kGlideSeconds = 0.3f;
    static constexpr float kGrabMm = 30.f; ///< of a widget on the table in both directions, or all of a smaller one

    TableTidy(float afterSeconds, float pixelPitchMm) : m_afterSeconds(afterSeconds), m_grabPx(kGrabMm / pixelPitchMm) {}

    /// Once a frame, after the input. `unusedSeconds`: since the table was used last; `table`: its size in pixels.
    void update(const Trellis::Widget& content, Vecta::Vector2f table, float unusedSeconds, float dtSeconds);

private:
    struct Place
    {
        Vecta::Vector2f location;
        float rotation = 0.f;
        float scale = 1.f;
    };
    struct Home
    {
        Bedrock::IntrusiveWeakPtr<Trellis::Widget> widget;
        Place place;
        std::array<bool, 3> isSetAtRunTime{}; ///< location, rotation, scale
    };
    struct Way
    {
        Bedrock::IntrusiveWeakPtr<Trellis::Widget> widget;
        Place from;
        Place to;
        std::optional<Home> home; ///< where it ends, if it leads home
        float seconds = 0.f;
    };

    static Place placeOf(const Trellis::Widget& widget);
    static void put(Trellis::Widget& widget, const Place& place);
    void noteHomes(const Trellis::Widget& content);
    void bringBack(const Trellis::Widget& content, Vecta::Vector2f table);
    void sendHome();
    static bool proceed(Way& way, float dtSeconds);

    float m_afterSeconds;
    float m_grabPx;
    std::vector<Home> m_homes;
    bool m_hasHomes = false;
    std::vector<Way> m_ways;
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_moved; ///< by fingers, or still gliding after them
};
}
