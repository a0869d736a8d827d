#include "Boats.hpp"

#include <TestDatabase.hpp>

#include <doctest/doctest.h>

using namespace Storage;
using Kind = Store::Kind;

TEST_CASE("transaction: texts of all kinds come back as they were")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        const QString texts[] = {QStringLiteral("Bo'; DROP TABLE boat; --"), QStringLiteral("a\\b\\'c\"d"),
                                 QStringLiteral("山田 😀"), QStringLiteral("? $1 :name %1"), QStringLiteral("line\nbreak\ttab")};
        int number = 0;
        for (const QString& text : texts) {
            CAPTURE(text.toStdString());
            ++number;
            QString read;
            const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
                return addBoat(transaction, text, number)
                    && transaction.run(QStringLiteral("SELECT name FROM boat WHERE name = ? AND length = ?"), {text, number},
                                       [&read](const QSqlQuery& row) { read = row.value(0).toString(); });
            });
            REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
            CHECK(read == text);
        }
        CHECK(database.execute(QStringLiteral("SELECT count(*) FROM boat")).toInt() == 5);
    });
}

TEST_CASE("transaction: a text without a value is the empty text, and one with a NUL does no harm")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        const QString withNul = QStringLiteral("a") + QChar::Null + QStringLiteral("b");
        const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
            return addBoat(transaction, QString(), 7) && addBoat(transaction, withNul, 8);
        });
        REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
        CHECK(database.execute(QStringLiteral("SELECT length FROM boat WHERE name = ''")).toInt() == 7);
        CHECK(database.execute(QStringLiteral("SELECT count(*) FROM boat")).toInt() == 2);
    });
}

TEST_CASE("transaction: the number of changed rows is that of the last statement")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        int updated = -1;
        int removed = -1;
        int given = -1;
        const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
            CHECK_FALSE(transaction.hasChanged());
            transaction.run(QStringLiteral("SELECT 1 UNION SELECT 2"), {}, [](const QSqlQuery&) {});
            CHECK(transaction.changedRows() == 0);
            CHECK_FALSE(transaction.hasChanged()); // what is only read wakes nothing
            const bool isAdded = addBoat(transaction, "Ahti") && addBoat(transaction, "Ilma");
            CHECK(transaction.hasChanged());
            transaction.run(QStringLiteral("UPDATE boat SET length = 3"));
            updated = transaction.changedRows();
            transaction.run(QStringLiteral("DELETE FROM boat WHERE name = ?"), {"Vellamo"});
            removed = transaction.changedRows();
            return isAdded
                && transaction.run(QStringLiteral("INSERT INTO boat (name, length) VALUES (?, 4) RETURNING length"), {"Otso"},
                                   [&given](const QSqlQuery& row) { given = row.value(0).toInt(); });
        });
        REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
        CHECK(updated == 2);
        CHECK(removed == 0);
        CHECK(given == 4);
        CHECK(allBoats(*store) == "Ahti Ilma Otso");
    });
}

TEST_CASE("transaction: after a failure every call fails, and the first reason is kept")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
            CHECK(addBoat(transaction, "Ahti"));
            CHECK_FALSE(transaction.run(QStringLiteral("SELECT * FROM pier")));
            CHECK_FALSE(transaction);
            CHECK_FALSE(addBoat(transaction, "Ilma"));
            CHECK(transaction.failure().reason.contains(QLatin1String("pier")));
            return true;
        });
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().kind == Failure::Kind::Refused);
        CHECK(outcome.error().reason.contains(QLatin1String("pier")));
        CHECK_FALSE(outcome.error().remedy.isEmpty());
        CHECK(allBoats(*store).isEmpty());
    });
}

TEST_CASE("transaction: many rows go into the database at once")
{
    constexpr int kRows = 400;
    CHECK(Transaction::rows(1, 1) == "(?)");
    CHECK(Transaction::rows(2, 3) == "(?, ?, ?), (?, ?, ?)");
    TestDatabase::onEach([&](const TestDatabase& database) {
        const auto store = database.store(boats());
        const auto outcome = store->run(Kind::Write, [](Transaction& transaction) {
            QVariantList values;
            for (int i = 0; i < kRows; ++i)
                values << QString::number(i) << i;
            return transaction.run(QStringLiteral("INSERT INTO boat (name, length) VALUES ") + Transaction::rows(kRows, 2),
                                   values)
                && transaction.changedRows() == kRows;
        });
        REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
        CHECK(outcome == true);
        CHECK(database.execute(QStringLiteral("SELECT sum(length) FROM boat")).toInt() == kRows * (kRows - 1) / 2);
    });
}
