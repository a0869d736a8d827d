#include "SnapshotWriter.hpp"

#include <Bedrock/Arrivals.hpp>
#include <Bedrock/Trace.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QImageWriter>

#include <memory>
#include <stdexcept>
#include <string>

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
    : m_folder(QDir::tempPath() + QStringLiteral("/tavola-snapshots-%1").arg(QCoreApplication::applicationPid())),
      m_threads(kThreads)
{
}

SnapshotWriter::~SnapshotWriter()
{
    m_threads.waitUntilIdle();
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
    m_threads.add([promise, picture = std::move(image), path, ticket = Bedrock::Arrivals::instance().begin('s')] {
        std::string error;
        try {
            writePng(picture, path);
        } catch (const std::exception& failure) {
            error = failure.what();
        }
        Bedrock::Arrivals::instance().deliver(ticket, [promise, path, error] {
            if (error.empty())
                promise->setValue(path);
            else
                promise->setException(std::runtime_error(error));
        });
        Bedrock::Arrivals::instance().ended(ticket);
    });
    return future;
}
}
