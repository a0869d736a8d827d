#include "recording/TreeLog.hpp"

#include "inspector/WidgetReport.hpp"

#include <Bedrock/Trace.hpp>
#include <Trellis/Widget.hpp>

#include <QCryptographicHash>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace Host
{
namespace
{
using Lines = QHash<QByteArray, QByteArray>;

/// Folders in the temporary place have other names each time.
void hidePlaces(QByteArray& line)
{
    const QByteArray temporary = QDir::tempPath().toUtf8() + '/';
    const QByteArray snapshots = temporary + "tavola-snapshots-";
    for (int begin = line.indexOf(snapshots); begin >= 0; begin = line.indexOf(snapshots, begin)) {
        const int end = line.indexOf('/', begin + snapshots.size());
        line.replace(begin, (end < 0 ? begin + snapshots.size() : end) - begin, "snapshots");
    }
    line.replace(temporary, "");
}

void addLines(QJsonObject widget, const QByteArray& place, Lines& lines, QCryptographicHash& hash)
{
    const QJsonArray children = widget.take(QStringLiteral("children")).toArray();
    widget.remove(QStringLiteral("id"));
    QByteArray line = QJsonDocument(widget).toJson(QJsonDocument::Compact);
    hidePlaces(line);
    hash.addData(place + ' ' + line + '\n');
    lines.insert(place, line);
    int number = 0;
    for (const QJsonValue& child : children) {
        // What --show-input draws is not part of the table.
        if (child.toObject().value(QLatin1String("type")).toString() != QLatin1String("InputOverlay"))
            addLines(child.toObject(), place + '/' + QByteArray::number(number++), lines, hash);
    }
}
}

TreeLog::TreeLog(const QString& file) : m_file(file) {}

std::unique_ptr<TreeLog> TreeLog::create(const QString& file, QString& error)
{
    std::unique_ptr<TreeLog> log(new TreeLog(file));
    if (log->m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return log;
    error = QStringLiteral("%1 cannot be made (%2); choose a name that does not exist yet").arg(file, log->m_file.errorString());
    return nullptr;
}

void TreeLog::write(long frame, const Trellis::Widget& root)
{
    if (!m_file.isOpen())
        return;
    Lines lines;
    QCryptographicHash hash(QCryptographicHash::Sha1);
    addLines(widgetReport(root), QByteArrayLiteral("0"), lines, hash);
    QJsonObject changed;
    for (auto line = lines.constBegin(); line != lines.constEnd(); ++line)
        if (m_before.value(line.key()) != line.value())
            changed.insert(QString::fromLatin1(line.key()), QJsonDocument::fromJson(line.value()).object());
    QStringList gone;
    for (auto line = m_before.constBegin(); line != m_before.constEnd(); ++line)
        if (!lines.contains(line.key()))
            gone << QString::fromLatin1(line.key());
    std::sort(gone.begin(), gone.end());
    m_before.swap(lines);
    const QJsonObject entry{{"frame", qint64(frame)},
                            {"hash", QString::fromLatin1(hash.result().toHex())},
                            {"changed", changed},
                            {"gone", QJsonArray::fromStringList(gone)}};
    if (m_file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n') >= 0 && m_file.flush())
        return;
    Bedrock::Trace::error("TreeLog # Failed to write %s (%s); no further frames are written", qUtf8Printable(m_file.fileName()),
                          qUtf8Printable(m_file.errorString()));
    m_file.close();
}
}
