#pragma once

#include "Folder.hpp"
#include "table/Table.hpp"

#include <Trellis/Application.hpp>

#include <doctest/doctest.h>

/// A presentation in a folder of its own, with its data beside it, that tables open. The tables listen on a free port of the
/// loopback address; reset `options.listener` for the presentation's own listeners.
struct TablePlace
{
    TablePlace()
    {
        options.dataFolder = folder.path(QStringLiteral("data"));
        options.listener.emplace().port = 0;
    }

    void presentation(const QByteArray& json) const { folder.write(QStringLiteral("presentation.json"), json); }

    std::unique_ptr<Host::Table> tryToOpen()
    {
        const auto read = Host::Presentation::load(presentationFolder, error);
        REQUIRE_MESSAGE(read, error.toStdString());
        error.clear();
        return Host::Table::open(*read, options, error);
    }
    std::unique_ptr<Host::Table> open()
    {
        auto table = tryToOpen();
        REQUIRE_MESSAGE(table, error.toStdString());
        return table;
    }

    Folder folder;
    QString presentationFolder = folder.path();
    Host::TableOptions options;
    QString error;
};
