#pragma once

#include <Tavola/HttpClient.hpp>

#include <curl/curl.h>

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
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> m_headers{nullptr, curl_slist_free_all};
    std::unique_ptr<CURL, void (*)(CURL*)> m_handle{nullptr, curl_easy_cleanup};
};
}
