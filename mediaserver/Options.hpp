#pragma once

#include <Http/Limits.hpp>

#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

namespace MediaServer
{

/// What the command line asks for.
struct Options
{
    QString address = QStringLiteral("127.0.0.1");
    quint16 port = 8090; ///< 0: a free one
    QString contentFolder;
    QString databaseFile;
    QString publicUrl; ///< empty: the address the server listens on
    Http::Limits limits;

    /// Why the program ends before it serves: a text for standard output when the code is 0 (help was asked
    /// for), else for standard error.
    struct Exit
    {
        int code;
        QString text;
    };

    /// `arguments`: with the program's name in front.
    [[nodiscard]] static tl::expected<Options, Exit> parse(const QStringList& arguments);
};

} // namespace MediaServer
