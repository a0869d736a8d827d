#include "Storage/Store.hpp"

#include "StoreWorker.hpp"

#include <future>
#include <utility>

namespace Storage
{
tl::expected<std::unique_ptr<Store>, QString> Store::open(const Address& address, const Schema& schema, const Settings& settings)
{
    std::unique_ptr<Store> store(new Store(address));
    store->m_worker = std::make_unique<Worker>(address, schema, settings);
    const QString refused = store->m_worker->start();
    if (!refused.isEmpty())
        return tl::unexpected(refused);
    return store;
}

Store::Store(const Address& address) : m_address(address) {}

Store::~Store() = default;

void Store::post(Kind kind, Job job, Done done)
{
    m_worker->add(kind, std::move(job), std::move(done));
}

void Store::endWithin(std::chrono::milliseconds time)
{
    m_worker->endAt(Worker::Clock::now() + time);
}

Store::Outcome Store::run(Kind kind, const Job& job)
{
    // Shared: the store's thread may still be inside of set_value() when this one goes on.
    const auto promise = std::make_shared<std::promise<Outcome>>();
    post(kind, job, [promise](const Outcome& outcome) { promise->set_value(outcome); });
    return promise->get_future().get();
}
}
