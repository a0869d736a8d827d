#include "services/collections/CollectionSchema.hpp"

namespace Host
{
Storage::Schema collectionSchema()
{
    return {QStringLiteral("collections"),
            QStringLiteral("a store of collections"),
            {
                // The code is kept as its decimal text: the databases' integers are signed, codes are not. `run` and `number`
                // give the order of the drops whatever the clock says.
                {1,
                 "CREATE TABLE items (key TEXT PRIMARY KEY, code TEXT NOT NULL, run INTEGER NOT NULL, number INTEGER NOT NULL, "
                 "stored INTEGER NOT NULL, content TEXT NOT NULL, status INTEGER NOT NULL, preview TEXT NOT NULL)",
                 "CREATE TABLE items (key TEXT PRIMARY KEY, code TEXT NOT NULL, run BIGINT NOT NULL, number BIGINT NOT NULL, "
                 "stored BIGINT NOT NULL, content TEXT NOT NULL, status INTEGER NOT NULL, preview TEXT NOT NULL)"},
                {1, "CREATE INDEX items_of_card ON items (code, run, number)"},
                {1, "CREATE INDEX items_by_run ON items (run)"},
                {1, "CREATE INDEX items_by_time ON items (stored)"},
                // Transactions that write are counted, and what they change has their number: so a table finds what others have
                // changed.
                {2, "CREATE TABLE item_changes (once INTEGER PRIMARY KEY, last BIGINT NOT NULL)"},
                {2, "INSERT INTO item_changes (once, last) VALUES (1, 0)"},
                {2, "ALTER TABLE items ADD COLUMN changed BIGINT NOT NULL DEFAULT 0"},
                {2, "CREATE INDEX items_by_change ON items (changed)"},
                // An item that is removed stays so, also when the table that had added it adds it once more after an outage.
                {2,
                 "CREATE TABLE removed_items (key TEXT PRIMARY KEY, code TEXT NOT NULL, changed BIGINT NOT NULL, "
                 "removed BIGINT NOT NULL)"},
                {2, "CREATE INDEX removed_items_by_change ON removed_items (changed)"},
                {2, "CREATE INDEX removed_items_by_time ON removed_items (removed)"},
                // Of a database on a server; those of a file lie beside it.
                {2, "CREATE TABLE item_pictures (key TEXT PRIMARY KEY, picture BLOB NOT NULL)",
                 "CREATE TABLE item_pictures (key TEXT PRIMARY KEY, picture BYTEA NOT NULL)"},
                // The run of a table that sends the item, and until when no other one may.
                {2, "ALTER TABLE items ADD COLUMN claimed_by TEXT NOT NULL DEFAULT ''"},
                {2, "ALTER TABLE items ADD COLUMN claimed_until BIGINT NOT NULL DEFAULT 0"},
            }};
}
}
