#include "values/InheritedValues.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Cascara
{
namespace
{
bool isBefore(const InheritedValue& a, const InheritedValue& b)
{
    return a.attribute < b.attribute;
}
}

bool isInheritedAttribute(const QByteArray& name)
{
    static const char* const kNames[] = {"color",          "font-family", "font-size",  "font-style", "font-weight",
                                         "letter-spacing", "line-height", "text-align", "caret-color"};
    return std::any_of(std::begin(kNames), std::end(kNames), [&name](const char* inherited) { return name == inherited; });
}

InheritedValues::Pointer InheritedValues::merge(const Pointer& inherited, const std::vector<InheritedValue>& own)
{
    if (own.empty())
        return inherited;
    std::vector<InheritedValue> sorted = own;
    std::sort(sorted.begin(), sorted.end(), isBefore);
    auto result = std::make_shared<InheritedValues>();
    auto& values = result->m_values;
    if (inherited)
        // Of equal attributes the first range is taken.
        std::set_union(sorted.begin(), sorted.end(), inherited->m_values.begin(), inherited->m_values.end(),
                       std::back_inserter(values), isBefore);
    else
        values = std::move(sorted);
    values.erase(std::remove_if(values.begin(), values.end(), [](const InheritedValue& value) { return !value.value; }),
                 values.end());
    return values.empty() ? nullptr : Pointer(std::move(result));
}

std::vector<int> InheritedValues::difference(const InheritedValues* a, const InheritedValues* b)
{
    static const std::vector<InheritedValue> kNone;
    const auto& x = a ? a->m_values : kNone;
    const auto& y = b ? b->m_values : kNone;
    std::vector<int> result;
    for (auto i = x.begin(), j = y.begin(); i != x.end() || j != y.end();) {
        if (j == y.end() || (i != x.end() && i->attribute < j->attribute)) {
            result.push_back((i++)->attribute);
        } else if (i == x.end() || j->attribute < i->attribute) {
            result.push_back((j++)->attribute);
        } else {
            if (i->serial != j->serial)
                result.push_back(i->attribute);
            ++i;
            ++j;
        }
    }
    return result;
}
}
