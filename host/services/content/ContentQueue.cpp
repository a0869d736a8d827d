#include "services/content/ContentQueue.hpp"

#include "services/SqliteTransaction.hpp"

#include <Bedrock/Trace.hpp>

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

SqliteTransaction::Report warning(const QString& path)
{
    return [path](const QString& reason, const QString& remedy) {
        Bedrock::Trace::warning(
            "ContentQueue # Failed to use %s, which keeps what the media server has still to be sent (%s); %s",
            path.toUtf8().constData(), reason.toUtf8().constData(), remedy.toUtf8().constData());
    };
}
}

std::optional<std::vector<ContentNote>> ContentQueue::notes() const
{
    std::vector<ContentNote> result;
    if (!QFileInfo::exists(m_path))
        return result;
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning(m_path));
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
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning(m_path));
    writing.run(schema());
    writing.run(QStringLiteral("INSERT OR REPLACE INTO content (name, path, sha256, size) VALUES (?, ?, ?, ?)"),
                {note.name, note.path, QString::fromLatin1(note.sha256), note.size});
    return writing.commit();
}

bool ContentQueue::remove(const ContentNote& note) const
{
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning(m_path));
    writing.run(schema());
    writing.run(QStringLiteral("DELETE FROM content WHERE name = ? AND sha256 = ?"),
                {note.name, QString::fromLatin1(note.sha256)});
    return writing.commit();
}
}
