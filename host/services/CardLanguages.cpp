#include "services/CardLanguages.hpp"

#include <utility>

namespace Host
{
namespace
{
QString keyOf(const QString& address)
{
    return address.trimmed().toLower();
}
}

CardLanguages::CardLanguages(const std::vector<Person>& people)
{
    for (const Person& person : people)
        insert(person);
}

void CardLanguages::insert(const Person& person)
{
    if (const auto card = m_cards.find(person.code); card != m_cards.end()) {
        if (const auto address = m_addresses.find(card->second.address); address != m_addresses.end()) {
            address->second.erase(person.code);
            if (address->second.empty())
                m_addresses.erase(address);
        }
        m_cards.erase(card);
    }
    if (person.language.isEmpty())
        return;
    const QString address = keyOf(person.email);
    m_cards.emplace(person.code, Entry{person.language, address});
    if (!address.isEmpty())
        m_addresses[address].emplace(person.code, person.language);
}

void CardLanguages::swapPeople(CardLanguages& other) noexcept
{
    m_cards.swap(other.m_cards);
    m_addresses.swap(other.m_addresses);
}

QString CardLanguages::ofCard(unsigned long code) const
{
    const QString own = ownOfCard(code);
    return own.isEmpty() ? m_usual : own;
}

QString CardLanguages::ownOfCard(unsigned long code) const
{
    const auto found = m_cards.find(code);
    return found == m_cards.end() ? QString() : found->second.language;
}

QStringList CardLanguages::chain(const QString& tag) const
{
    QStringList result = languageAndParents(tag) + languageAndParents(m_usual) + QStringList{QStringLiteral("en")};
    result.removeDuplicates();
    return result;
}

QString CardLanguages::ofOwner(const QString& address) const
{
    const auto found = m_addresses.find(keyOf(address));
    return found == m_addresses.end() ? QString() : found->second.begin()->second;
}

QStringList languageAndParents(const QString& tag)
{
    QStringList result;
    for (QString rest = tag; !rest.isEmpty(); rest = rest.section(QLatin1Char('-'), 0, -2))
        result << rest;
    return result;
}
}
