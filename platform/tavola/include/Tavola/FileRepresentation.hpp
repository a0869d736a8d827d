#pragma once

#include <Bedrock/Export.hpp>

#include <QList>
#include <QString>

#include <folly/futures/Future.h>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// How content is turned into files. A widget class may implement it beside Trellis::Widget; for others see `widgetData`.
class TAVOLA_EXPORT FileRepresentation
{
public:
    /// The files, sources, display name and address that stand for a widget's content; any of them may be empty.
    struct FileData
    {
        QString file;           ///< the main file's path; the fallback when the record names nothing else
        QList<QString> sources; ///< file paths or web addresses
        QList<QString> files;   ///< local files that make up the content
        QString displayName;    ///< for people
        QString url;            ///< one further link
    };

    virtual ~FileRepresentation();
    /// May complete on any thread.
    [[nodiscard]] virtual folly::Future<FileData> files() = 0;
    /// The path of a preview picture. May complete on any thread.
    [[nodiscard]] virtual folly::Future<QString> previewFileName() = 0;

    /// Describes the content of any widget by its attributes "source", "source-tessel-urls" (which goes first: a document's
    /// file where "source" is its cover), "display-name" and "title"; what has none of these is called by the first line of
    /// its "text". Local files that are there are the record's `files`, the first of them its `file`; web addresses, and files
    /// that are not there, are its `sources`; `url` stays empty. An empty record for a widget without any of these attributes.
    /// Main thread.
    [[nodiscard]] static FileData widgetData(const Trellis::Widget& widget);
    /// Photographs a widget into a PNG file no larger than `maxSizePx` on either side. With an empty `fileName` the file gets
    /// a name of its own in the table's temporary folder. The picture is drawn before the call returns, and written off the main
    /// thread; the future is completed on the main thread, in the input step of a later frame. It fails with a std::runtime_error
    /// when there is nothing to draw (then at once) or the file cannot be written. The temporary folder goes with the
    /// application. Main thread.
    [[nodiscard]] static folly::Future<QString> takeWidgetSnapshot(Trellis::Widget& widget, const QString& fileName,
                                                                   int maxSizePx);
};
}
