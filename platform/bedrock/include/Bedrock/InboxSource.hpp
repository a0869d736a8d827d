#pragma once

#include <Bedrock/Arrival.hpp>
#include <Bedrock/Export.hpp>

#include <vector>

namespace Bedrock
{
/// Decides which results a frame takes from an Inbox, and answers the jobs outside of the process. Main thread only.
class TAVOLA_EXPORT InboxSource
{
public:
    virtual ~InboxSource();

    /// The results that the frame takes which begins now, in this order.
    virtual std::vector<Arrival> next() = 0;
    /// One of them is not there: its job was never begun, is of another kind, or has not come to its end yet.
    virtual void missed(const Arrival& arrival) = 0;
};
}
