#pragma once

#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QString>

#include <memory>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// Writes down the widgets of each frame, one line of JSON for a frame, so that two runs can be compared line by line:
///
///     {"changed":{"0/2":{…}},"frame":7,"gone":["0/3"],"hash":"…"}
///
/// "hash" stands for all widgets; "changed" has those that are not as in the frame before, by their places below the root, "gone"
/// the places where there is none any more. Left out are ids, which count on through the life of a process, and what
/// --show-input draws, and temporary files stand without their folder. For tests and for searching: it costs time in each frame.
class TreeLog
{
public:
    /// Null, with the reason in `error`, when the file cannot be made. A file that exists is not touched.
    [[nodiscard]] static std::unique_ptr<TreeLog> create(const QString& file, QString& error);

    void write(long frame, const Trellis::Widget& root);

private:
    struct Frame;

    explicit TreeLog(const QString& file);

    QFile m_file;
    QHash<QByteArray, QByteArray> m_before; ///< by place
};
}
