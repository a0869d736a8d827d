#pragma once

#include <Tavola/TavolaFactoryT.hpp>

#include <vector>

namespace Tavola
{
class Tavola;
}

namespace Host
{
/// The components that presentations can use without any plug-in: "picture", "document", "link", "text", "image", "panel",
/// "content-menu". Registered for the lifetime of this object. Main thread only.
class HostComponents
{
public:
    explicit HostComponents(Tavola::Tavola& application);
    ~HostComponents();
    HostComponents(const HostComponents&) = delete;
    HostComponents& operator=(const HostComponents&) = delete;

private:
    Tavola::Tavola& m_application;
    std::vector<Tavola::FactoryTable::iterator> m_entries;
};
}
