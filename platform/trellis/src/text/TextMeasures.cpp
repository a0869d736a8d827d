#include "text/TextMeasures.hpp"

#include <unordered_map>
#include <utility>

namespace Trellis
{
namespace
{
struct MeasureKey
{
    QString text;
    TextFormat::Pointer format; ///< keeps its address from being another format's
    float widthPx;
    friend bool operator==(const MeasureKey& a, const MeasureKey& b)
    {
        return a.format == b.format && a.widthPx == b.widthPx && a.text == b.text;
    }
};

struct MeasureHash
{
    std::size_t operator()(const MeasureKey& key) const noexcept
    {
        return (qHash(key.text) * 31u + std::hash<float>()(key.widthPx)) ^ std::hash<TextFormat::Pointer>()(key.format);
    }
};

using Measures = std::unordered_map<MeasureKey, Vecta::Vector2f, MeasureHash>;

/// When the young ones are as many as are kept, they become the old ones, and the old ones go.
struct Generations
{
    Measures young;
    Measures old;
};

Generations& generations()
{
    // Never destroyed: widgets of static objects may go late.
    static Generations& instance = *new Generations;
    return instance;
}
}

std::optional<Vecta::Vector2f> TextMeasures::find(const QString& text, const TextFormat::Pointer& format, float widthPx)
{
    Generations& all = generations();
    const MeasureKey key{text, format, widthPx};
    if (const auto found = all.young.find(key); found != all.young.end())
        return found->second;
    const auto found = all.old.find(key);
    if (found == all.old.end())
        return std::nullopt;
    const Vecta::Vector2f size = found->second;
    all.old.erase(found);
    keep(text, format, widthPx, size);
    return size;
}

void TextMeasures::keep(const QString& text, const TextFormat::Pointer& format, float widthPx, Vecta::Vector2f size)
{
    Generations& all = generations();
    if (all.young.size() >= kKept) {
        all.old = std::move(all.young);
        all.young.clear();
    }
    all.young.insert_or_assign({text, format, widthPx}, size);
}

void TextMeasures::clear()
{
    generations() = {};
}
}
