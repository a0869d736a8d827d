#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A visit to the table as a text: when cards are put down, moved and lifted, and what fingers do. One action a line:
///
///     size 1920 1080                                   # the table in pixels; first
///     at 0.0   card 1001 down 960 540 angle 0          # degrees, clockwise
///     at 1.0   finger 1 down 300 400
///     at 1.1   finger 1 move 960 560 over 0.8          # seconds; at once without "over"
///     at 2.0   finger 1 up
///     at 3.0   finger 2 tap 960 200                    # down, and up 0.1 s later
///     at 4.0   card 1001 move 800 540 angle 90 over 1
///     at 9.0   card 1001 up
///
/// Everything after '#' is a remark. Lines are in the order of time. A move ends early where the same finger or card
/// does something else.
namespace Visit
{
enum class Subject { Finger, Card };
enum class Verb { Down, Move, Up };

struct Action
{
    double atSeconds = 0.0;
    double overSeconds = 0.0; ///< Move only
    Subject subject = Subject::Finger;
    Verb verb = Verb::Down;
    int number = 0; ///< of the finger, or the card's code
    float x = 0.f;  ///< pixels; Down and Move
    float y = 0.f;
    std::optional<float> angleDegrees; ///< cards; none in a Move keeps it
    int line = 0;
};

struct Script
{
    float width = 1920.f;
    float height = 1080.f;
    std::vector<Action> actions; ///< by time, ascending

    /// When the last action is over.
    [[nodiscard]] double durationSeconds() const;
};

/// `text`: what is wrong, and after a semicolon what to do. Lines and columns count from 1.
struct ScriptError
{
    int line = 0;
    int column = 0;
    std::string text;
};

struct ParsedScript
{
    Script script; ///< to be played only when there are no errors
    std::vector<ScriptError> errors;
};

/// Reads the whole text and reports every line that is wrong; never throws.
[[nodiscard]] ParsedScript parseScript(std::string_view text);
}
