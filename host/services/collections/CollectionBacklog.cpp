#include "services/collections/CollectionBacklog.hpp"

#include "services/collections/CollectedItem.hpp"

#include <QFile>
#include <QList>

#include <optional>
#include <utility>

namespace Host
{
namespace
{
using Kind = CollectionBacklog::Change::Kind;

/// A line: what is to be done, the card's code, and the item as a list of one.
QByteArray lineOf(const CollectionBacklog::Change& change)
{
    return QByteArray::number(static_cast<int>(change.kind)) + ' ' + QByteArray::number(qulonglong(change.code)) + ' '
        + formatItems({change.item}) + '\n';
}

std::optional<CollectionBacklog::Change> changeOf(const QByteArray& line)
{
    const int first = line.indexOf(' ');
    const int second = line.indexOf(' ', first + 1);
    bool isKind = false;
    bool isCode = false;
    CollectionBacklog::Change change;
    const int kind = line.left(first).toInt(&isKind);
    change.code = line.mid(first + 1, second - first - 1).toULongLong(&isCode);
    const auto items = parseItems(line.mid(second + 1));
    if (!isKind || kind < 0 || kind > static_cast<int>(Kind::Remove) || !isCode || !items || items->size() != 1
        || items->front().key.isEmpty())
        return std::nullopt;
    change.kind = static_cast<Kind>(kind);
    change.item = items->front();
    return change;
}
}

std::vector<CollectionBacklog::Change> CollectionBacklog::read(int& unreadable)
{
    unreadable = 0;
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    m_written = file.readAll();
    std::vector<Change> result;
    for (const QByteArray& line : m_written.split('\n')) {
        if (line.isEmpty())
            continue;
        if (auto change = changeOf(line))
            result.push_back(std::move(*change));
        else
            ++unreadable;
    }
    return result;
}

bool CollectionBacklog::write(const std::vector<Change>& changes, QString& error)
{
    QByteArray content;
    for (const Change& change : changes)
        content += lineOf(change);
    if (content == m_written)
        return true;
    // Emptied first: a power cut may bring back a file that was only removed, and with it what has been done since.
    if (!m_folder.prepare(error) || !m_folder.write(name(), content, error))
        return false;
    if (content.isEmpty())
        m_folder.remove({name()});
    m_written = content;
    return true;
}
}
