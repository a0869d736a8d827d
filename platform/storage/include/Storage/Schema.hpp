#pragma once

#include <QString>

#include <vector>

namespace Storage
{
/// A statement that makes part of a schema.
struct SchemaStatement
{
    int since;                      ///< the version of the schema that has it first
    const char* text;               ///< for SQLite, and for PostgreSQL without a text of its own
    const char* postgres = nullptr; ///< for PostgreSQL
};

/// The tables that a program expects, and how those of every earlier version become them.
struct Schema
{
    QString name;    ///< "people"; distinguishes the schemas of one PostgreSQL database. Lower-case letters
    QString purpose; ///< for messages: "the registry of people"
    std::vector<SchemaStatement> statements; ///< by `since`, ascending

    [[nodiscard]] int version() const { return statements.back().since; }
};
}
