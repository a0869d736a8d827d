#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <vector>

namespace Facet
{
namespace
{
/// The distance of Damerau and Levenshtein, where no letter takes part in two changes; more than `most` is `most` + 1.
int distance(const QString& a, const QString& b, int most)
{
    if (std::abs(a.size() - b.size()) > most)
        return most + 1;
    const auto width = std::size_t(b.size()) + 1;
    std::vector<int> beforeLast(width);
    std::vector<int> last(width);
    std::vector<int> row(width);
    for (std::size_t j = 0; j < width; ++j)
        last[j] = int(j);
    for (int i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const auto column = std::size_t(j);
            const bool isSame = a.at(i - 1) == b.at(j - 1);
            row[column] = std::min({last[column] + 1, row[column - 1] + 1, last[column - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[width - 1];
}
}

QString nearestWord(const QString& written, const QStringList& words)
{
    int most = std::min(2, written.size() / 3);
    QString nearest;
    for (const QString& word : words) {
        const int changes = distance(written.toLower(), word.toLower(), most);
        if (changes > most)
            continue;
        nearest = word;
        most = changes - 1; // the first of equals stays
        if (most < 0)
            break;
    }
    return nearest;
}

QString didYouMean(const QString& written, const QStringList& words)
{
    const QString nearest = nearestWord(written, words);
    return nearest.isEmpty() ? QString() : QStringLiteral(" (did you mean '%1'?)").arg(nearest);
}
}
