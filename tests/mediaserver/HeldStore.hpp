#pragma once

#include "items/ItemStore.hpp"

#include <future>
#include <memory>

/// Holds a store's thread, as a database does that hangs, until release() or its end.
class HeldStore
{
public:
    explicit HeldStore(MediaServer::ItemStore& store)
    {
        const auto started = std::make_shared<std::promise<void>>(); // lives as long as its setter
        auto isHeld = started->get_future();
        store.post(
            MediaServer::ItemStore::Kind::Read,
            [started, free = m_free.get_future().share()](MediaServer::Items&) {
                started->set_value();
                free.wait();
            },
            [](const MediaServer::Result<void>&) {});
        isHeld.wait();
    }
    ~HeldStore()
    {
        if (!m_isFree)
            release();
    }
    HeldStore(const HeldStore&) = delete;
    HeldStore& operator=(const HeldStore&) = delete;

    void release()
    {
        m_isFree = true;
        m_free.set_value();
    }

private:
    std::promise<void> m_free;
    bool m_isFree = false;
};
