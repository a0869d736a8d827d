#pragma once

#include <Tavola/Curl.hpp>
#include <Tavola/HttpClient.hpp>

#include <atomic>
#include <memory>

namespace Tavola
{
/// One exchange of an HttpClient. Made by the client's user; between begin() and finish() it belongs to the client's thread, but
/// for `isCancelled`.
class HttpTransfer
{
public:
    HttpTransfer(HttpRequest request, HttpClient::Done doneToCall);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// The handle to be added to a multi handle.
    [[nodiscard]] CURL* begin();
    /// Takes the outcome from the handle, which has left its multi handle, and destroys it.
    void finish(CURLcode code);
    /// Ends a transfer that could not begin.
    void fail(const QString& reason);
    [[nodiscard]] const CURL* handle() const { return m_handle.get(); }

    /// After finish().
    [[nodiscard]] const HttpAnswer& answer() const { return m_answer; }

    std::atomic<bool> isCancelled{false};
    HttpClient::Done done; ///< belongs to the thread that made the transfer; null once it was cancelled

private:
    static std::size_t onHead(char* data, std::size_t size, std::size_t count, void* user);
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user);
    [[nodiscard]] bool readHeadLine(const QByteArray& line);
    [[nodiscard]] HttpAnswer::End endOf(CURLcode code);

    HttpRequest m_request;
    HttpAnswer m_answer;
    qint64 m_headBytes = 0;
    bool m_hasWholeHead = false;
    char m_detail[CURL_ERROR_SIZE] = "";
    std::unique_ptr<curl_slist, CurlDelete> m_headers;
    std::unique_ptr<CURL, CurlDelete> m_handle;
};
}
