#include "VisitPackets.hpp"
#include "VisitPlayer.hpp"
#include "VisitScript.hpp"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr double kLatestSeconds = 4e9; // a time tag has 32 bits for seconds

const char* const kHelp =
    R"(Usage: tavola-visit FILE [--to [tcp:]HOST:PORT] [--rate HZ] [--tuio-version 1.1|2.0] [--lift] [--step]
                          [--source NAME] [--began SECONDS]

Plays a visit to the table, written down in FILE, as TUIO.

  --to HOST:PORT   where the table listens (127.0.0.1:3333), by UDP; as tcp:HOST:PORT by TCP, for which it must listen already
  --rate HZ        frames a second, 1 to 1000 (60); only what changed is sent, and everything once a second
  --tuio-version V 1.1 or 2.0, what the packets are (1.1)
  --lift           lift what is still down when the script ends. Without it, cards and fingers that the script left
                   stay: their last state is sent, and the table gives them up by its own rule for a silent sender
  --step           play no faster than asked: for each line with a time in seconds on standard input, play the script up to
                   that time and write how many datagrams have been sent so far. For a table under a manual clock
  --source NAME    how the sender calls itself (default: a name of its own); a table takes visits of one name, played one
                   after the other, for one sender
  --began SECONDS  when the sender began, above 0, for the times in TUIO 2.0 (now, in seconds since 1970). Visits of one
                   name that are played in less than a second must say it, a second or more apart from one another
  --help           this text

FILE has one action a line, in order of time; what follows a # is a remark:

  size 1920 1080                            the table in pixels, first
  at 0.0   card 1001 down 960 540 angle 0   a card's code, place, and degrees clockwise
  at 1.0   finger 1 down 300 400
  at 1.1   finger 1 move 960 560 over 0.8   in seconds; at once without "over"
  at 2.0   finger 1 up
  at 3.0   finger 2 tap 960 200             down, and up 0.1 s later
  at 4.0   card 1001 move 800 540 angle 90 over 1
  at 9.0   card 1001 up

A script with errors is not played; all of them are listed.
Exit status: 0 played, 1 reading or sending failed, 2 wrong arguments or errors in the script.
)";

struct Options
{
    std::string file;
    bool isStream = false; // TCP
    std::string host = "127.0.0.1";
    std::string port = "3333";
    double rateHz = 60.0;
    Visit::TuioVersion version = Visit::TuioVersion::One;
    bool lift = false;
    bool step = false;
    std::string source;
    double beganSeconds = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
};

bool fail(const std::string& text)
{
    std::fprintf(stderr, "tavola-visit # %s\n", text.c_str());
    return false;
}

bool readTarget(const std::string& given, Options& options)
{
    const std::string tcp = "tcp:";
    options.isStream = given.compare(0, tcp.size(), tcp) == 0;
    const std::string text = options.isStream ? given.substr(tcp.size()) : given;
    const std::size_t colon = text.rfind(':');
    int port = 0;
    const char* begin = text.data() + (colon == std::string::npos ? text.size() : colon + 1);
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, port);
    if (colon == 0 || error != std::errc() || stop != end || port < 1 || port > 65535)
        return fail("Failed to read --to \"" + given + "\"; give HOST:PORT such as 127.0.0.1:3333, or tcp:HOST:PORT");
    options.host = text.substr(0, colon);
    options.port = std::to_string(port);
    if (options.host.size() > 2 && options.host.front() == '[' && options.host.back() == ']')
        options.host = options.host.substr(1, options.host.size() - 2);
    return true;
}

bool readArguments(int count, char** arguments, Options& options)
{
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const bool takesValue = argument == "--to" || argument == "--rate" || argument == "--source"
            || argument == "--tuio-version" || argument == "--began";
        if (takesValue && i + 1 == count)
            return fail("Missing a value after " + argument + "; see --help");
        if (argument == "--to") {
            if (!readTarget(arguments[++i], options))
                return false;
        } else if (argument == "--rate") {
            const std::string text = arguments[++i];
            const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), options.rateHz);
            if (error != std::errc() || stop != text.data() + text.size() || !(options.rateHz >= 1.0) || options.rateHz > 1000.0)
                return fail("Failed to read --rate \"" + text + "\"; give a number from 1 to 1000");
        } else if (argument == "--tuio-version") {
            const std::string text = arguments[++i];
            if (text != "1.1" && text != "2.0")
                return fail("Failed to read --tuio-version \"" + text + "\"; give 1.1 or 2.0");
            options.version = text == "2.0" ? Visit::TuioVersion::Two : Visit::TuioVersion::One;
        } else if (argument == "--lift") {
            options.lift = true;
        } else if (argument == "--step") {
            options.step = true;
        } else if (argument == "--began") {
            const std::string text = arguments[++i];
            const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), options.beganSeconds);
            if (error != std::errc() || stop != text.data() + text.size() || !(options.beganSeconds > 0.0)
                || options.beganSeconds > kLatestSeconds)
                return fail("Failed to read --began \"" + text + "\"; give seconds above 0 and up to 4000000000");
        } else if (argument == "--source") {
            options.source = arguments[++i];
        } else if (argument.size() > 1 && argument.front() == '-') {
            return fail("Unknown option " + argument + "; see --help");
        } else if (!options.file.empty()) {
            return fail("More than one file was given (" + options.file + ", " + argument + "); play them one by one");
        } else {
            options.file = argument;
        }
    }
    return !options.file.empty() || fail("No script was given; see --help");
}

/// The socket, or −1 after saying why.
int connectTo(const Options& options)
{
    addrinfo hints{};
    hints.ai_socktype = options.isStream ? SOCK_STREAM : SOCK_DGRAM;
    addrinfo* found = nullptr;
    const std::string where = options.host + ':' + options.port;
    const int error = getaddrinfo(options.host.c_str(), options.port.c_str(), &hints, &found);
    if (error != 0) {
        fail("Failed to find " + where + " (" + gai_strerror(error) + "); look at --to");
        return -1;
    }
    int descriptor = -1;
    for (const addrinfo* a = found; a && descriptor < 0; a = a->ai_next) {
        descriptor = socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (descriptor >= 0 && connect(descriptor, a->ai_addr, a->ai_addrlen) != 0) {
            close(descriptor);
            descriptor = -1;
        }
    }
    if (descriptor < 0)
        fail("Failed to reach " + where + " (" + std::strerror(errno) + "); look at --to and at the network");
    freeaddrinfo(found);
    const int yes = 1;
    if (options.isStream && descriptor >= 0)
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes); // a touch must not wait for the next one
    return descriptor;
}

/// All of the packet, in a stream led by its length. False with the reason in errno.
bool sendPacket(int descriptor, const std::vector<char>& packet, bool isStream)
{
    if (!isStream)
        return ::send(descriptor, packet.data(), packet.size(), 0) >= 0;
    std::vector<char> bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(packet.size() >> shift));
    bytes.insert(bytes.end(), packet.begin(), packet.end());
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size < 0 && errno != EINTR)
            return false;
        sent += size < 0 ? 0 : static_cast<std::size_t>(size);
    }
    return true;
}

/// Returns when the script may be played up to a time: at that time of the clock, or when standard input has asked for it.
class Pace
{
public:
    explicit Pace(bool isStepped) : m_isStepped(isStepped), m_start(std::chrono::steady_clock::now()) {}

    void waitFor(double seconds, std::uint64_t datagramsSent)
    {
        if (!m_isStepped) {
            std::this_thread::sleep_until(
                m_start
                + std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds)));
            return;
        }
        std::string line;
        while (seconds > m_allowed) {
            if (m_hasAsked)
                answer(datagramsSent);
            if (!std::getline(std::cin, line)) {
                m_allowed = std::numeric_limits<double>::infinity();
                return;
            }
            m_allowed = std::strtod(line.c_str(), nullptr);
            m_hasAsked = true;
        }
    }
    /// The script is over: answers what is still asked.
    void finish(std::uint64_t datagramsSent)
    {
        std::string line;
        while (m_isStepped && m_hasAsked) {
            answer(datagramsSent);
            m_hasAsked = bool(std::getline(std::cin, line));
        }
    }

private:
    static void answer(std::uint64_t datagramsSent)
    {
        std::printf("%llu\n", static_cast<unsigned long long>(datagramsSent));
        std::fflush(stdout);
    }

    bool m_isStepped;
    std::chrono::steady_clock::time_point m_start;
    double m_allowed = -1.0;
    bool m_hasAsked = false;
};

bool play(const Visit::Player& player, int descriptor, const Options& options)
{
    bool isSent = true;
    std::uint64_t sent = 0;
    const auto send = [&](const std::vector<char>& packet) {
        ++sent;
        // By UDP, ECONNREFUSED is no failure: the table may start later, and all is sent again each second.
        if (!sendPacket(descriptor, packet, options.isStream) && (options.isStream || errno != ECONNREFUSED)) {
            if (isSent)
                fail(std::string("Failed to send to ") + options.host + ':' + options.port + " (" + std::strerror(errno)
                     + "); look at --to and at the network");
            isSent = false;
        }
    };
    // Visits may play side by side and one after the other: each is a sender of its own.
    const std::string name = options.source.empty() ? "tavola-visit-" + std::to_string(getpid()) : options.source;
    Visit::Packets packets(name + "@localhost", options.version, options.beganSeconds);
    Pace pace(options.step);
    pace.waitFor(0.0, sent);
    const double end = player.script().durationSeconds();
    std::uint64_t tick = 0;
    double seconds = 0.0;
    while (isSent) {
        packets.send(player.frameAt(seconds), seconds, send);
        if (seconds >= end)
            break;
        while (static_cast<double>(tick) / options.rateHz <= seconds)
            ++tick;
        seconds = std::min({static_cast<double>(tick) / options.rateHz, player.nextActionAfter(seconds), end});
        pace.waitFor(seconds, sent);
    }
    // Once more, for the datagram that may have been lost.
    const Visit::Frame last = options.lift ? Visit::Frame() : player.frameAt(end);
    for (int i = 0; i < 2 && isSent; ++i)
        packets.sendAll(last, end, send);
    pace.finish(sent);
    return isSent;
}
}

int main(int argumentCount, char** arguments)
{
    for (int i = 1; i < argumentCount; ++i) {
        if (std::strcmp(arguments[i], "--help") == 0) {
            std::fputs(kHelp, stdout);
            return kExitOk;
        }
    }
    Options options;
    if (!readArguments(argumentCount, arguments, options))
        return kExitUsage;

    std::ifstream file(options.file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        fail("Failed to read " + options.file + " (" + std::strerror(errno) + "); look at its name and rights");
        return kExitFailed;
    }
    Visit::ParsedScript parsed = Visit::parseScript(text);
    for (const Visit::ScriptError& error : parsed.errors)
        std::fprintf(stderr, "%s:%d:%d: %s\n", options.file.c_str(), error.line, error.column, error.text.c_str());
    if (!parsed.errors.empty())
        return kExitUsage;

    const int descriptor = connectTo(options);
    if (descriptor < 0)
        return kExitFailed;
    const bool isPlayed = play(Visit::Player(std::move(parsed.script)), descriptor, options);
    close(descriptor);
    return isPlayed ? kExitOk : kExitFailed;
}
