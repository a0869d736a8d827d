#include "ImageServer.hpp"

#include "EventLoop.hpp"

#include <QBuffer>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpSocket>

#include <memory>
#include <stdexcept>

namespace PluginTest
{
ImageServer::ImageServer()
{
    if (!m_server.listen(QHostAddress::LocalHost))
        throw std::runtime_error("no loopback port to listen on");
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection())
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { read(socket); });
    });
}

ImageServer::~ImageServer() = default;

QUrl ImageServer::url(const char* pathAndQuery) const
{
    return QUrl(QString::fromLatin1("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(QLatin1String(pathAndQuery)));
}

void ImageServer::serve(const char* path, const QByteArray& body)
{
    serveRaw(path,
             "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
}

void ImageServer::serveRaw(const char* path, const QByteArray& bytes)
{
    m_answers.insert(QLatin1String(path), bytes);
}

void ImageServer::hold(const char* path)
{
    m_answers.insert(QLatin1String(path), QByteArray());
}

void ImageServer::read(QTcpSocket* socket)
{
    if (!socket->peek(8192).contains("\r\n\r\n"))
        return;
    const QList<QByteArray> words = socket->readAll().split(' ');
    const QString target = QString::fromLatin1(words.value(1));
    m_requests.push_back(target);
    if (!m_answers.contains(target))
        throw std::logic_error("the image server was asked for " + target.toStdString());
    const QByteArray answer = m_answers.value(target);
    if (answer.isEmpty())
        return;
    socket->write(answer);
    socket->disconnectFromHost();
}

QByteArray ImageServer::png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::string ImageServer::networkErrorText(const QUrl& url)
{
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(url)));
    if (!TestSupport::pumpUntil([&] { return reply->isFinished(); }))
        throw std::runtime_error("no answer from " + url.toString().toStdString());
    return reply->error() == QNetworkReply::NoError ? std::string() : reply->errorString().toStdString();
}
}
