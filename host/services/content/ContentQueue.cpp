#include "services/content/ContentQueue.hpp"

#include <QDir>
#include <QFileInfo>

namespace Host
{
namespace
{
const QString& schema()
{
    static const QString text = QStringLiteral("CREATE TABLE IF NOT EXISTS content (name TEXT PRIMARY KEY, path TEXT NOT NULL,"
                                               " sha256 TEXT NOT NULL, size INTEGER NOT NULL)");
    return text;
}
}

std::optional<std::vector<ContentNote>> ContentQueue::notes() const
{
    std::vector<ContentNote> result;
    if (!QFileInfo::exists(m_path))
        return result;
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning());
    writing.run(schema());
    const bool isRead =
        writing.run(QStringLiteral("SELECT name, path, sha256, size FROM content ORDER BY rowid"), {}, [&](const QSqlQuery& row) {
            result.push_back(
                {row.value(0).toString(), row.value(1).toString(), row.value(2).toByteArray(), row.value(3).toLongLong()});
        });
    if (!isRead || !writing.commit())
        return std::nullopt;
    return result;
}

bool ContentQueue::keep(const ContentNote& note) const
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning());
    writing.run(schema());
    writing.run(QStringLiteral("INSERT OR REPLACE INTO content (name, path, sha256, size) VALUES (?, ?, ?, ?)"),
                {note.name, note.path, QString::fromLatin1(note.sha256), note.size});
    return writing.commit();
}

bool ContentQueue::remove(const ContentNote& note) const
{
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning());
    writing.run(schema());
    writing.run(QStringLiteral("DELETE FROM content WHERE name = ? AND sha256 = ?"),
                {note.name, QString::fromLatin1(note.sha256)});
    return writing.commit();
}

SqliteTransaction::Report ContentQueue::warning() const
{
    return [this](const QString& reason, const QString& remedy) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_warnings.log("Failed to use " + m_path.toStdString()
                           + ", which keeps what the media server has still to be sent: " + reason.toStdString(),
                       remedy.toStdString());
    };
}
}
