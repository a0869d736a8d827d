#include "contacts/FindInOrder.hpp"

#include <doctest/doctest.h>

using Tactile::findInOrder;

TEST_CASE("find in order: finds the one element, wherever the search begins, or none")
{
    for (int count = 0; count <= 4; ++count) {
        std::vector<int> list;
        for (int i = 0; i < count; ++i)
            list.push_back(10 * i);
        for (std::size_t next = 0; next < 7; ++next)
            for (int wanted = -10; wanted <= 50; wanted += 10) {
                CAPTURE(count);
                CAPTURE(next);
                CAPTURE(wanted);
                std::size_t begin = next;
                const int* found = findInOrder(list, begin, [wanted](int element) { return element == wanted; });
                CHECK((found != nullptr) == (wanted >= 0 && wanted < 10 * count));
                if (found)
                    CHECK(*found == wanted);
            }
    }
}

TEST_CASE("find in order: what is named in the order of the list is found at the first try")
{
    std::vector<int> list{3, 1, 4, 5, 9};
    std::size_t next = 0;
    int tried = 0;
    const auto find = [&](int wanted) {
        return findInOrder(list, next, [&](int element) {
            ++tried;
            return element == wanted;
        });
    };
    for (int round = 0; round < 3; ++round)
        for (const int wanted : {3, 1, 4, 5, 9})
            REQUIRE(find(wanted) != nullptr);
    CHECK(tried == 15);
    list.resize(2); // the next one is gone
    CHECK(find(3) == &list[0]);
    CHECK(find(9) == nullptr);
}
