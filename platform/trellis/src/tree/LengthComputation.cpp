#include "tree/LengthComputation.hpp"

#include <Facet/StyleMath.hpp>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <vector>

namespace Trellis
{
namespace
{
using Facet::StyleMath;

struct Table
{
    std::vector<QVector<Facet::StyleTerm>> computations{{}}; ///< number 0 is none
    std::unordered_map<std::string, int> numbers;            ///< by text
};

Table& table()
{
    // Never destroyed: widgets of static objects may go late.
    static Table& instance = *new Table;
    return instance;
}

QString textOf(const QVector<Facet::StyleTerm>& terms)
{
    Facet::StyleValue value;
    value.terms = terms;
    return value.toString();
}
}

int LengthComputation::number(const QVector<Facet::StyleTerm>& terms, QString* error)
{
    const double tried = 100.0;
    const auto result = StyleMath::evaluate(terms, 0, &tried, error);
    if (!result)
        return 0;
    if (result->kind != StyleMath::Kind::Length) {
        if (error)
            *error = QStringLiteral("expected a length in px, a percentage or auto");
        return 0;
    }
    int& number = table().numbers[textOf(terms).toStdString()];
    if (number == 0) {
        number = int(table().computations.size());
        table().computations.push_back(terms);
    }
    return number;
}

float LengthComputation::compute(int number, float reference)
{
    constexpr double kLargest = 1e9; // as of lengths that are written as numbers
    const double whole = double(reference);
    const auto result = StyleMath::evaluate(table().computations[std::size_t(number)], 0, &whole, nullptr);
    return result ? float(std::clamp(result->value, -kLargest, kLargest)) : 0.f;
}

QString LengthComputation::text(int number)
{
    return textOf(table().computations[std::size_t(number)]);
}
}
