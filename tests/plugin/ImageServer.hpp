#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QTcpServer>
#include <QUrl>

#include <string>
#include <vector>

class QTcpSocket;

namespace PluginTest
{
/// An HTTP server on a free loopback port that answers exact bytes, by path, and then closes the connection. Works in the event
/// loop of the test.
class ImageServer
{
public:
    ImageServer();
    ~ImageServer();

    [[nodiscard]] QUrl url(const char* pathAndQuery) const;

    /// A complete HTTP answer: 200 with this body.
    void serve(const char* path, const QByteArray& body);
    /// These bytes as the whole answer.
    void serveRaw(const char* path, const QByteArray& bytes);
    /// No answer: the request stays open.
    void hold(const char* path);
    /// The targets of the requests, in order.
    [[nodiscard]] const std::vector<QString>& requests() const { return m_requests; }

    [[nodiscard]] static QByteArray png(int width, int height);
    /// The words of the network library for the error that a request for `url` ends with; empty without one. Sends a request of
    /// its own and waits for it. For tests that expect the same words elsewhere.
    [[nodiscard]] static std::string networkErrorText(const QUrl& url);

private:
    void read(QTcpSocket* socket);

    QTcpServer m_server;
    QMap<QString, QByteArray> m_answers;
    std::vector<QString> m_requests;
};
}
