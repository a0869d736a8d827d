#include <Patience.hpp>
#include <ReservedPort.hpp>
#include <VisitSender.hpp>

#include <doctest/doctest.h>

#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>

namespace
{

Visit::Target target(bool isStream, int port)
{
    Visit::Target result;
    result.isStream = isStream;
    result.port = std::to_string(port);
    return result;
}
}

TEST_CASE("visit sender: by UDP a packet is a datagram")
{
    QUdpSocket table;
    REQUIRE(table.bind(QHostAddress(QHostAddress::LocalHost), 0));
    Visit::Sender sender(target(false, table.localPort()));
    REQUIRE(sender.open());
    REQUIRE(sender.send({'a', 'b', 'c'}));
    REQUIRE(sender.send({'d'}));
    CHECK(sender.packetsSent() == 2);
    for (const char* expected : {"abc", "d"}) {
        REQUIRE((table.hasPendingDatagrams() || table.waitForReadyRead(TestSupport::kPatienceMs)));
        QByteArray datagram(int(table.pendingDatagramSize()), '\0');
        table.readDatagram(datagram.data(), datagram.size());
        CHECK(datagram == expected);
    }
}

TEST_CASE("visit sender: by UDP a table that does not listen is no failure")
{
    const TestSupport::ReservedPort port(SOCK_DGRAM);
    Visit::Sender sender(target(false, port.port()));
    REQUIRE(sender.open());
    for (int i = 0; i < 5; ++i)
        CHECK(sender.send({'a'}));
}

TEST_CASE("visit sender: by TCP each packet is led by its length")
{
    QTcpServer table;
    REQUIRE(table.listen(QHostAddress::LocalHost));
    Visit::Sender sender(target(true, table.serverPort()));
    REQUIRE(sender.open());
    REQUIRE(table.waitForNewConnection(TestSupport::kPatienceMs));
    QTcpSocket* connection = table.nextPendingConnection();
    const std::vector<char> large(300, 'x');
    REQUIRE(sender.send({'a', 'b'}));
    REQUIRE(sender.send(large));
    while (connection->bytesAvailable() < 4 + 2 + 4 + 300)
        REQUIRE(connection->waitForReadyRead(TestSupport::kPatienceMs));
    CHECK(connection->readAll() == QByteArray("\0\0\0\2ab\0\0\1\x2c", 10) + QByteArray(300, 'x'));
}

TEST_CASE("visit sender: a table that cannot be found or reached is named with the remedy")
{
    const TestSupport::ReservedPort reserved;
    const int port = reserved.port();
    Visit::Sender away(target(true, port));
    CHECK_FALSE(away.open());
    CHECK(away.errorText()
          == "Failed to reach 127.0.0.1:" + std::to_string(port) + " (Connection refused); check --to and the network");

    Visit::Target nowhere = target(false, 3333);
    nowhere.host = "no host";
    Visit::Sender unknown(nowhere);
    CHECK_FALSE(unknown.open());
    CHECK(unknown.errorText().find("Failed to find no host:3333 (") == 0);
}

TEST_CASE("visit sender: by TCP a table that hangs up is a failure")
{
    QTcpServer table;
    REQUIRE(table.listen(QHostAddress::LocalHost));
    Visit::Sender sender(target(true, table.serverPort()));
    REQUIRE(sender.open());
    REQUIRE(table.waitForNewConnection(TestSupport::kPatienceMs));
    table.nextPendingConnection()->abort();
    // The first packets may still find room in the socket.
    int packets = 0;
    while (sender.send(std::vector<char>(1000, 'x')) && packets < 100000)
        ++packets;
    CHECK(packets < 100000);
    CHECK(sender.errorText().find("Failed to send to 127.0.0.1:") == 0);
}
