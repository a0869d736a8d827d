#include "Bedrock/PersonalTexts.hpp"

#include "InsertedText.hpp"

#include <algorithm>
#include <cctype>
#include <deque>
#include <mutex>
#include <set>

namespace Bedrock::PersonalTexts
{
namespace
{
constexpr const char* kEllipsis = "\xE2\x80\xA6";
constexpr std::string_view kAfterHead = " # ";
constexpr std::size_t kFewestLettersAndDigits = 2;
constexpr std::size_t kFewestDigits = 6;

using Texts = std::set<std::string, std::less<>>;

struct Collection
{
    std::mutex mutex;
    Texts texts;
    std::deque<Texts::iterator> byAge; ///< the oldest first
};

Collection& collection()
{
    // Never destroyed: destructors of other libraries may log at process exit.
    static auto& instance = *new Collection;
    return instance;
}

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

bool isWordCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool isLetter(char c)
{
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || static_cast<unsigned char>(c) >= 0x80;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool isWorthRemembering(std::string_view text)
{
    const auto characters = std::size_t(std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
    return characters >= kFewestDigits
        || (characters >= kFewestLettersAndDigits && std::any_of(text.begin(), text.end(), isLetter));
}

/// Whether the text ends, or begins, a word there: ASCII letters and digits on both sides make one word. Other scripts write
/// words without anything between them.
bool isBoundary(std::string_view text, std::size_t place)
{
    return place == 0 || place == text.size() || !isWordCharacter(text[place - 1]) || !isWordCharacter(text[place]);
}

/// The length of the longest remembered text that stands in the line at `place`, as words; 0 when there is none.
std::size_t lengthAt(const Texts& texts, std::string_view line, std::size_t place)
{
    const std::string_view rest = line.substr(place);
    // Each round looks for the largest text up to `bound`, a beginning of `rest`; one that is no beginning of it shortens the
    // bound.
    std::string_view bound = rest;
    while (!bound.empty()) {
        const auto next = texts.upper_bound(bound);
        if (next == texts.begin())
            return 0;
        const std::string& text = *std::prev(next);
        const auto differs = std::mismatch(text.begin(), text.end(), bound.begin(), bound.end());
        const auto common = std::size_t(differs.first - text.begin());
        if (common == text.size() && isBoundary(line, place + common))
            return common;
        bound = bound.substr(0, common == text.size() ? common - 1 : common);
    }
    return 0;
}

void appendShort(std::string& result, std::string_view text)
{
    std::size_t first = 1;
    while (first < text.size() && isContinuation(text[first]))
        ++first;
    result += text.substr(0, first);
    result += kEllipsis;
    const std::size_t at = text.rfind('@');
    if (std::string_view("/?#").find(text.front()) != std::string_view::npos)
        return; // of a web address: what follows an '@' is no domain
    if (at != std::string_view::npos && text.find_first_of(" <>\"", at) == std::string_view::npos)
        result += text.substr(at);
}
}

void remember(std::string_view utf8)
{
    std::string_view text = trimmed(utf8);
    if (text.size() > kLongestBytes) {
        std::size_t length = kLongestBytes;
        while (length > 0 && isContinuation(text[length]))
            --length;
        text = text.substr(0, length);
    }
    if (!isWorthRemembering(text))
        return;
    Collection& all = collection();
    const std::lock_guard<std::mutex> guard(all.mutex);
    const auto [place, isNew] = all.texts.emplace(text);
    if (!isNew)
        return;
    all.byAge.push_back(place);
    if (all.byAge.size() > kMostTexts) {
        all.texts.erase(all.byAge.front());
        all.byAge.pop_front();
    }
}

std::string shortened(std::string_view line)
{
    return shortened(line, {{0, line.size()}});
}

std::string shortened(std::string_view line, const InsertedText& inserted)
{
    const std::size_t head = line.find(kAfterHead);
    std::size_t place = head == std::string_view::npos ? 0 : head + kAfterHead.size();
    std::string result(line.substr(0, place));
    const auto isFromOutside = [&inserted](std::size_t begin, std::size_t end) {
        return std::any_of(inserted.begin(), inserted.end(),
                           [&](const ByteRange& range) { return range.begin < end && begin < range.end; });
    };
    Collection& all = collection();
    const std::lock_guard<std::mutex> guard(all.mutex);
    while (place < line.size()) {
        const std::size_t length = isBoundary(line, place) ? lengthAt(all.texts, line, place) : 0;
        if (length > 0 && isFromOutside(place, place + length)) {
            appendShort(result, line.substr(place, length));
            place += length;
        } else {
            result += line[place++];
        }
    }
    return result;
}
}
