#include "VisitOptions.hpp"
#include "VisitPace.hpp"
#include "VisitPackets.hpp"
#include "VisitPlayer.hpp"
#include "VisitScript.hpp"
#include "VisitSender.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/LogText.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>

namespace
{
constexpr int kLargestFileMiB = 4;
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

int fail(const std::string& text, int code)
{
    std::fprintf(stderr, "tavola-visit # %s\n", Bedrock::onOneLine(text).c_str());
    return code;
}

/// Plays to the end of the script; false when sending fails.
bool play(const Visit::Player& player, Visit::Sender& sender, const Visit::Options& options)
{
    bool isSent = true;
    const auto send = [&](const std::vector<char>& packet) { isSent = isSent && sender.send(packet); };
    // Visits may play side by side and one after the other: each is a sender of its own.
    const std::string name = options.source.empty() ? "tavola-visit-" + std::to_string(getpid()) : options.source;
    Visit::Packets packets(name + "@localhost", options.version, options.beganSeconds);
    Visit::Pace pace(options.step ? Visit::Pace::Mode::Steps : Visit::Pace::Mode::Clock, std::cin, std::cout);
    pace.waitFor(0.0, sender.packetsSent());
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
        pace.waitFor(seconds, sender.packetsSent());
    }
    // Once more, for the datagram that may have been lost.
    const Visit::Frame last = options.lift ? Visit::Frame() : player.frameAt(end);
    for (int i = 0; i < 2 && isSent; ++i)
        packets.sendAll(last, end, send);
    pace.finish(sender.packetsSent());
    return isSent;
}
}

int main(int argumentCount, char** arguments)
{
    Visit::Options options;
    const double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    if (const auto exit = Visit::Options::parse(argumentCount, arguments, now, options)) {
        if (exit->code != kExitOk)
            return fail(exit->text, exit->code);
        std::fputs(exit->text.c_str(), stdout);
        return kExitOk;
    }

    QString reason;
    const auto text = Bedrock::readBoundedFile(QString::fromStdString(options.file), kLargestFileMiB, reason);
    if (!text)
        return fail("Failed to read " + options.file + " (" + reason.toStdString() + "); check its name and rights", kExitFailed);
    Visit::ParsedScript parsed = Visit::parseScript({text->constData(), std::size_t(text->size())});
    for (const Visit::ScriptError& error : parsed.errors)
        std::fprintf(stderr, "%s\n",
                     Bedrock::onOneLine(options.file + ':' + std::to_string(error.line) + ':' + std::to_string(error.column)
                                        + ": " + error.text)
                         .c_str());
    if (!parsed.errors.empty())
        return kExitUsage;

    Visit::Sender sender(options.target);
    if (!sender.open() || !play(Visit::Player(std::move(parsed.script)), sender, options))
        return fail(sender.errorText(), kExitFailed);
    return kExitOk;
}
