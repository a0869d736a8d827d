#include <doctest/doctest.h>

#include <Facet/AttributeName.hpp>
#include <Facet/NameTable.hpp>

#include <atomic>
#include <set>
#include <thread>
#include <utility>
#include <vector>

using Facet::NameTable;

TEST_CASE("name table: equal names have one number, different ones different numbers")
{
    NameTable table;
    const int width = table.number(QByteArray("width"));
    CHECK(table.number(QByteArray("width")) == width);
    CHECK(table.number(std::string_view("width")) == width);
    CHECK(table.number(QByteArray("Width")) != width);
    CHECK(table.name(width) == "width");
}

TEST_CASE("name table: the empty name is number 0, and looking for a name enters none")
{
    NameTable table;
    CHECK(table.number(QByteArray()) == 0);
    CHECK(table.name(0).isEmpty());
    CHECK(table.findNumber("height") == 0);
    const int height = table.number(QByteArray("height"));
    CHECK(height == 1);
    CHECK(table.findNumber("height") == height);
}

TEST_CASE("name table: a name is copied, and keeps its place while others are entered")
{
    NameTable table;
    char characters[] = "left";
    const int left = table.number(QByteArray::fromRawData(characters, 4));
    characters[0] = 'X';
    const QByteArray& name = table.name(left);
    for (int i = 0; i < 1000; ++i)
        CHECK(table.number(QByteArray::number(i)) == left + 1 + i);
    CHECK(name == "left");
    CHECK(table.findNumber("left") == left);
}

TEST_CASE("name table: names of every length that differ in one letter have different numbers")
{
    NameTable table;
    std::set<int> numbers{table.number(QByteArray())};
    for (int length = 1; length <= 40; ++length) {
        const QByteArray name(length, 'a');
        numbers.insert(table.number(name));
        for (int place = 0; place < length; ++place) {
            QByteArray other = name;
            other[place] = 'b';
            CAPTURE(other.toStdString());
            CHECK(table.findNumber(other) == 0);
            const int number = table.number(other);
            CHECK(numbers.insert(number).second);
            CHECK(table.name(number) == other);
            CHECK(table.findNumber(other) == number);
        }
        CHECK(table.findNumber(name) != 0);
    }
}

TEST_CASE("name table: names that the table's hash cannot tell apart have different numbers")
{
    const std::pair<const char*, const char*> pairs[] = {
        {"ba", "caa"},
        {"[0x[[%", "\"N\"=5Y"},
        {"bttaaa", "wcgca-longer"},
        {"tkxb-the-end", "seaf-the-end"},
        {"the-headwufbba", "the-headdjhtca"},
        {"the-headhfoaaabc-the-end", "the-headwhoeaabc-the-end"},
        // Of the same length and with the same hash in all of its bits.
        {"a-head-Athe-tail", "ahzefolnpZ+KphT."},
        {"a-head-Athe-tail", "jdqnydwdalFM&ENx"},
    };
    for (const auto& [first, second] : pairs) {
        CAPTURE(first);
        NameTable table;
        const int number = table.number(std::string_view(first));
        CHECK(table.findNumber(second) == 0);
        CHECK(table.number(std::string_view(second)) == number + 1);
        CHECK(table.number(std::string_view(first)) == number);
        CHECK(table.findNumber(second) == number + 1);
    }
}

TEST_CASE("name table: a thread finds what was entered before, while another one enters thousands of names")
{
    NameTable table;
    const int known = table.number(QByteArray("known"));
    std::atomic<int> last{known};
    std::atomic<bool> isDone{false};
    bool isRight = true;
    std::thread reader([&] {
        while (!isDone) {
            const int number = last;
            const QByteArray expected = number == known ? QByteArray("known") : "name-" + QByteArray::number(number);
            isRight = isRight && table.name(number) == expected && table.findNumber(expected) == number
                && table.number(QByteArray("known")) == known;
        }
    });
    for (int i = known + 1; i < 5000; ++i)
        last = table.number("name-" + QByteArray::number(i));
    isDone = true;
    reader.join();
    CHECK(isRight);
}

TEST_CASE("name table: several threads may enter names at once")
{
    NameTable table;
    std::vector<int> numbers[4];
    std::vector<std::thread> threads;
    for (auto& mine : numbers)
        threads.emplace_back([&table, &mine] {
            for (int i = 0; i < 200; ++i)
                mine.push_back(table.number(QByteArray("name-" + QByteArray::number(i))));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& mine : numbers)
        CHECK(mine == numbers[0]);
}

TEST_CASE("attribute name: equal names are equal, however they are written")
{
    const Facet::AttributeName literal("my-gap");
    const Facet::AttributeName bytes(QByteArray("my-gap"));
    CHECK(literal == bytes);
    CHECK(literal.number() == NameTable::instance().findNumber("my-gap"));
    CHECK(literal.text() == "my-gap");
    CHECK(literal != Facet::AttributeName("my-gap-2"));
}
