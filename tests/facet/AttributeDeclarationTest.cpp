#include <doctest/doctest.h>

#include <Facet/AttributeDeclaration.hpp>
#include <Facet/AttributeT.hpp>

#include <QString>

#include <memory>
#include <vector>

using Facet::AttributeDeclaration;
using Facet::AttributeDeclarationT;
using Facet::AttributeT;

TEST_CASE("attribute declaration: attributes of one name, type and default share one, which goes with the last of them")
{
    const Facet::AttributeName name("declaration-test");
    CHECK_FALSE(AttributeDeclaration::isKnownName(name));
    {
        AttributeT<float> first(nullptr, name, 1.f);
        const unsigned number = AttributeDeclaration::next(name, 0);
        CHECK(number != 0);
        AttributeT<float> second(nullptr, name, 1.f);
        CHECK(AttributeDeclaration::next(name, 0) == number);
        CHECK(AttributeDeclaration::next(name, number) == 0);
        AttributeT<float> otherDefault(nullptr, name, 2.f);
        AttributeT<int> otherType(nullptr, name, 1);
        CHECK(AttributeDeclaration::next(name, 0) != number);
        CHECK(first == 1.f);
        CHECK(otherDefault == 2.f);
        CHECK(otherType == 1);
    }
    CHECK(AttributeDeclaration::next(name, 0) == 0);
    CHECK(AttributeDeclaration::isKnownName(name));
}

TEST_CASE("attribute declaration: the number of one that is gone is used again")
{
    const Facet::AttributeName name("declaration-again");
    unsigned first = 0;
    for (int i = 0; i < 5; ++i) {
        AttributeT<int> attribute(nullptr, name, i);
        if (i == 0)
            first = AttributeDeclaration::next(name, 0);
        CHECK(AttributeDeclaration::next(name, 0) == first);
        CHECK(attribute == i);
    }
}

TEST_CASE("attribute declaration: each attribute has the default it was made with, however many differ")
{
    std::vector<std::unique_ptr<AttributeT<int>>> attributes;
    for (int i = 0; i < 100; ++i)
        attributes.push_back(std::make_unique<AttributeT<int>>(nullptr, "declaration-many", i));
    for (int i = 0; i < 100; ++i) {
        auto& attribute = *attributes[std::size_t(i)];
        attribute.setValue(-1);
        CHECK(attribute.value(Facet::kDefaultLayer) == i);
        attribute.clearValue(Facet::kUserLayer);
        CHECK(attribute == i);
    }
}

TEST_CASE("attribute declaration: a new default of one attribute leaves the others as they are")
{
    AttributeT<QString> first(nullptr, "declaration-text", QStringLiteral("a"));
    AttributeT<QString> second(nullptr, "declaration-text", QStringLiteral("a"));
    first.setValue(QStringLiteral("b"), Facet::kDefaultLayer);
    CHECK(first == QStringLiteral("b"));
    CHECK(second == QStringLiteral("a"));
    second.setValue(QStringLiteral("c"));
    second.setValue(QStringLiteral("d"), Facet::kDefaultLayer);
    CHECK(second == QStringLiteral("c"));
    second.clearValue(Facet::kUserLayer);
    CHECK(second == QStringLiteral("d"));
}
