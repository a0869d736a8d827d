#include "content/SnapshotWriter.hpp"

#include <Bedrock/Trace.hpp>

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>
#include <QTemporaryDir>

#include <memory>
#include <stdexcept>
#include <string>

namespace Tavola
{
namespace
{
constexpr int kThreads = 2;

[[noreturn]] void fail(const QString& path, const QString& why)
{
    throw std::runtime_error(QStringLiteral("cannot write the snapshot %1: %2").arg(path, why).toStdString());
}

void writePng(const QImage& image, const QString& path)
{
    QImageWriter writer(path, QByteArrayLiteral("png"));
    if (!writer.write(image))
        fail(path, writer.errorString());
}

/// The name of a file that shows exactly this.
QString nameOf(const QImage& image)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const int head[] = {image.width(), image.height(), int(image.format())};
    hash.addData(reinterpret_cast<const char*>(head), int(sizeof head));
    const int lineBytes = (image.width() * image.depth() + 7) / 8; // without what pads a line
    for (int y = 0; y < image.height(); ++y)
        hash.addData(reinterpret_cast<const char*>(image.constScanLine(y)), lineBytes);
    return QStringLiteral("snapshot-%1.png").arg(QString::fromLatin1(hash.result().toHex().left(32)));
}

/// Writes it whole or not at all: another thread may be asked for the same picture.
QString writeInto(const QString& folder, const QImage& image)
{
    QString path = folder + QLatin1Char('/') + nameOf(image);
    path.squeeze(); // it is kept with each card
    if (QFileInfo::exists(path))
        return path;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        fail(path, file.errorString());
    QImageWriter writer(&file, QByteArrayLiteral("png"));
    if (!writer.write(image))
        fail(path, file.error() == QFileDevice::NoError ? writer.errorString() : file.errorString());
    if (!file.commit())
        fail(path, file.errorString());
    return path;
}
}

SnapshotWriter::SnapshotWriter() : m_threads(kThreads) {}

SnapshotWriter::~SnapshotWriter()
{
    m_threads.waitUntilIdle();
    if (m_folder && QFileInfo::exists(m_folder->path()) && !m_folder->remove())
        Bedrock::Trace::warning("SnapshotWriter # Cannot remove the folder %s", qUtf8Printable(m_folder->path()));
}

QString SnapshotWriter::folder()
{
    if (!m_folder || !QFileInfo(m_folder->path()).isDir())
        m_folder = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/tavola-snapshots-XXXXXX"));
    return m_folder->isValid() ? m_folder->path() : QString();
}

folly::Future<QString> SnapshotWriter::write(QImage image, const QString& fileName)
{
    const QString place = fileName.isEmpty() ? folder() : QString();
    if (fileName.isEmpty() && place.isEmpty())
        return folly::makeFuture<QString>(std::runtime_error(QStringLiteral("cannot make a folder for snapshots in %1: %2")
                                                                 .arg(QDir::tempPath(), m_folder->errorString())
                                                                 .toStdString()));
    // The pool takes copyable functions only.
    auto promise = std::make_shared<folly::Promise<QString>>();
    auto future = promise->getFuture();
    m_threads.run('s', [promise, picture = std::move(image), fileName, place]() -> std::function<void()> {
        QString path = fileName;
        std::string error;
        try {
            if (place.isEmpty())
                writePng(picture, path);
            else
                path = writeInto(place, picture);
        } catch (const std::exception& failure) {
            error = failure.what();
        }
        return [promise, path, error] {
            if (error.empty())
                promise->setValue(path);
            else
                promise->setException(std::runtime_error(error));
        };
    });
    return future;
}
}
