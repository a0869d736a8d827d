#include "Listener.hpp"

#include "Connection.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <QFile>

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace Http
{
namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace
{
constexpr std::chrono::milliseconds kPauseAfterFailure{100};
constexpr int kAcceptedAtOnce = 16;

tcp::endpoint tcpEndpoint(const asio::generic::stream_protocol::endpoint& generic)
{
    tcp::endpoint endpoint;
    endpoint.resize(generic.size());
    std::memcpy(endpoint.data(), generic.data(), generic.size());
    return endpoint;
}

QString words(const error_code& error)
{
    const QString text = QString::fromStdString(error.message());
    return error == asio::error::address_in_use
        ? text + QStringLiteral("; end the program that listens there, or give another address")
        : text;
}

/// The number of the file in its file system; 0 when there is none.
ino_t fileNumber(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

/// Whether `path` is a socket of this user that no process listens on: what a killed server leaves behind.
bool isLeftover(const QByteArray& path)
{
    struct stat status = {};
    if (::lstat(path.constData(), &status) != 0 || !S_ISSOCK(status.st_mode) || status.st_uid != ::geteuid())
        return false;
    asio::io_context context;
    asio::local::stream_protocol::socket probe(context);
    error_code error;
    probe.connect(asio::local::stream_protocol::endpoint(path.toStdString()), error);
    return error == asio::error::connection_refused;
}
}

Listener::Listener(asio::io_context& context, Door& door)
    : m_context(context), m_door(door), m_acceptor(context), m_pause(context)
{
}

Listener::~Listener()
{
    close();
}

tl::expected<Server::Listening, QString> Listener::open(const Address& address)
{
    const QString failed = address.isUnixSocket() ? openUnixSocket(address.path) : openTcp(address);
    if (!failed.isEmpty())
        return tl::unexpected(failed);
    Server::Listening listening;
    listening.address = address;
    if (!address.isUnixSocket()) {
        listening.address.port = tcpEndpoint(m_acceptor.local_endpoint()).port();
        listening.url = QStringLiteral("http://%1/").arg(listening.address.toString());
    }
    return listening;
}

QString Listener::openTcp(const Address& address)
{
    error_code error;
    const tcp::endpoint wanted(asio::ip::make_address(address.host.toStdString(), error), address.port);
    const auto failed = [&](const char* step) {
        return QStringLiteral("Cannot %1 %2 port %3: %4")
            .arg(QLatin1String(step), address.host)
            .arg(address.port)
            .arg(words(error));
    };
    if (error || m_acceptor.open(wanted.protocol(), error))
        return failed("open a socket for");
    // A restarted server takes its port over from connections that are still winding down.
    m_acceptor.set_option(asio::socket_base::reuse_address(true), error);
    if (m_acceptor.bind(wanted, error) || m_acceptor.listen(asio::socket_base::max_listen_connections, error)
        || m_acceptor.non_blocking(true, error))
        return failed("listen on");
    return {};
}

QString Listener::openUnixSocket(const QString& path)
{
    const QByteArray file = QFile::encodeName(path);
    const auto failed = [&](const QString& why) {
        return QStringLiteral("Cannot listen on the Unix socket \"%1\": %2").arg(path, why);
    };
    constexpr std::size_t kLongestPath = sizeof(sockaddr_un{}.sun_path) - 1;
    if (std::size_t(file.size()) > kLongestPath)
        return failed(QStringLiteral("the path has more than %1 bytes").arg(kLongestPath));
    if (isLeftover(file))
        ::unlink(file.constData());
    error_code error;
    const asio::local::stream_protocol::endpoint wanted(file.toStdString());
    if (m_acceptor.open(wanted.protocol(), error))
        return failed(words(error));
    const mode_t before = ::umask(0177);
    m_acceptor.bind(wanted, error);
    ::umask(before);
    if (error)
        return failed(words(error));
    m_socketFile = file.toStdString();
    m_socketNumber = fileNumber(m_socketFile);
    if (m_acceptor.listen(asio::socket_base::max_listen_connections, error) || m_acceptor.non_blocking(true, error))
        return failed(words(error));
    return {};
}

void Listener::close()
{
    error_code ignored;
    m_acceptor.close(ignored);
    m_pause.cancel();
    // Another server may have made a new one where this one's was removed.
    if (!m_socketFile.empty() && fileNumber(m_socketFile) == m_socketNumber)
        ::unlink(m_socketFile.c_str());
    m_socketFile.clear();
}

void Listener::acceptNext()
{
    if (m_door.stopping)
        return;
    m_acceptor.async_wait(asio::socket_base::wait_read, [this](error_code error) {
        if (error != asio::error::operation_aborted && !m_door.stopping)
            accept(error);
    });
}

void Listener::accept(error_code error)
{
    // With many downloads under way it takes a while until the event loop comes back here, so more than one comes in at a
    // time; but only a few, so that they are read before they have to make room for the next.
    for (int i = 0; i < kAcceptedAtOnce && !error; ++i) {
        Socket socket(m_context);
        m_acceptor.accept(socket, error);
        if (!error)
            Bedrock::guarded(
                [&] { letIn(std::move(socket)); },
                [](const char* reason) { Bedrock::Trace::warning("HttpServer # A connection was dropped (%s)", reason); });
        else if (error == asio::error::connection_aborted)
            error.clear();
    }
    if (!error || error == asio::error::would_block)
        return acceptNext();
    // Most likely out of descriptors, which passes when connections end; trying at once would only burn time.
    m_door.warnings.log("A connection could not be accepted", error.message());
    m_pause.expires_after(kPauseAfterFailure);
    m_pause.async_wait([this](error_code cancelled) {
        if (!cancelled)
            acceptNext();
    });
}

void Listener::letIn(Socket socket)
{
    std::string client;
    if (m_socketFile.empty()) {
        error_code ignored;
        error_code remoteError;
        error_code localError;
        socket.set_option(tcp::no_delay(true), ignored);
        const auto remote = socket.remote_endpoint(remoteError);
        const auto local = socket.local_endpoint(localError);
        if (remoteError || localError)
            return; // gone already
        client = Connection::clientAddress(tcpEndpoint(remote).address(), tcpEndpoint(local).address());
    }
    const auto connection = std::make_shared<Connection>(m_door, std::move(socket), std::move(client));
    m_door.connections.insert(connection.get());
    m_door.connectionBegan();
    if (m_door.roster.enter(*connection) == ConnectionRoster::Entry::Full) {
        m_door.warnings.log("All connections are in use; the one that has waited longest makes room for a new one",
                            std::to_string(m_door.limits.clients.connections) + " connections");
    }
    connection->readNext();
}
}
