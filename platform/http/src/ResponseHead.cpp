#include "ResponseHead.hpp"

#include <ostream>

#include <boost/beast/http/status.hpp> // needs the header above

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace Http
{
namespace
{
namespace http = boost::beast::http;

std::string_view view(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// RFC 9110, 5.5: CR, LF and NUL are replaced by spaces. What comes from a visitor's file adds no header and no second answer.
void appendLine(std::string& text, std::string_view name, std::string_view value)
{
    text.append(name).append(": ");
    const auto begin = text.insert(text.end(), value.begin(), value.end());
    std::replace_if(
        begin, text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    text.append("\r\n");
}

bool isNamed(const std::pair<QByteArray, QByteArray>& header, const char* name)
{
    return qstricmp(header.first.constData(), name) == 0;
}

/// A header that the server adds unless the response has one of that name.
void appendDefault(std::string& text, const Headers& headers, const char* name, std::string_view value)
{
    if (std::none_of(headers.begin(), headers.end(), [name](const auto& header) { return isNamed(header, name); }))
        appendLine(text, name, value);
}
}

const std::string& DateText::at(std::time_t time)
{
    if (m_time == time)
        return m_text;
    m_time = time;
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s, %02d %s %d %02d:%02d:%02d GMT", days[parts.tm_wday], parts.tm_mday,
                  months[parts.tm_mon], 1900 + parts.tm_year, parts.tm_hour, parts.tm_min, parts.tm_sec);
    m_text = text.data();
    return m_text;
}

void appendHead(std::string& text, const Response& response, const HeadFacts& facts, const std::string& date)
{
    const auto reason = http::obsolete_reason(http::int_to_status(static_cast<unsigned>(response.status)));
    text.append(facts.version == 10 ? "HTTP/1.0 " : "HTTP/1.1 ").append(std::to_string(response.status)).append(" ");
    text.append(reason.data(), reason.size()).append("\r\n");
    const Headers& headers = response.headers;
    appendDefault(text, headers, "Date", date);
    appendDefault(text, headers, "Content-Type", view(response.contentType));
    // A browser must not guess another type, nor send the address of a page, which is a secret, to other sites.
    appendDefault(text, headers, "X-Content-Type-Options", "nosniff");
    appendDefault(text, headers, "Referrer-Policy", "no-referrer");
    for (auto header = headers.begin(); header != headers.end(); ++header) {
        const auto isLater = [name = header->first.constData()](const auto& later) { return isNamed(later, name); };
        if (std::none_of(header + 1, headers.end(), isLater))
            appendLine(text, view(header->first), view(header->second));
    }
    if (facts.length)
        appendLine(text, "Content-Length", std::to_string(*facts.length));
    else if (facts.version != 10)
        appendLine(text, "Transfer-Encoding", "chunked");
    if (facts.keepAlive && facts.version == 10)
        appendLine(text, "Connection", "keep-alive");
    else if (!facts.keepAlive && facts.version != 10)
        appendLine(text, "Connection", "close");
    text.append("\r\n");
}
}
