#pragma once

#include "PeopleFile.hpp"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

/// The people a table knows, in a SQLite file. Each operation is one transaction that is on the disk when it returns.
/// Any thread: each thread has a connection of its own, and SQLite orders the writers.
class PeopleRegistry
{
public:
    /// Opens or makes the file. Null, with the reason in `error`, when that fails or the file is something else.
    [[nodiscard]] static std::unique_ptr<PeopleRegistry> open(const QString& path, QString& error);
    ~PeopleRegistry();
    PeopleRegistry(const PeopleRegistry&) = delete;
    PeopleRegistry& operator=(const PeopleRegistry&) = delete;

    [[nodiscard]] const QString& path() const noexcept { return m_path; }
    /// Whether nobody is in it yet.
    [[nodiscard]] bool isEmpty() const;
    /// By code, ascending.
    [[nodiscard]] std::vector<Person> people() const;
    [[nodiscard]] std::optional<Person> person(unsigned long code) const;

    /// Enters people, replacing those of the same code: all of them, or on failure (logged as a warning) none.
    bool insert(const std::vector<Person>& people);
    /// Gives an existing card an owner and makes it a personal card. False for a code that is not in the registry or when the
    /// file cannot be written (logged).
    /// A card that has an owner gets the new one.
    bool registerOwner(unsigned long code, const QString& name, const QString& email);
    /// Takes cards out: all of them, or none when a code is not in the registry (it is then in `unknown`) or the file cannot be
    /// written (logged).
    bool remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown);

    /// Changes whenever somebody, also another program, has written to the registry. Looks at the files only.
    [[nodiscard]] QByteArray stamp() const;

private:
    explicit PeopleRegistry(const QString& path);
    QString m_path;
};
