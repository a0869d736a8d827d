#include "server/IconDownloader.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <stdexcept>

namespace Tavola
{
namespace
{
/// What an answer begins with, as it is handed over and recorded: the words of an error, or a picture.
constexpr char kErrorMark = 'E';
constexpr char kPictureMark = 'P';
}

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

IconDownloader::IconDownloader() : m_network(new QNetworkAccessManager(this))
{
    connect(m_network, &QNetworkAccessManager::finished, this, &IconDownloader::onNetworkRequestFinished);
}

IconDownloader::~IconDownloader()
{
    m_alive.reset();
    // What is under way is not waited for any more.
    for (const auto& [url, ticket] : m_tickets)
        Bedrock::Arrivals::instance().answer(ticket, QByteArray());
}

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
    auto& arrivals = Bedrock::Arrivals::instance();
    m_tickets[url] = arrivals.ask('d', [this, url, alive = std::weak_ptr<char>(m_alive)](const QByteArray& answer) {
        if (!alive.expired())
            take(url, answer);
    });
    if (!arrivals.isReplaying())
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
    const auto ticket = m_tickets.find(reply->url());
    if (ticket == m_tickets.end())
        return;
    const auto number = ticket->second;
    m_tickets.erase(ticket);
    const bool isError = reply->error() != QNetworkReply::NoError;
    Bedrock::Arrivals::instance().answer(number,
                                         isError ? kErrorMark + reply->errorString().toUtf8() : kPictureMark + reply->readAll());
}

void IconDownloader::take(const QUrl& url, const QByteArray& answer)
{
    const auto pending = m_pending.find(url);
    if (pending == m_pending.end())
        return;
    const auto promise = pending->second;

    if (!answer.startsWith(kPictureMark)) {
        promise->setException(std::runtime_error(answer.mid(1).toStdString()));
        m_pending.erase(url);
        return;
    }
    QImage image;
    if (!image.loadFromData(answer.mid(1)))
        return; // Not a picture: the entry stays, and with it the future without an answer.
    const QString path = iconPath(url);
    image.save(path);
    promise->setValue(path);
    m_pending.erase(url);
}
}
