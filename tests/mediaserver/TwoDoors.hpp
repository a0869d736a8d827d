#pragma once

#include "Folder.hpp"
#include "HttpClient.hpp"
#include "HttpServerThread.hpp"
#include "commands/CommandDoor.hpp"
#include "items/ItemStore.hpp"
#include "pages/Site.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Pages and commands behind real servers with one store, as the program has them on two doors.
struct TwoDoors
{
    static constexpr qint64 kLargestContent = 4'000'000;
    static constexpr qint64 kPiece = 1000;

    TwoDoors()
    {
        folder.makeFolder(QStringLiteral("content"));
        folder.write(QStringLiteral("content/boat.png"), picture);
        folder.write(QStringLiteral("content/page.html"), "<script>alert(1)</script>");
        folder.write(QStringLiteral("content/guide.pdf"), "%PDF-1.4");
        folder.write(QStringLiteral("secret.txt"), "secret");
    }

    QJsonObject command(const QByteArray& json)
    {
        const HttpAnswer answer = ask(commands.port(), "POST", "/", json.toStdString());
        CHECK(answer.header("content-type") == "application/json");
        return QJsonDocument::fromJson(QByteArray::fromStdString(answer.body)).object();
    }

    void add(qint64 tessel, const char* member, const char* value)
    {
        const QByteArray json = "{\"command\":\"additem\",\"tessel\":" + QByteArray::number(tessel) + ",\"" + member + "\":\""
            + value + "\",\"displayname\":\"Name\"}";
        REQUIRE(command(json).value(QLatin1String("success")).toBool());
    }

    /// The path of a person's page.
    std::string page(qint64 tessel)
    {
        const QByteArray json = "{\"command\":\"getuserpage\",\"tessel\":" + QByteArray::number(tessel) + "}";
        return command(json)
            .value(QLatin1String("userpageurl"))
            .toString()
            .section(QLatin1Char('/'), 3)
            .prepend(QLatin1Char('/'))
            .toStdString();
    }

    /// The paths of the files on a person's page, in order.
    std::vector<std::string> files(const std::string& path)
    {
        std::vector<std::string> result;
        auto found = QRegularExpression(QStringLiteral("<a href=\"([^\"]*/file/\\d+)\""))
                         .globalMatch(QString::fromStdString(get(path).body));
        while (found.hasNext())
            result.push_back("/p/" + found.next().captured(1).toStdString());
        return result;
    }

    HttpAnswer get(const std::string& path) { return ask(pages.port(), "GET", path); }

    QString pagesUrl() const { return QStringLiteral("http://127.0.0.1:%1/").arg(pages.port()); }

    QByteArray picture = QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(3'000'000, 'p');
    Folder folder;

private:
    std::mutex m_mutex;
    std::shared_ptr<MediaServer::ItemStore> m_store; ///< before the servers, which use it

public:
    HttpServerThread pages{Http::Limits{}, [this](const QString& url, Http::Server&) { return pagesOf(url); }};
    HttpServerThread commands{Http::Limits{}, [this](const QString&, Http::Server& server) { return commandsOf(server); }};

private:
    /// Opened by whichever server starts first.
    std::shared_ptr<MediaServer::ItemStore> openStore()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (!m_store) {
            auto opened = MediaServer::ItemStore::open(folder.path(QStringLiteral("items.sqlite")));
            m_store = opened ? std::move(*opened) : nullptr;
        }
        return m_store;
    }

    Http::Server::Handler pagesOf(const QString& url)
    {
        const auto store = openStore();
        if (!store)
            return [](Http::Request, Http::Reply reply) { reply.send(Http::plainResponse(500, "no database")); };
        auto site = std::make_shared<MediaServer::Site>(*store, folder.path(QStringLiteral("content")), url);
        return [store, site](const Http::Request& request, Http::Reply reply) { site->handle(request, std::move(reply)); };
    }

    Http::Server::Handler commandsOf(Http::Server& server)
    {
        const auto store = openStore();
        if (!store)
            return [](Http::Request, Http::Reply reply) { reply.send(Http::plainResponse(500, "no database")); };
        const MediaServer::ContentLimits limits{kLargestContent, kPiece};
        auto door = std::make_shared<MediaServer::CommandDoor>(*store, folder.path(QStringLiteral("content")), pagesUrl(), limits,
                                                               server.poster());
        return [store, door](const Http::Request& request, Http::Reply reply) { door->handle(request, std::move(reply)); };
    }
};
