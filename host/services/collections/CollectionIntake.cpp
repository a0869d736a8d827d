#include "services/collections/CollectionIntake.hpp"

#include <QFileInfo>

#include <utility>

namespace Host
{
namespace
{
constexpr char kDiskRemedy[] = "free space on the disk, and let this user write there";
}

CollectionIntake::CollectionIntake(const CollectionPlace& place, Handlers handlers)
    : m_previews(place.previews), m_handlers(std::move(handlers)), m_backlog(QFileInfo(place.previews).absolutePath())
{
    m_pool.add([this] { readLeft(); });
}

CollectionIntake::~CollectionIntake()
{
    m_pool.waitUntilIdle();
}

void CollectionIntake::add(Change change)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    ++m_waiting;
    m_added.push_back(std::move(change));
    // What comes before its turn is brought to the disk with it.
    if (m_added.size() == 1)
        m_pool.add([this] { passAdded(); });
}

void CollectionIntake::afterwards(std::function<void()> step)
{
    m_pool.add(std::move(step));
}

void CollectionIntake::written(quint64 number)
{
    m_pool.add([this, number] {
        if (number != m_last)
            return;
        m_unkept.clear();
        QString error;
        if (!m_backlog.clear(error))
            m_warnings.log("Failed to empty " + path().toStdString() + ": " + error.toStdString(),
                           "let this user write there; until then old changes are made again when the table starts");
    });
}

void CollectionIntake::keep()
{
    m_pool.add([this] {
        if (!m_unkept.empty())
            append({});
    });
}

void CollectionIntake::readLeft()
{
    int unreadable = 0;
    std::vector<Change> changes = m_backlog.read(unreadable);
    if (unreadable > 0)
        m_warnings.log("Failed to read " + std::to_string(unreadable) + " changes in " + path().toStdString(),
                       "what they were is lost; see whether the disk is sound");
    for (Change& change : changes)
        change.isPreviewNew = true;
    m_handlers.left(changes);
}

void CollectionIntake::passAdded()
{
    std::vector<Change> changes;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        changes.swap(m_added);
    }
    for (Change& change : changes)
        change = lasting(std::move(change));
    append(changes);
    m_last += changes.size();
    m_handlers.passed(changes, m_last);
    m_waiting -= static_cast<int>(changes.size());
}

CollectionIntake::Change CollectionIntake::lasting(Change change)
{
    const QString picture = change.item.preview;
    if (change.kind == Change::Kind::Remove || picture.isEmpty() || m_previews.contains(picture))
        return change;
    QString name;
    QString error;
    const bool isReady = QFileInfo(m_previews.folder()).isDir() || m_previews.prepare(error);
    switch (isReady ? m_previews.copy(picture, change.item.key, name, error) : CollectionPreviews::Copied::Failed) {
    case CollectionPreviews::Copied::Yes:
        change.item.preview = m_previews.path(name);
        change.isPreviewNew = true;
        break;
    case CollectionPreviews::Copied::NoSource: change.item.preview.clear(); break;
    case CollectionPreviews::Copied::Failed:
        m_warnings.log("Failed to write " + m_previews.folder().toStdString() + ": " + error.toStdString(), kDiskRemedy);
        break;
    }
    return change;
}

void CollectionIntake::append(const std::vector<Change>& changes)
{
    m_unkept.insert(m_unkept.end(), changes.begin(), changes.end());
    QString error;
    if (m_backlog.append(m_unkept, error))
        m_unkept.clear();
    else
        m_warnings.log("Failed to write " + path().toStdString() + ": " + error.toStdString(),
                       std::string(kDiskRemedy) + "; until then what waits is lost with the program");
}
}
