#pragma once

#include <folly/futures/Future.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace TestSupport
{
/// Base of fake services: the requests that are open, and the answers that a test gives them one by one. A request is named by
/// its index, which the service chooses. Any thread.
template <class Answer>
class HeldAnswers
{
public:
    /// The indices of the open requests, in the order in which they were made.
    [[nodiscard]] std::vector<std::size_t> waiting() const
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::size_t> indices;
        for (const auto& request : m_open)
            indices.push_back(request.first);
        return indices;
    }
    /// Completes the future of an open request on the caller's thread. Throws std::logic_error for any other index.
    void answer(std::size_t index, const Answer& value) { remove(index).setValue(value); }
    /// As above with a std::runtime_error of that text.
    void fail(std::size_t index, const std::string& text) { remove(index).setException(std::runtime_error(text)); }
    /// As the two above on a thread of its own, which has ended when the call returns.
    void answerFromThread(std::size_t index, const Answer& value)
    {
        std::thread([promise = remove(index), value]() mutable { promise.setValue(value); }).join();
    }
    void failFromThread(std::size_t index, const std::string& text)
    {
        std::thread([promise = remove(index), text]() mutable { promise.setException(std::runtime_error(text)); }).join();
    }
    /// Drops every open request: its future fails with a broken promise.
    void breakPromises()
    {
        std::vector<std::pair<std::size_t, folly::Promise<Answer>>> dropped;
        const std::lock_guard lock(m_mutex);
        dropped.swap(m_open);
    }

protected:
    ~HeldAnswers() = default;
    /// A new open request.
    [[nodiscard]] folly::Future<Answer> open(std::size_t index)
    {
        const std::lock_guard lock(m_mutex);
        m_open.emplace_back(index, folly::Promise<Answer>());
        return m_open.back().second.getFuture();
    }

private:
    [[nodiscard]] folly::Promise<Answer> remove(std::size_t index)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = std::find_if(m_open.begin(), m_open.end(), [index](const auto& one) { return one.first == index; });
        if (found == m_open.end())
            throw std::logic_error("request " + std::to_string(index) + " of a fake service is not open");
        auto promise = std::move(found->second);
        m_open.erase(found);
        return promise;
    }

    mutable std::mutex m_mutex;
    std::vector<std::pair<std::size_t, folly::Promise<Answer>>> m_open;
};
}
