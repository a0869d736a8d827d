#pragma once

#include <HttpServerThread.hpp>

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QUrl>
#include <QUrlQuery>

#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

/// A media server inside the test that takes content: it expects every file, unless the test says otherwise.
class ContentServer
{
public:
    static constexpr qint64 kPiece = 1000;

    /// Answers of the next requests, in place of the right ones: a status, and "error" as its text.
    void answerNext(const std::vector<int>& statuses)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_statuses = statuses;
    }
    /// The next answer has so many blanks behind it.
    void padNext(int bytes)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_padding = bytes;
    }
    /// From here on pieces are answered and dropped.
    void dropPieces()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isDropping = true;
    }
    /// The server has these bytes of whatever comes already.
    void hasReceived(const QByteArray& bytes)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_begun = bytes;
    }
    [[nodiscard]] QUrl address() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_server.port())); }
    [[nodiscard]] QByteArray content(const QString& name)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_files[name];
    }
    [[nodiscard]] std::vector<QByteArray> requests()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_requests;
    }
    [[nodiscard]] QByteArray lastAuthorization()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_authorization;
    }

private:
    Http::Response answer(const Http::Request& request)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        const QUrl url = QUrl::fromEncoded(request.target);
        const QUrlQuery query(url);
        const QString name = url.path(QUrl::FullyDecoded).mid(int(std::strlen("/content/")));
        const qint64 from = query.queryItemValue(QStringLiteral("from")).toLongLong();
        m_requests.push_back(request.method + ' ' + QByteArray::number(from));
        m_authorization = request.header("Authorization");
        if (!m_statuses.empty()) {
            const int status = m_statuses.front();
            m_statuses.erase(m_statuses.begin());
            return json(status, {{QStringLiteral("error"), QStringLiteral("The server says %1.").arg(status)}});
        }
        QByteArray& file = m_files.try_emplace(name, m_begun).first->second;
        if (request.method == "PUT" && from == file.size() && !m_isDropping)
            file += request.body;
        const qint64 size = query.queryItemValue(QStringLiteral("size")).toLongLong();
        if (file.size() == size && request.method == "PUT")
            m_begun.clear();
        if (file.size() == size)
            return json(200, {{QStringLiteral("state"), QStringLiteral("there")}});
        return json(200,
                    {{QStringLiteral("state"), QStringLiteral("coming")},
                     {QStringLiteral("received"), file.size()},
                     {QStringLiteral("piece"), kPiece}});
    }

    Http::Response json(int status, const QJsonObject& object)
    {
        Http::Response response;
        response.status = status;
        response.contentType = "application/json";
        response.body = QJsonDocument(object).toJson() + QByteArray(std::exchange(m_padding, 0), ' ');
        return response;
    }

    std::mutex m_mutex;
    std::map<QString, QByteArray> m_files;
    std::vector<QByteArray> m_requests; ///< "METHOD FROM"
    std::vector<int> m_statuses;
    QByteArray m_begun;
    int m_padding = 0;
    bool m_isDropping = false;
    QByteArray m_authorization;
    HttpServerThread m_server{
        Http::Limits{}, [this](const QString&) { return [this](const Http::Request& request) { return answer(request); }; }};
};
