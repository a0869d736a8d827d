#include "server/IconDownloader.hpp"

#include <Facet/Node.hpp>
#include <Tavola/Network.hpp>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <stdexcept>
#include <utility>

namespace Tavola
{
class IconDownloader::Hold
{
public:
    Hold()
    {
        const Bedrock::MutexGuard guard(s_instanceMutex);
        m_downloader = s_multiSingletonInstance.lock();
    }
    ~Hold()
    {
        // The network manager, a child of the downloader, is still at work in the slot's caller.
        if (m_downloader.use_count() == 1)
            Facet::Node::invokeAfterUpdate([last = std::move(m_downloader)] {});
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    std::shared_ptr<IconDownloader> m_downloader;
};

Bedrock::Mutex IconDownloader::s_instanceMutex;
std::weak_ptr<IconDownloader> IconDownloader::s_multiSingletonInstance;

std::shared_ptr<IconDownloader> IconDownloader::instance()
{
    const Bedrock::MutexGuard guard(s_instanceMutex);
    auto downloader = s_multiSingletonInstance.lock();
    if (!downloader) {
        downloader = std::make_shared<IconDownloader>();
        s_multiSingletonInstance = downloader;
    }
    return downloader;
}

IconDownloader::IconDownloader() : m_network(makeNetworkManager(this, NetworkContent::Pictures))
{
    connect(m_network, &QNetworkAccessManager::finished, this, &IconDownloader::onNetworkRequestFinished);
}

IconDownloader::~IconDownloader() = default;

folly::Future<QString> IconDownloader::getUserIcon(const QUrl& url)
{
    const auto pending = m_pending.find(url);
    if (pending != m_pending.end())
        return pending->second->getFuture(); // Throws: a promise gives one future. Requests for one address are not merged.

    const QString path = iconPath(url);
    if (QFile::exists(path))
        return folly::makeFuture(path);

    const auto promise = std::make_shared<folly::Promise<QString>>();
    m_pending.emplace(url, promise);
    m_network->get(QNetworkRequest(url));
    return promise->getFuture();
}

QString IconDownloader::iconPath(const QUrl& url)
{
    const QString directory = QDir::tempPath() + QLatin1String("/tavola-user-page-icons/");
    QDir().mkdir(directory);

    const QByteArray digest = QCryptographicHash::hash(url.toString().toUtf8(), QCryptographicHash::Md5).toHex();
    QString suffix = QFileInfo(url.fileName(QUrl::FullyDecoded)).suffix();
    if (suffix.isEmpty())
        suffix = QLatin1String("png");
    return directory + QString::fromLatin1(digest) + QLatin1Char('.') + suffix;
}

void IconDownloader::onNetworkRequestFinished(QNetworkReply* reply)
{
    const Hold hold;
    const auto pending = m_pending.find(reply->url());
    if (pending == m_pending.end())
        return;
    // The entry goes after the completion: a continuation that asks for the address again is refused until then.
    const QUrl url = pending->first;
    const auto promise = pending->second;
    if (reply->error() != QNetworkReply::NoError) {
        promise->setException(std::runtime_error(reply->errorString().toStdString()));
        m_pending.erase(url);
        return;
    }
    QImage image;
    if (!image.loadFromData(reply->readAll()))
        return; // Not a picture: the entry stays, and with it the future without an answer.
    const QString path = iconPath(url);
    image.save(path);
    promise->setValue(path);
    m_pending.erase(url);
}
}
