#pragma once

#include "services/PeopleFile.hpp"

#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace Host
{
/// The languages of cards and of their owners' e-mail addresses, as the registry of people has them. Tags are in lower case:
/// "de", "pt-br". Values of it may be made on any thread; the one of a table belongs to the main thread.
class CardLanguages
{
public:
    CardLanguages() = default;
    explicit CardLanguages(const std::vector<Person>& people);

    /// The language of the table, for cards without one of their own.
    void setUsual(const QString& language) { m_usual = language; }
    [[nodiscard]] const QString& usual() const noexcept { return m_usual; }
    /// Replaces what is known of a card and of its owner's address.
    void insert(const Person& person);
    /// Exchanges everything that is known of people; the usual languages stay.
    void swapPeople(CardLanguages& other) noexcept;

    [[nodiscard]] QString ofCard(unsigned long code) const;
    /// Empty for a card without a language of its own.
    [[nodiscard]] QString ownOfCard(unsigned long code) const;
    /// The language of the owner with this address, in any case of its letters; empty where none of them has one. Of several the
    /// one with the lowest code counts.
    [[nodiscard]] QString ofOwner(const QString& address) const;
    /// The languages in which a text may be shown where `tag` is wanted, the best first: "pt-br", "pt", those of the table,
    /// English.
    [[nodiscard]] QStringList chain(const QString& tag) const;

private:
    /// Of a card with a language of its own.
    struct Entry
    {
        QString language;
        QString address; ///< in lower case
    };
    QString m_usual = QStringLiteral("en");
    std::map<unsigned long, Entry> m_cards;
    std::map<QString, std::map<unsigned long, QString>> m_addresses; ///< the languages by address and code
};

/// "pt-br" and "pt": the languages whose texts may be shown for a tag, the tag itself first.
[[nodiscard]] QStringList languageAndParents(const QString& tag);
}
