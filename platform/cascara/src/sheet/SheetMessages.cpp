#include "sheet/SheetMessages.hpp"

#include <Bedrock/Trace.hpp>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

namespace Cascara
{
namespace
{
struct Message
{
    int sheet; ///< in the order in which they came
    int line;
    int column;
    QString name;
    QByteArray text;
};

std::vector<Message> g_kept;
int g_collections = 0;

void log(const QByteArray& message)
{
    Bedrock::Trace::warning("StyleEngine # %s", message.constData());
}
}

void SheetMessages::warn(const QString& sheet, int line, int column, const QByteArray& message)
{
    if (g_collections == 0) {
        log(message);
        return;
    }
    const auto same = std::find_if(g_kept.begin(), g_kept.end(), [&](const Message& kept) { return kept.name == sheet; });
    const int number = same != g_kept.end() ? same->sheet : int(g_kept.size());
    g_kept.push_back({number, line, column, sheet, message});
}

SheetMessages::Collection::Collection()
{
    ++g_collections;
}

SheetMessages::Collection::~Collection()
{
    if (--g_collections > 0)
        return;
    std::vector<Message> kept = std::exchange(g_kept, {});
    std::stable_sort(kept.begin(), kept.end(), [](const Message& a, const Message& b) {
        return std::tie(a.sheet, a.line, a.column) < std::tie(b.sheet, b.line, b.column);
    });
    for (const Message& message : kept)
        log(message.text);
}
}
