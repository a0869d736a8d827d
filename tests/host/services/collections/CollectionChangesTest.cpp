#include "services/collections/CollectionChanges.hpp"

#include <doctest/doctest.h>

#include <QStringList>

using namespace Host;
using Kind = CollectionChanges::Change::Kind;

namespace
{
CollectionChanges::Change waitingChange(Kind kind, const char* key, int status, bool isPreviewNew = false)
{
    CollectionChanges::Change result{kind, 7, {}, isPreviewNew};
    result.item.key = QString::fromUtf8(key);
    result.item.status = status;
    return result;
}

/// "kind key status", and "new" for a preview that is.
QStringList shown(const CollectionChanges& changes)
{
    QStringList lines;
    for (const auto& change : changes.all())
        lines << QStringLiteral("%1 %2 %3%4")
                     .arg(int(change.kind))
                     .arg(change.item.key)
                     .arg(change.item.status)
                     .arg(change.isPreviewNew ? QStringLiteral(" new") : QString());
    return lines;
}
}

TEST_CASE("collection changes: items keep the order of their first changes")
{
    CollectionChanges changes;
    CHECK(changes.isEmpty());
    changes.enter({waitingChange(Kind::Add, "b-2", 1), waitingChange(Kind::Update, "a-1", 2)});
    changes.enter(waitingChange(Kind::Update, "b-2", 3));
    CHECK(shown(changes) == QStringList{"0 b-2 3", "1 a-1 2"});
    CHECK(changes.size() == 2);
    CHECK_FALSE(changes.isEmpty());
}

TEST_CASE("collection changes: two of one item are one")
{
    struct Row
    {
        const char* what;
        CollectionChanges::Change first;
        CollectionChanges::Change second;
        const char* result;
    };
    const Row rows[] = {
        {"a new item has its newest values", waitingChange(Kind::Add, "a", 1), waitingChange(Kind::Update, "a", 2), "0 a 2"},
        {"an item that is removed stays so", waitingChange(Kind::Remove, "a", 1), waitingChange(Kind::Update, "a", 2), "2 a 1"},
        {"an item that is new is removed", waitingChange(Kind::Add, "a", 1), waitingChange(Kind::Remove, "a", 2), "2 a 2"},
        {"the newest values of a stored item", waitingChange(Kind::Update, "a", 1), waitingChange(Kind::Update, "a", 2), "1 a 2"},
        {"a new preview stays new", waitingChange(Kind::Add, "a", 1, true), waitingChange(Kind::Update, "a", 2), "0 a 2 new"},
        {"a preview becomes new", waitingChange(Kind::Add, "a", 1), waitingChange(Kind::Update, "a", 2, true), "0 a 2 new"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        CollectionChanges changes;
        changes.enter({row.first, row.second});
        CHECK(shown(changes) == QStringList{row.result});
    }
}
