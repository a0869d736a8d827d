#include "SnapshotWriter.hpp"

#include <Bedrock/Trace.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QImageWriter>

#include <memory>
#include <stdexcept>

namespace Tavola
{
namespace
{
constexpr int kThreads = 2;

void writePng(const QImage& image, const QString& path)
{
    QImageWriter writer(path, QByteArrayLiteral("png"));
    if (!writer.write(image))
        throw std::runtime_error(
            QStringLiteral("cannot write the snapshot %1: %2").arg(path, writer.errorString()).toStdString());
}
}

SnapshotWriter::SnapshotWriter()
    : m_folder(QDir::tempPath() + QStringLiteral("/tavola-snapshots-%1").arg(QCoreApplication::applicationPid()))
{
    m_threads.setMaxThreadCount(kThreads);
}

SnapshotWriter::~SnapshotWriter()
{
    m_threads.waitForDone();
    if (m_folderMade && !QDir(m_folder).removeRecursively())
        Bedrock::Trace::warning("SnapshotWriter # Cannot remove the folder %s", qUtf8Printable(m_folder));
}

folly::Future<QString> SnapshotWriter::write(QImage image, const QString& fileName)
{
    QString path = fileName;
    if (path.isEmpty()) {
        if (!QDir().mkpath(m_folder))
            return folly::makeFuture<QString>(
                std::runtime_error(QStringLiteral("cannot make the snapshot folder %1").arg(m_folder).toStdString()));
        m_folderMade = true;
        path = m_folder + QStringLiteral("/snapshot-%1.png").arg(++m_filesNamed);
    }
    // The pool takes copyable functions only.
    auto promise = std::make_shared<folly::Promise<QString>>();
    auto future = promise->getFuture();
    m_threads.start([promise, picture = std::move(image), path] {
        try {
            writePng(picture, path);
        } catch (const std::exception& failure) {
            promise->setException(std::runtime_error(failure.what()));
            return;
        }
        promise->setValue(path);
    });
    return future;
}
}
