#pragma once

#include "LoopbackHttpServer.hpp"

#include <QJsonArray>
#include <QJsonObject>

#include <functional>

namespace Tactile
{
class TuioInput;
}
namespace Trellis
{
class Application;
}

namespace Host
{
class TableLog;

/// Serves the state of a running table over HTTP on the loopback address: GET /tree, /styles, /screenshot.png, /log, /analytics,
/// /input, /grabs, /mail, /status; POST /frames?count=N&dt=SECONDS under the manual clock. GET / lists them.
class Inspector
{
public:
    struct Subject
    {
        Trellis::Application& application;
        const TableLog& log;
        const Tactile::TuioInput* input = nullptr; ///< null: no table input
        bool manualClock = false;
        std::function<QJsonArray()> mail = {}; ///< the state of each e-mail service; may be empty
        /// Runs a frame; false at the end of a replay. Empty: the application's own frame.
        std::function<bool(double dtSeconds)> frame = {};
        std::function<QJsonArray()> listeners = {};    ///< the listeners and their refused senders; may be empty
        std::function<QJsonObject()> collections = {}; ///< the state of the store of collections; may be empty
    };

    explicit Inspector(const Subject& subject);

    /// False, with the reason in `error`, when the port is taken.
    [[nodiscard]] bool listen(int port, QString& error) { return m_server.listen(port, error); }
    [[nodiscard]] int port() const { return m_server.port(); }

private:
    LoopbackHttpServer::Response answer(const LoopbackHttpServer::Request& request);
    LoopbackHttpServer::Response runFrames(const LoopbackHttpServer::Request& request);
    [[nodiscard]] LoopbackHttpServer::Response screenshot(const LoopbackHttpServer::Request& request) const;
    [[nodiscard]] LoopbackHttpServer::Response styles(const LoopbackHttpServer::Request& request) const;
    [[nodiscard]] QByteArray inputReport() const;
    /// With what `report` has already.
    [[nodiscard]] QByteArray statusReport(QJsonObject report = {}) const;

    Subject m_subject;
    LoopbackHttpServer m_server;
};
}
