#include <Tavola/FileRepresentation.hpp>

#include "content/SnapshotWriter.hpp"

#include <Bedrock/LocalPath.hpp>
#include <Facet/AttributeT.hpp>
#include <Tavola/CollectedFiles.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>

#include <stdexcept>

namespace Tavola
{
namespace
{
QString textOf(const Trellis::Widget& widget, const char* name)
{
    const auto* attribute = Facet::findAttribute<QString>(widget, name);
    return attribute ? attribute->value() : QString();
}

QStringList listOf(const Trellis::Widget& widget, const char* name)
{
    const auto* attribute = Facet::findAttribute<QStringList>(widget, name);
    return attribute ? attribute->value() : QStringList();
}

/// The path of a source that names a file of this computer, else empty.
QString absolutePath(const QString& source)
{
    const QString path = Bedrock::localPath(source);
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QString();
}

/// Enters one source. A file that exists is listed as a file only, and everything else as a source only: so a message that makes
/// links of the sources and attachments of the files mentions each once, and no path of this computer becomes a link.
void addSource(const QString& source, FileRepresentation::FileData& data)
{
    if (source.isEmpty())
        return;
    const QString path = absolutePath(source);
    if (path.isEmpty() || !QFileInfo(path).isFile()) {
        data.sources.append(path.isEmpty() ? source : path);
        return;
    }
    data.files.append(path);
    if (data.file.isEmpty())
        data.file = path;
}

/// The first line of a text, shortened.
QString firstWords(const QString& text)
{
    constexpr int kLongest = 60;
    const QString line = text.trimmed().section(QLatin1Char('\n'), 0, 0).trimmed();
    return line.size() <= kLongest ? line : line.left(kLongest - 1) + QChar(0x2026);
}

/// The name of content that has no display name.
QString nameBySource(const FileRepresentation::FileData& data)
{
    if (!data.file.isEmpty())
        return QFileInfo(data.file).completeBaseName();
    if (data.sources.isEmpty())
        return {};
    const QUrl url(data.sources.first());
    const QString name = QFileInfo(url.path()).completeBaseName();
    return name.isEmpty() ? url.host() : name;
}
}

FileRepresentation::~FileRepresentation() = default;

FileRepresentation::FileData FileRepresentation::widgetData(const Trellis::Widget& widget)
{
    FileData data;
    // The documents of a widget that shows only their cover.
    for (const QString& document : listOf(widget, "source-tessel-urls"))
        addSource(document, data);
    if (data.sources.isEmpty() && data.files.isEmpty())
        addSource(textOf(widget, "source"), data);

    data.displayName = textOf(widget, "display-name");
    if (data.displayName.isEmpty())
        data.displayName = textOf(widget, "title");
    if (data.displayName.isEmpty())
        data.displayName =
            data.sources.isEmpty() && data.files.isEmpty() ? firstWords(textOf(widget, "text")) : nameBySource(data);
    if (const auto application = Tavola::instance(); application && !data.file.isEmpty())
        application->part<CollectedFiles>().add(data.file);
    return data;
}

folly::Future<QString> FileRepresentation::takeWidgetSnapshot(Trellis::Widget& widget, const QString& fileName, int maxSizePx)
{
    const auto application = Tavola::instance();
    Trellis::Application* const toolkit = Trellis::Application::instance();
    if (!application || !toolkit)
        return folly::makeFuture<QString>(std::runtime_error("no application is running that could take a snapshot"));
    QImage image = toolkit->renderWidgetToImage(widget, maxSizePx);
    if (image.isNull())
        return folly::makeFuture<QString>(
            std::runtime_error("widget " + std::to_string(widget.id()) + " has no size, there is nothing to photograph"));
    return application->part<SnapshotWriter>().write(std::move(image), fileName);
}
}
