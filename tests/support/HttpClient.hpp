#pragma once

#include <Patience.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

/// What came back: names of headers in small letters.
struct HttpAnswer
{
    int status = 0;
    std::map<std::string, std::string> headers;
    std::string body;

    [[nodiscard]] std::string header(const std::string& name) const;
};

/// One connection to a server on this machine, on which a test says exact bytes. Blocking; no wait is longer than
/// kPatience.
class HttpClient
{
public:
    /// `from`: the address of this machine that the server sees; empty for the usual one.
    explicit HttpClient(std::uint16_t port, const std::string& from = {});
    ~HttpClient();

    /// False when the server has closed the connection.
    bool send(const std::string& bytes);

    /// The next answer; empty when none has come whole in time.
    [[nodiscard]] std::optional<HttpAnswer> receive();
    /// As receive, for the answer to HEAD, which says the length of a body that does not come.
    [[nodiscard]] std::optional<HttpAnswer> receiveHead();

    /// Whether the server ends the connection without saying anything more.
    [[nodiscard]] bool isClosed() { return isClosedWithin(TestSupport::kPatience); }
    [[nodiscard]] bool isClosedWithin(std::chrono::milliseconds limit);

    /// Ends the connection.
    void close();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// "GET /x HTTP/1.1" and so on with what HTTP demands, ready to be sent.
[[nodiscard]] std::string requestText(const std::string& method, const std::string& target, const std::string& body = {});

/// One request on a connection of its own; status 0 when no answer came.
[[nodiscard]] HttpAnswer ask(std::uint16_t port, const std::string& method, const std::string& target,
                             const std::string& body = {});
