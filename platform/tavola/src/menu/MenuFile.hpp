#pragma once

#include <Tavola/ComponentUse.hpp>

#include <QDateTime>
#include <QString>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace Tavola
{
/// One entry of a menu. It opens further entries, or launches content.
struct MenuEntry
{
    QString text;
    QString icon; ///< absolute path of a picture
    std::vector<MenuEntry> entries;
    std::optional<ComponentUse> content;
    QString id; ///< of its widget, for style sheets; may be empty
};

/// A menu as its file has it. Never changes once it was read, so nodes share it.
struct Menu
{
    std::vector<MenuEntry> entries;
};

/// The menus that were read: each file once, until it changes on the disk, and with it each mistake reported once. A part of the
/// application; main thread only.
class MenuFiles
{
public:
    /// Levels of a menu, and entries of a menu with everything that it includes, each counted as often as it is included.
    static constexpr int kDeepest = 12;
    static constexpr int kMostEntries = 2000;

    /// The menu in a file, read now if need be; one without entries when the file cannot be read (logged). Never null.
    [[nodiscard]] std::shared_ptr<const Menu> menu(const QString& path);

private:
    struct FileSeen
    {
        QString path;
        QDateTime modified;
        qint64 bytes = 0;
        [[nodiscard]] bool isUnchanged() const;
    };
    struct Read
    {
        std::shared_ptr<const Menu> menu;
        std::vector<FileSeen> files; ///< the file itself and those that it includes
    };
    class Reader;

    std::map<QString, Read> m_read;
};
}
