#pragma once

#include <Bedrock/Arrivals.hpp>
#include <Bedrock/Mutex.hpp>

#include <folly/futures/Future.h>

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <map>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;

namespace Tavola
{
/// Fetches the small pictures of user pages and keeps them in a folder of the system's temporary directory. A picture that is
/// there is never fetched again. Futures are completed on the main thread, where everything but `instance` belongs.
class IconDownloader final : public QObject
{
    Q_OBJECT

public:
    /// The shared downloader, which lives while anybody holds it: downloads under way end, with a broken promise, when the last
    /// holder lets go. Any thread.
    [[nodiscard]] static std::shared_ptr<IconDownloader> instance();

    IconDownloader();
    ~IconDownloader() override;

    /// The path of the picture on this machine. A network error fails the future; an answer that is no picture leaves it
    /// uncompleted. Throws folly's "Future already retrieved" while the same address is being fetched.
    [[nodiscard]] folly::Future<QString> getUserIcon(const QUrl& url);
    /// Where the picture of that address is kept. Makes the folder.
    [[nodiscard]] QString iconPath(const QUrl& url);

private Q_SLOTS:
    void onNetworkRequestFinished(QNetworkReply* reply);

private:
    void take(const QUrl& url, const QByteArray& answer);

    static Bedrock::Mutex s_instanceMutex;
    static std::weak_ptr<IconDownloader> s_multiSingletonInstance;

    std::map<QUrl, std::shared_ptr<folly::Promise<QString>>> m_pending;
    std::map<QUrl, Bedrock::Arrivals::Ticket> m_tickets; ///< of downloads under way
    std::shared_ptr<char> m_alive = std::make_shared<char>();
    QNetworkAccessManager* m_network; ///< a child of this object
};
}
