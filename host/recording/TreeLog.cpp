#include "recording/TreeLog.hpp"

#include "inspector/WidgetReport.hpp"

#include <Bedrock/Trace.hpp>
#include <Facet/Attribute.hpp>
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

void add(QByteArray& line, double number)
{
    line += ' ';
    line += QByteArray::number(number, 'g', 9); // what a float is told apart by
}

void add(QByteArray& line, const QList<QByteArray>& names)
{
    for (const QByteArray& name : names)
        line += ' ' + name;
    line += ';';
}

/// What two widgets must have in common to count as the same: the facts of the inspector's report, but for the id. Plain text, as
/// a replay that makes JSON of every widget in every frame takes four times as long.
QByteArray lineOf(const Trellis::Widget& widget)
{
    const Vecta::Rect bounds = widget.sceneBounds();
    QByteArray line = widget.cssType() + '#' + widget.cssId();
    add(line, widget.cssClasses());
    add(line, widget.pseudoClasses());
    for (const double number :
         {bounds.x, bounds.y, bounds.width, bounds.height, widget.rotation(), widget.scale(), widget.opacity()})
        add(line, number);
    line += widget.isVisible() ? " visible" : " hidden";
    for (const Facet::Attribute* attribute : widget.attributes())
        line += '\n' + attribute->name() + char('0' + attribute->visibleLayer()) + attribute->toText().toUtf8();
    hidePlaces(line);
    return line;
}

QJsonObject reportOf(const Trellis::Widget& widget)
{
    QJsonObject report = ownReport(widget);
    report.remove(QStringLiteral("id"));
    QByteArray text = QJsonDocument(report).toJson(QJsonDocument::Compact);
    hidePlaces(text);
    return QJsonDocument::fromJson(text).object();
}
}

/// One frame's comparison with the frame before.
struct TreeLog::Frame
{
    Lines lines; ///< by place
    QJsonObject changed;
    QCryptographicHash hash{QCryptographicHash::Sha1};

    void add(const Trellis::Widget& widget, const QByteArray& place, const Lines& before)
    {
        const QByteArray line = lineOf(widget);
        hash.addData(place + ' ' + line + '\n');
        if (before.value(place) != line)
            changed.insert(QString::fromLatin1(place), reportOf(widget));
        lines.insert(place, line);
        int number = 0;
        for (const auto& child : widget.children())
            // What --show-input draws is not part of the table.
            if (child->cssType() != "InputOverlay")
                add(*child, place + '/' + QByteArray::number(number++), before);
    }
};

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
    Frame now;
    now.add(root, QByteArrayLiteral("0"), m_before);
    QStringList gone;
    for (auto line = m_before.constBegin(); line != m_before.constEnd(); ++line)
        if (!now.lines.contains(line.key()))
            gone << QString::fromLatin1(line.key());
    std::sort(gone.begin(), gone.end());
    m_before.swap(now.lines);
    const QJsonObject entry{{"frame", qint64(frame)},
                            {"hash", QString::fromLatin1(now.hash.result().toHex())},
                            {"changed", now.changed},
                            {"gone", QJsonArray::fromStringList(gone)}};
    if (m_file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n') >= 0 && m_file.flush())
        return;
    Bedrock::Trace::error("TreeLog # Failed to write %s (%s); no further frames are written", qUtf8Printable(m_file.fileName()),
                          qUtf8Printable(m_file.errorString()));
    m_file.close();
}
}
