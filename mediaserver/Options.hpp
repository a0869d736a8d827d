#pragma once

#include <Http/Limits.hpp>

#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

namespace MediaServer
{

/// The options of tavola-mediaserver. A plain record.
struct Options
{
    QString address = QStringLiteral("127.0.0.1");
    quint16 port = 8090; ///< 0: a free one
    QString contentFolder;
    QString databaseFile;
    QString publicUrl; ///< empty: the address the server listens on
    Http::Limits limits;

    /// Why the program ends before it serves. Code 0: help was asked for, the text goes to standard output; otherwise it goes to
    /// standard error.
    struct Exit
    {
        int code;
        QString text;
    };

    /// `arguments`: with the program's name in front.
    [[nodiscard]] static tl::expected<Options, Exit> parse(const QStringList& arguments);
};

} // namespace MediaServer
