#pragma once

#include <Http/Address.hpp>
#include <Http/Limits.hpp>

#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

namespace MediaServer
{

/// The options of tavola-mediaserver. A plain record.
struct Options
{
    Http::Address pages = {QStringLiteral("127.0.0.1"), 8090, {}};    ///< visitors' door; port 0: a free one
    Http::Address commands = {QStringLiteral("127.0.0.1"), 8180, {}}; ///< tables' door
    QString commandKeyFile; ///< empty: commands need no key. Not empty when other machines reach the commands' door
    QString contentFolder;
    QString database;                      ///< see Storage::Address
    QString importFile;                    ///< copied into the database in place of serving; empty: none
    QString siteFile;                      ///< see SiteSettings; empty: none
    QString publicUrl;                     ///< empty: the address of the visitors' door
    Http::Limits limits;                   ///< of each door
    qint64 contentBytes = qint64(1) << 30; ///< of one file that a table sends

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

}
