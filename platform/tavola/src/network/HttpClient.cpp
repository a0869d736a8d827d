#include <Tavola/HttpClient.hpp>

#include "network/HttpTransfer.hpp"

#include <QObject>
#include <QSocketNotifier>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Tavola
{
namespace
{
using Transfers = std::vector<std::shared_ptr<HttpTransfer>>;
/// The library wakes earlier for what it waits for.
constexpr int kLongestWaitMs = 60000;
}

QByteArray HttpAnswer::header(const char* name) const
{
    for (const auto& header : headers)
        if (qstricmp(header.first.constData(), name) == 0)
            return header.second;
    return {};
}

struct HttpClient::Private : std::enable_shared_from_this<HttpClient::Private>
{
    ~Private();

    /// Wakes the event loop of the client's user when answers wait.
    int wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    QSocketNotifier notifier{wake, QSocketNotifier::Read};
    /// Made by the client's thread, which loads the library for it. Null until then: what was added before is found afterwards.
    std::atomic<CURLM*> multi{nullptr};
    std::mutex mutex;
    Transfers added;                 ///< guarded, as the next two are
    Transfers ended;                 ///< their answers wait to be delivered
    bool isStopping = false;         ///< the thread ends
    std::condition_variable hasWork; ///< for a thread without libcurl
    std::thread thread;

    void run();
    void exchange();
    /// Ends all transfers without an exchange, until the client ends.
    void refuse(const QString& reason);
    void wakeThread();
    void addEnded(std::shared_ptr<HttpTransfer> transfer);
    void beginAdded(Transfers& running);
    void dropCancelled(Transfers& running);
    void collectEnded(Transfers& running);
    void deliver();
};

HttpClient::Private::~Private()
{
    notifier.setEnabled(false);
    ::close(wake);
}

void HttpClient::Private::wakeThread()
{
    if (CURLM* const known = multi)
        curl().curl_multi_wakeup(known);
    hasWork.notify_one();
}

void HttpClient::Private::run()
{
    try {
        multi = curl().curl_multi_init();
    } catch (const std::runtime_error& fault) {
        return refuse(QString::fromLocal8Bit(fault.what()));
    }
    exchange();
}

void HttpClient::Private::refuse(const QString& reason)
{
    for (;;) {
        Transfers refused;
        {
            std::unique_lock<std::mutex> lock(mutex);
            hasWork.wait(lock, [this] { return isStopping || !added.empty(); });
            if (isStopping)
                return;
            refused.swap(added);
        }
        for (auto& transfer : refused) {
            transfer->fail(reason);
            addEnded(std::move(transfer));
        }
    }
}

void HttpClient::Private::exchange()
{
    Transfers running;
    for (;;) {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            if (isStopping)
                break;
        }
        beginAdded(running);
        dropCancelled(running);
        int count = 0;
        curl().curl_multi_perform(multi, &count);
        collectEnded(running);
        curl().curl_multi_poll(multi, nullptr, 0, kLongestWaitMs, nullptr);
    }
    for (const auto& transfer : running)
        transfer->isCancelled = true;
    dropCancelled(running);
}

void HttpClient::Private::beginAdded(Transfers& running)
{
    Transfers fresh;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        fresh.swap(added);
    }
    for (auto& transfer : fresh) {
        if (transfer->isCancelled)
            continue;
        curl().curl_multi_add_handle(multi, transfer->begin());
        running.push_back(std::move(transfer));
    }
}

void HttpClient::Private::dropCancelled(Transfers& running)
{
    const auto drop = [this](const std::shared_ptr<HttpTransfer>& transfer) {
        if (!transfer->isCancelled)
            return false;
        curl().curl_multi_remove_handle(multi, const_cast<CURL*>(transfer->handle()));
        transfer->finish(CURLE_ABORTED_BY_CALLBACK);
        return true;
    };
    running.erase(std::remove_if(running.begin(), running.end(), drop), running.end());
}

void HttpClient::Private::collectEnded(Transfers& running)
{
    int left = 0;
    while (const CURLMsg* message = curl().curl_multi_info_read(multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* const handle = message->easy_handle;
        const CURLcode code = message->data.result;
        const auto found = std::find_if(running.begin(), running.end(), [&](const auto& one) { return one->handle() == handle; });
        curl().curl_multi_remove_handle(multi, handle);
        (*found)->finish(code);
        addEnded(std::move(*found));
        running.erase(found);
    }
}

void HttpClient::Private::addEnded(std::shared_ptr<HttpTransfer> transfer)
{
    const std::lock_guard<std::mutex> guard(mutex);
    ended.push_back(std::move(transfer));
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake, &one, sizeof one);
}

void HttpClient::Private::deliver()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t read = ::read(wake, &count, sizeof count);
    Transfers arrived;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        arrived.swap(ended);
    }
    // A function may end other exchanges, and the client.
    const std::weak_ptr<Private> client = weak_from_this();
    for (const auto& transfer : arrived) {
        const Done done = std::exchange(transfer->done, nullptr);
        if (done && !client.expired())
            done(transfer->answer());
    }
}

HttpClient::HttpClient() : d(std::make_shared<Private>())
{
    QObject::connect(&d->notifier, &QSocketNotifier::activated, &d->notifier, [client = d.get()] { client->deliver(); });
}

HttpClient::~HttpClient()
{
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        d->isStopping = true;
    }
    if (d->thread.joinable()) {
        d->wakeThread();
        d->thread.join();
    }
    if (d->multi)
        curl().curl_multi_cleanup(d->multi);
}

HttpClient::Exchange HttpClient::send(HttpRequest request, Done done)
{
    const auto transfer = std::make_shared<HttpTransfer>(std::move(request), std::move(done));
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        d->added.push_back(transfer);
    }
    if (!d->thread.joinable())
        d->thread = std::thread([client = d.get()] { client->run(); });
    d->wakeThread();
    // The pointer stands for the exchange alone; what it points to is not used.
    return {transfer.get(), [transfer, client = std::weak_ptr<Private>(d)](void*) {
                transfer->done = nullptr;
                transfer->isCancelled = true;
                if (const auto alive = client.lock())
                    alive->wakeThread();
            }};
}
}
