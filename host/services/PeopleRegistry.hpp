#pragma once

#include "PeopleFile.hpp"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace Host
{
/// The registry of people and their cards, in a SQLite file. Each operation is one transaction that is on the disk when it
/// returns. Any thread: each thread has a connection of its own, and SQLite orders the writers.
class PeopleRegistry
{
public:
    /// Opens or makes the file. Null, with the reason in `error`, when that fails or the file is something else.
    [[nodiscard]] static std::unique_ptr<PeopleRegistry> open(const QString& path, QString& error);
    ~PeopleRegistry();
    PeopleRegistry(const PeopleRegistry&) = delete;
    PeopleRegistry& operator=(const PeopleRegistry&) = delete;

    [[nodiscard]] const QString& path() const noexcept { return m_path; }
    /// Whether it has never held a person. A registry that `remove` has emptied is not new, nor is one that cannot be read.
    [[nodiscard]] bool isNew() const;
    /// By code, ascending. Nothing when the file cannot be read (logged).
    [[nodiscard]] std::optional<std::vector<Person>> people() const;
    /// Nothing also when the file cannot be read (logged).
    [[nodiscard]] std::optional<Person> person(unsigned long code) const;

    /// Enters a presentation's people into a registry that is still new; does nothing to another one. False when the file cannot
    /// be written (logged).
    bool beginWith(const std::vector<Person>& people);
    /// Enters a card that is not there yet. False when it is (then `isThere`) or the file cannot be written (logged).
    bool add(const Person& person, bool& isThere);
    /// Enters people, replacing those of the same code: all of them, or on failure (logged as a warning) none.
    bool insert(const std::vector<Person>& people);
    /// Sets or replaces the owner of an existing card and makes it a personal card; its content key and language stay. Returns
    /// the changed card; nothing for a code that is not in the registry or when the file cannot be written (logged).
    std::optional<Person> registerOwner(unsigned long code, const QString& name, const QString& email);
    /// Takes cards out: all of them, or none when a code is not in the registry (it is then in `unknown`) or the file cannot be
    /// written (logged). A code that is named twice counts once.
    bool remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown);

    /// A value that changes with every write to the registry, also one of another program. It may change once more within a
    /// second after a write. Reads sizes and times of the files only.
    [[nodiscard]] QByteArray stamp() const;

private:
    explicit PeopleRegistry(const QString& path);
    QString m_path;
};
}
