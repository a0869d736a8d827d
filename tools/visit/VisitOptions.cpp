#include "VisitOptions.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <functional>
#include <memory>
#include <vector>

namespace Visit
{
namespace
{
constexpr int kUsageError = 2;
constexpr std::size_t kHelpColumn = 20;
constexpr double kLatestSeconds = 4e9; // a time tag has 32 bits for seconds

constexpr char kFooter[] = R"(FILE has one action a line, in order of time; what follows a # is a remark:

  size 1920 1080                            the table in pixels, first
  at 0.0   card 1001 down 960 540 angle 0   a card's code, place, and degrees clockwise
  at 1.0   finger 1 down 300 400
  at 1.1   finger 1 move 960 560 over 0.8   in seconds; at once without "over"
  at 2.0   finger 1 up
  at 3.0   finger 2 tap 960 200             down, and up 0.1 s later
  at 4.0   card 1001 move 800 540 angle 90 over 1
  at 9.0   card 1001 up

A script with errors is not played; all of them are listed.
Exit status: 0 played, 1 reading or sending failed, 2 wrong arguments or errors in the script.)";

class HelpFormatter final : public CLI::Formatter
{
public:
    HelpFormatter() { column_width(kHelpColumn); }
    std::string make_usage(const CLI::App*, std::string) const override { return "Usage: tavola-visit FILE [OPTION ...]\n"; }
};

/// False for a text that is no number above `above` and up to `most`.
bool readNumber(const std::string& text, double above, double most, double& number)
{
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size() && number > above && number <= most;
}

bool readTarget(const std::string& given, Target& target)
{
    const std::string tcp = "tcp:";
    target.isStream = given.compare(0, tcp.size(), tcp) == 0;
    const std::string text = target.isStream ? given.substr(tcp.size()) : given;
    const std::size_t colon = text.rfind(':');
    int port = 0;
    const char* begin = text.data() + (colon == std::string::npos ? text.size() : colon + 1);
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, port);
    if (colon == 0 || error != std::errc() || stop != end || port < 1 || port > 65535)
        return false;
    target.host = text.substr(0, colon);
    target.port = std::to_string(port);
    if (target.host.size() > 2 && target.host.front() == '[' && target.host.back() == ']')
        target.host = target.host.substr(1, target.host.size() - 2);
    return true;
}

/// An option with a value. `read` returns false for one that makes no sense; `remedy` says what would.
void add(CLI::App& app, const char* name, const char* valueName, const char* help, const char* remedy,
         const std::function<bool(const std::string&)>& read)
{
    const auto store = [=](const std::string& value) {
        if (!read(value))
            throw CLI::ValidationError("Failed to read " + std::string(name) + " \"" + value + "\"; give " + remedy,
                                       CLI::ExitCodes::ValidationError);
    };
    app.add_option_function<std::string>(name, store, help)
        ->type_name(valueName)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void declare(CLI::App& app, Options& options)
{
    add(app, "--to", "[tcp:]HOST:PORT",
        "where the table listens (127.0.0.1:3333), by UDP;\nas tcp:HOST:PORT by TCP, for which it must listen already",
        "HOST:PORT such as 127.0.0.1:3333, or tcp:HOST:PORT",
        [&options](const std::string& value) { return readTarget(value, options.target); });
    add(app, "--rate", "HZ", "frames a second, 1 to 1000 (60); only changes are sent, and everything once a second",
        "a number from 1 to 1000",
        [&options](const std::string& value) { return readNumber(value, 0.0, 1000.0, options.rateHz) && options.rateHz >= 1.0; });
    add(app, "--tuio-version", "V", "the version of the packets, 1.1 or 2.0 (1.1)", "1.1 or 2.0",
        [&options](const std::string& value) {
            options.version = value == "2.0" ? TuioVersion::Two : TuioVersion::One;
            return value == "1.1" || value == "2.0";
        });
    app.add_flag("--lift", options.lift,
                 "lift what is still down when the script ends. Without it, cards and fingers that the script left\n"
                 "stay: their last state is sent, and the table gives them up by its own rule for a silent sender");
    app.add_flag("--step", options.step,
                 "play no faster than asked: for each line with a time in seconds on standard input, play the script\n"
                 "up to that time and write how many datagrams have been sent so far. For a table under a manual clock");
    add(app, "--source", "NAME",
        "the name of the sender (default: a name of its own); a table takes visits of one name, played one\n"
        "after the other, for one sender",
        "a name", [&options](const std::string& value) {
            options.source = value;
            return true;
        });
    add(app, "--began", "SECONDS",
        "when the sender began, above 0, for the times in TUIO 2.0 (now, in seconds since 1970). Visits of one\n"
        "name that are played in less than a second need it, a second or more apart from one another",
        "seconds above 0 and up to 4000000000",
        [&options](const std::string& value) { return readNumber(value, 0.0, kLatestSeconds, options.beganSeconds); });
}

std::optional<Options::Exit> usageError(const std::string& text)
{
    return Options::Exit{kUsageError, text};
}
}

std::optional<Options::Exit> Options::parse(int count, const char* const* arguments, double nowSeconds, Options& options)
{
    options.beganSeconds = nowSeconds;
    CLI::App app("Plays a visit to the table, written down in FILE, as TUIO.", "tavola-visit");
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(kFooter);
    app.set_help_flag("-h,--help", "this text");
    app.allow_extras();
    declare(app, options);
    std::vector<std::string> reversed;
    for (int i = count - 1; i > 0; --i)
        reversed.emplace_back(arguments[i]);
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return Exit{0, app.help()};
    } catch (const CLI::ValidationError& error) {
        return usageError(error.what());
    } catch (const CLI::ArgumentMismatch& error) {
        // The library's message begins with the option.
        const std::string text = error.what();
        return usageError("Missing a value after " + text.substr(0, text.find(':')) + "; see --help");
    } catch (const CLI::ParseError& error) {
        return usageError(std::string(error.what()) + "; see --help");
    }
    const std::vector<std::string> words = app.remaining();
    for (const std::string& word : words)
        if (word.size() > 1 && word.front() == '-')
            return usageError("Unknown option " + word + "; see --help");
    if (words.empty())
        return usageError("No script was given; see --help");
    if (words.size() > 1)
        return usageError("More than one file was given (" + words[0] + ", " + words[1] + "); play them one by one");
    options.file = words.front();
    return std::nullopt;
}
}
