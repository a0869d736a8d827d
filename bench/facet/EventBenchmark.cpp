// Row 1: an event with a payload of 16 bytes, against a signal with the same arguments, directly connected.

#include "QtRivals.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include <Facet/Node.hpp>

namespace
{
enum class Payload {
    Values, ///< written only for a listener (eventSendValues)
    Written ///< by the sender in any case (eventSend)
};

void sendEvent(benchmark::State& state, int listeners, Payload payload)
{
    static const Facet::EventName kEvent("item-added");
    Facet::Node node;
    node.eventAddOut(kEvent);
    Bench::SignalSender sender;
    long ours = 0;
    long rival = 0;
    for (int i = 0; i < listeners; ++i) {
        node.eventAddListenerBd(kEvent, [&ours](Bedrock::BinaryData& data) {
            ours += data.readInt64();
            ours += data.readInt64();
        });
        QObject::connect(&sender, &Bench::SignalSender::added, [&rival](qint64 item, qint64 widget) { rival += item + widget; });
    }
    const auto sendValues = [&](long times) {
        for (long i = 0; i < times; ++i)
            node.eventSendValues(kEvent, std::int64_t(i), std::int64_t(2));
    };
    const auto sendWritten = [&](long times) {
        for (long i = 0; i < times; ++i) {
            Bedrock::BinaryData data;
            data.writeInt64(i);
            data.writeInt64(2);
            node.eventSend(kEvent, data);
        }
    };
    Bench::compare(state, payload == Payload::Values ? Bench::Side(sendValues) : Bench::Side(sendWritten), [&](long times) {
        for (long i = 0; i < times; ++i)
            Q_EMIT sender.added(i, 2);
    });
    benchmark::DoNotOptimize(ours);
    benchmark::DoNotOptimize(rival);
}

const Bench::Row kRow([] {
    for (const int listeners : {0, 1, 10, 100})
        Bench::add("row01/listeners/" + std::to_string(listeners),
                   [=](benchmark::State& state) { sendEvent(state, listeners, Payload::Values); });
    for (const int listeners : {0, 1})
        Bench::add("row01/written-" + std::to_string(listeners),
                   [=](benchmark::State& state) { sendEvent(state, listeners, Payload::Written); });
});
}
