#pragma once

#include <Tactile/SurfaceArea.hpp>

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

class QJsonObject;

namespace Host
{
/// The listeners and the settings of a table's input, from a presentation. A plain record.
struct InputSettings
{
    enum class Transport { Udp, Tcp };
    struct Listener
    {
        Transport transport = Transport::Udp;
        QString address = QStringLiteral("127.0.0.1");
        int port = 3333;
        bool hasRect = false;                              ///< without one: the whole table
        float x = 0.f, y = 0.f, width = 0.f, height = 0.f; ///< table pixels
        QStringList allow;                                 ///< numeric addresses; empty: every sender
        std::vector<Tactile::SurfaceArea> ignore;          ///< where nothing may begin
    };
    /// Without a list, or with an empty one: the default listener. Empty where every listener of the list was left out.
    std::vector<Listener> listeners{1};
    double holdSeconds = 0.6;
    double lostSeconds = 5.0;
    bool smoothing = true;

    /// "3333", "0.0.0.0:3333", "localhost:3333", "[::1]:3333" for UDP, with "tcp:" ahead of it for TCP. False for anything
    /// else; `address` keeps its value where the text has none.
    [[nodiscard]] static bool parseAddress(const QString& text, Transport& transport, QString& address, int& port);

    /// Called with the place in the file and what is wrong there.
    using Skip = std::function<void(const QString& place, const QString& why)>;
    /// Reads "input" and "inputSettings" of a presentation:
    ///
    ///     "input": [{"tuio": "0.0.0.0:3333", "rect": [0, 0, 1920, 1080], "allow": ["192.168.0.20"],
    ///                "ignore": [[0.9, 0, 0.1, 0.2], [[0, 0], [0.1, 0], [0, 0.1]]]}],
    ///     "inputSettings": {"holdMilliseconds": 600, "lostSeconds": 5, "smoothing": true}
    ///
    /// A listener with a mistake is left out whole: without its "rect" its contacts would be in the wrong place, and without its
    /// "allow" every sender would be accepted. Of "ignore" the area with a mistake is left out. A setting with a mistake keeps
    /// its default.
    [[nodiscard]] static InputSettings read(const QJsonObject& root, const Skip& skip);
};
}
