#pragma once

#include <Bedrock/Mutex.hpp>

#include <folly/futures/Future.h>

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
/// there is not fetched again. Futures are completed on the main thread, where everything but `instance` belongs.
class IconDownloader final : public QObject
{
    Q_OBJECT

public:
    /// The shared downloader. It lives as long as one of these pointers; with the last of them the futures of downloads under way
    /// fail with a broken promise. Any thread.
    [[nodiscard]] static std::shared_ptr<IconDownloader> instance();

    IconDownloader();
    ~IconDownloader() override;

    /// The path of the picture on this machine. A network error fails the future; an answer that is no picture leaves it
    /// uncompleted. Throws folly's "Future already retrieved" while the same address is being fetched.
    [[nodiscard]] folly::Future<QString> getUserIcon(const QUrl& url);
    /// Where the picture of that address is kept. Makes the folder.
    [[nodiscard]] QString iconPath(const QUrl& url);

public Q_SLOTS:
    /// Completes the future of the reply's address, if it is pending, before it returns. Continuations may drop the last pointer
    /// to this object. The reply is not deleted.
    void onNetworkRequestFinished(QNetworkReply* reply);

private:
    /// Keeps the shared downloader, if that is this object, until the next frame's after-update, should nothing else keep it.
    class Hold;

    static Bedrock::Mutex s_instanceMutex;
    static std::weak_ptr<IconDownloader> s_multiSingletonInstance;

    std::map<QUrl, std::shared_ptr<folly::Promise<QString>>> m_pending;
    QNetworkAccessManager* m_network; ///< a child of this object
};
}
