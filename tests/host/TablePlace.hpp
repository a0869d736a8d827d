#pragma once

#include "Folder.hpp"
#include "table/Table.hpp"

#include <Tactile/TuioInput.hpp>
#include <Trellis/Application.hpp>
#include <VisitPackets.hpp>

#include <doctest/doctest.h>

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonObject>
#include <QUdpSocket>

#include <chrono>

/// A presentation in a folder of its own, with its data beside it, that tables open.
class TablePlace
{
public:
    TablePlace() { options.dataFolder = folder.path(QStringLiteral("data")); }

    void presentation(const QByteArray& json) const { folder.write(QStringLiteral("presentation.json"), json); }

    std::unique_ptr<Table> tryToOpen()
    {
        const auto read = Presentation::load(folder.path(), error);
        REQUIRE_MESSAGE(read, error.toStdString());
        error.clear();
        return Table::open(*read, options, error);
    }
    std::unique_ptr<Table> open()
    {
        auto table = tryToOpen();
        REQUIRE_MESSAGE(table, error.toStdString());
        return table;
    }

    Folder folder;
    RunOptions options;
    QString error;
};

inline int portOf(const Table& table, int listener)
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
    explicit TableSender(const Table& table) : m_table(table), m_port(table.tuioPort()) {}

    void setPort(int port) { m_port = port; }
    void send(const std::vector<char>& packet, const QHostAddress& to = QHostAddress(QHostAddress::LocalHost))
    {
        const std::uint64_t before = m_table.input().datagramsReceived();
        post(packet, to);
        REQUIRE(m_table.input().waitForDatagrams(before + 1, std::chrono::seconds(10)));
    }
    void post(const std::vector<char>& packet, const QHostAddress& to = QHostAddress(QHostAddress::LocalHost))
    {
        REQUIRE(m_socket.writeDatagram(packet.data(), qint64(packet.size()), to, quint16(m_port)) == qint64(packet.size()));
    }

private:
    const Table& m_table;
    int m_port;
    QUdpSocket m_socket;
};
