#pragma once

#include "Patience.hpp"
#include "table/Table.hpp"

#include <Tactile/TuioInput.hpp>

#include <doctest/doctest.h>

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonObject>
#include <QUdpSocket>

#include <chrono>
#include <vector>

inline int portOf(const Host::Table& table, int listener)
{
    return table.listeners()
        .at(listener)
        .toObject()
        .value(QLatin1String("tuio"))
        .toString()
        .section(QLatin1Char(':'), -1)
        .toInt();
}

/// Sends real datagrams to a table and waits until they have arrived.
class TableSender
{
public:
    explicit TableSender(const Host::Table& table) : m_table(table), m_port(table.tuioPort()) {}

    void setPort(int port) { m_port = port; }
    void send(const std::vector<char>& packet, const QHostAddress& to = QHostAddress(QHostAddress::LocalHost))
    {
        const std::uint64_t before = m_table.input().datagramsReceived();
        post(packet, to);
        REQUIRE(m_table.input().waitForDatagrams(before + 1, TestSupport::kPatience));
    }
    void post(const std::vector<char>& packet, const QHostAddress& to = QHostAddress(QHostAddress::LocalHost))
    {
        REQUIRE(m_socket.writeDatagram(packet.data(), qint64(packet.size()), to, quint16(m_port)) == qint64(packet.size()));
    }

private:
    const Host::Table& m_table;
    int m_port;
    QUdpSocket m_socket;
};
