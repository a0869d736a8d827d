#pragma once

#include "PeopleFile.hpp"

#include <Storage/Address.hpp>

#include <QByteArray>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace Host
{
/// The registry of people and their cards, in a SQLite file of this machine or in a PostgreSQL database that several tables
/// share. Each operation is one transaction that is on the disk when it returns; it blocks until then, or until the database has
/// not answered for the deadline. Any thread.
class PeopleRegistry
{
public:
    static constexpr std::chrono::milliseconds kDeadline{5000};

    /// Opens or makes the file. Null, with the reason in `error`, when that fails or the file is something else.
    [[nodiscard]] static std::unique_ptr<PeopleRegistry> open(const QString& path, QString& error,
                                                              std::chrono::milliseconds deadline = kDeadline);
    /// The registry in a database on a server. `copyFile`: where this table keeps a copy of it for outages; empty: none is kept.
    /// Null, with the reason in `error`, when the server cannot be used, or is away and there is no copy.
    [[nodiscard]] static std::unique_ptr<PeopleRegistry> open(const Storage::Address& address, const QString& copyFile,
                                                              QString& error, std::chrono::milliseconds deadline = kDeadline);
    enum class Copy {
        None,
        Kept ///< "people-copy.csv" in the data folder
    };
    /// The registry of a presentation: of `database`, its "database" (see Storage::Address), or without one "people.sqlite" in
    /// its data folder. Null, with the reason in `error`.
    [[nodiscard]] static std::unique_ptr<PeopleRegistry> openFor(const QString& database, const QString& dataFolder, Copy copy,
                                                                 QString& error, std::chrono::milliseconds deadline = kDeadline);
    ~PeopleRegistry();
    /// For the end of the program; see Storage::Store::endWithin.
    void endWithin(std::chrono::milliseconds time);
    PeopleRegistry(const PeopleRegistry&) = delete;
    PeopleRegistry& operator=(const PeopleRegistry&) = delete;

    /// The file, or the server's address.
    [[nodiscard]] QString path() const;
    /// Whether other tables write to it, whose changes are to be shown within a second.
    [[nodiscard]] bool isShared() const;
    /// Whether it has never held a person. A registry that `remove` has emptied is not new, nor is one that cannot be read.
    [[nodiscard]] bool isNew() const;
    /// By code, ascending. Nothing when it cannot be read (logged). What was read from a server becomes the copy.
    [[nodiscard]] std::optional<std::vector<Person>> people() const;
    /// The people of the copy; nothing where there is none.
    [[nodiscard]] std::optional<std::vector<Person>> copiedPeople() const;
    /// Nothing also when it cannot be read (logged).
    [[nodiscard]] std::optional<Person> person(unsigned long code) const;

    /// Enters a presentation's people into a registry that is still new; does nothing to another one. False when the file cannot
    /// be written (logged).
    bool beginWith(const std::vector<Person>& people);
    /// Enters a card that is not there yet. False when it is (then `isThere`) or it cannot be written (logged).
    bool add(const Person& person, bool& isThere);
    /// Enters people, replacing those of the same code: all of them, or on failure (logged as a warning) none.
    bool insert(const std::vector<Person>& people);
    /// Enters those whose card is not there, or has no owner there where they have a name or an address. Returns how many: all of
    /// these, or on failure (logged as a warning) nothing.
    std::optional<int> insertMissing(const std::vector<Person>& people);
    /// Sets or replaces the owner of an existing card and makes it a personal card; its content key and language stay. Returns
    /// the changed card; nothing for a code that is not in the registry or when it cannot be written (logged).
    std::optional<Person> registerOwner(unsigned long code, const QString& name, const QString& email);
    /// Takes cards out: all of them, or none when a code is not in the registry (it is then in `unknown`) or the file cannot be
    /// written (logged). A code that is named twice counts once.
    bool remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown);

    /// A value that changes with every write of another program to the registry; of a file with every write, and perhaps once
    /// more within a second. It changes when a server is lost and when it is back, too. Does not wait: reads sizes and times of
    /// the files only.
    [[nodiscard]] QByteArray stamp() const;

private:
    struct Private;
    explicit PeopleRegistry(std::unique_ptr<Private> made);
    std::unique_ptr<Private> d;
};
}
