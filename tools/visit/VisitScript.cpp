#include "VisitScript.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace Visit
{
namespace
{
constexpr double kTapSeconds = 0.1;
constexpr float kMaxPixels = 100000.f;
constexpr double kMaxSeconds = 86400.0;

struct Word
{
    std::string_view text;
    int column = 0;
};

std::vector<Word> wordsOf(std::string_view line)
{
    std::vector<Word> words;
    const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    std::size_t i = 0;
    while (i < line.size() && line[i] != '#') {
        if (isSpace(line[i])) {
            ++i;
            continue;
        }
        const std::size_t begin = i;
        while (i < line.size() && !isSpace(line[i]) && line[i] != '#')
            ++i;
        words.push_back({line.substr(begin, i - begin), static_cast<int>(begin) + 1});
    }
    return words;
}

/// A contact at the line that is being read, for finding impossible actions.
struct Presence
{
    bool isDown = false;
    double since = -1.0; // of the last down or up
    double busyUntil = -1.0;
};

class Parser
{
public:
    ParsedScript parse(std::string_view text)
    {
        int line = 0;
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            readLine(text.substr(0, end), ++line);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        }
        // A tap's up may come after actions of later lines.
        auto& actions = m_result.script.actions;
        std::stable_sort(actions.begin(), actions.end(),
                         [](const Action& a, const Action& b) { return a.atSeconds < b.atSeconds; });
        return std::move(m_result);
    }

private:
    /// Ends the reading of a line after its first error.
    struct BadLine
    {
        int column;
        std::string text;
    };

    void readLine(std::string_view line, int number)
    {
        m_words = wordsOf(line);
        m_next = 0;
        m_endColumn = m_words.empty() ? 1 : m_words.back().column + static_cast<int>(m_words.back().text.size());
        if (m_words.empty())
            return;
        try {
            const Word first = next("\"size\" or \"at\"");
            if (first.text == "size")
                readSize(first);
            else if (first.text == "at")
                readAction(number);
            else
                throw BadLine{first.column,
                              "unknown word \"" + std::string(first.text) + "\"; begin the line with \"size\" or \"at\""};
        } catch (const BadLine& bad) {
            m_result.errors.push_back({number, bad.column, bad.text});
        }
    }

    Word next(const char* expected)
    {
        if (m_next == m_words.size())
            throw BadLine{m_endColumn, std::string("the line ends too early; add ") + expected};
        return m_words[m_next++];
    }

    bool nextIf(std::string_view text)
    {
        if (m_next == m_words.size() || m_words[m_next].text != text)
            return false;
        ++m_next;
        return true;
    }

    double readNumber(const char* what, double least, double most)
    {
        const Word word = next(what);
        double value = 0.0;
        const auto [end, error] = std::from_chars(word.text.data(), word.text.data() + word.text.size(), value);
        if (error != std::errc() || end != word.text.data() + word.text.size() || !std::isfinite(value))
            throw BadLine{word.column, '"' + std::string(word.text) + "\" is no number; give " + what};
        if (value < least || value > most)
            throw BadLine{word.column,
                          '"' + std::string(word.text) + "\" is out of range; give " + what + " between " + inShort(least)
                              + " and " + inShort(most)};
        return value;
    }

    int readWhole(const char* what, int least)
    {
        const Word word = next(what);
        int value = 0;
        const auto [end, error] = std::from_chars(word.text.data(), word.text.data() + word.text.size(), value);
        if (error != std::errc() || end != word.text.data() + word.text.size() || value < least)
            throw BadLine{word.column, '"' + std::string(word.text) + "\" is no such number; give " + what};
        return value;
    }

    static std::string inShort(double value)
    {
        char text[32];
        const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 9);
        return error == std::errc() ? std::string(text, end) : std::string();
    }

    void expectEnd() const
    {
        if (m_next < m_words.size())
            throw BadLine{m_words[m_next].column,
                          "nothing is expected at \"" + std::string(m_words[m_next].text) + "\"; remove it"};
    }

    void readSize(const Word& word)
    {
        const double width = readNumber("the width in pixels", 1, kMaxPixels);
        const double height = readNumber("the height in pixels", 1, kMaxPixels);
        expectEnd();
        if (m_hasSize || m_hasAction)
            throw BadLine{word.column, "the size is given too late; give it once, before the first \"at\""};
        m_hasSize = true;
        m_result.script.width = static_cast<float>(width);
        m_result.script.height = static_cast<float>(height);
    }

    void readAction(int line)
    {
        m_hasAction = true;
        const int timeColumn = m_words[m_next < m_words.size() ? m_next : 0].column;
        Action action;
        action.line = line;
        action.atSeconds = readNumber("a time in seconds", 0, kMaxSeconds);
        const Word subject = next("\"card\" or \"finger\"");
        if (subject.text == "card")
            action.subject = Subject::Card;
        else if (subject.text != "finger")
            throw BadLine{subject.column, "unknown word \"" + std::string(subject.text) + "\"; write \"card\" or \"finger\""};
        const bool isCard = action.subject == Subject::Card;
        action.number = isCard ? readWhole("the card's code, 0 or more", 0) : readWhole("the finger's number, 1 or more", 1);
        const char* verbs = isCard ? "\"down\", \"move\" or \"up\"" : "\"down\", \"move\", \"up\" or \"tap\"";
        const Word verb = next(verbs);
        const bool isTap = !isCard && verb.text == "tap";
        if (verb.text == "move")
            action.verb = Verb::Move;
        else if (verb.text == "up")
            action.verb = Verb::Up;
        else if (verb.text != "down" && !isTap)
            throw BadLine{verb.column, "unknown word \"" + std::string(verb.text) + "\"; write " + verbs};
        if (action.verb != Verb::Up)
            readPlace(action);
        expectEnd();

        if (action.atSeconds < m_lastSeconds)
            throw BadLine{timeColumn, "the time goes backwards; put the lines in order of time"};
        m_lastSeconds = action.atSeconds;
        checkPresence(action, isTap, verb.column);
        m_result.script.actions.push_back(action);
        if (isTap) {
            Action up = action;
            up.verb = Verb::Up;
            up.atSeconds += kTapSeconds;
            m_result.script.actions.push_back(up);
        }
    }

    void readPlace(Action& action)
    {
        action.x = static_cast<float>(readNumber("x in pixels", 0, double(m_result.script.width)));
        action.y = static_cast<float>(readNumber("y in pixels", 0, double(m_result.script.height)));
        if (action.subject == Subject::Card && nextIf("angle"))
            action.angleDegrees = static_cast<float>(readNumber("an angle in degrees", -36000, 36000));
        if (action.verb == Verb::Move && nextIf("over"))
            action.overSeconds = readNumber("a time in seconds", 0, kMaxSeconds);
    }

    void checkPresence(const Action& action, bool isTap, int column)
    {
        Presence& presence = m_presence[{action.subject, action.number}];
        const std::string name = (action.subject == Subject::Card ? "card " : "finger ") + std::to_string(action.number);
        if (presence.busyUntil > action.atSeconds)
            throw BadLine{column, name + " still taps; begin at least 0.1 s later"};
        if (action.verb == Verb::Down && presence.isDown)
            throw BadLine{column, name + " is down already; lift it first, or use another number"};
        if (action.verb != Verb::Down && !presence.isDown)
            throw BadLine{column, name + " is not down; put it down first"};
        if (action.verb != Verb::Move && presence.since == action.atSeconds)
            throw BadLine{column, name + " was put down or lifted at this very time; leave some time between"};
        if (action.verb != Verb::Move)
            presence.since = action.atSeconds;
        presence.isDown = action.verb != Verb::Up && !isTap;
        if (isTap)
            presence.since = presence.busyUntil = action.atSeconds + kTapSeconds;
    }

    ParsedScript m_result;
    std::vector<Word> m_words;
    std::size_t m_next = 0;
    int m_endColumn = 1;
    bool m_hasSize = false;
    bool m_hasAction = false;
    double m_lastSeconds = 0.0;
    std::map<std::pair<Subject, int>, Presence> m_presence;
};
}

double Script::durationSeconds() const
{
    double duration = 0.0;
    for (const Action& action : actions)
        duration = std::max(duration, action.atSeconds + action.overSeconds);
    return duration;
}

ParsedScript parseScript(std::string_view text)
{
    return Parser().parse(text);
}
}
