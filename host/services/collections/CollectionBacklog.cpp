#include "services/collections/CollectionBacklog.hpp"

#include "services/collections/CollectedItem.hpp"

#include <QFile>
#include <QFileInfo>

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

CollectionBacklog::~CollectionBacklog()
{
    if (QFileInfo(path()).size() == 0)
        QFile::remove(path());
}

std::vector<CollectionBacklog::Change> CollectionBacklog::read(int& unreadable)
{
    unreadable = 0;
    QFile file(path());
    if (!file.open(QIODevice::ReadWrite))
        return {};
    const QByteArray content = file.readAll();
    m_isEmpty = content.isEmpty();
    const int end = content.lastIndexOf('\n') + 1;
    if (end < content.size())
        file.resize(end);
    std::vector<Change> result;
    for (const QByteArray& line : content.left(end).split('\n')) {
        if (line.isEmpty())
            continue;
        if (auto change = changeOf(line))
            result.push_back(std::move(*change));
        else
            ++unreadable;
    }
    return result;
}

bool CollectionBacklog::append(const std::vector<Change>& changes, QString& error)
{
    QByteArray lines;
    for (const Change& change : changes)
        lines += lineOf(change);
    if (!m_folder.append(name(), lines, error))
        return false;
    m_isEmpty = false;
    return true;
}

bool CollectionBacklog::clear(QString& error)
{
    m_isEmpty = m_isEmpty || m_folder.clear(name(), error);
    return m_isEmpty;
}
}
