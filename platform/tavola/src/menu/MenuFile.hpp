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
/// What stands in one place of a menu. It leads on to further entries, or launches content.
struct MenuEntry
{
    QString text;
    QString icon; ///< absolute path of a picture
    std::vector<MenuEntry> entries;
    std::optional<ComponentUse> content;
};

/// A menu as its file has it. Never changes once it was read, so nodes share it.
struct Menu
{
    std::vector<MenuEntry> entries;
};

/// The menus that were read, each file once until it changes on the disk; a mistake is told once as well. Main thread only.
class MenuFiles
{
public:
    /// Menus are nested at most so deep, and have at most that many entries, each counted as often as it is included.
    static constexpr int kDeepest = 12;
    static constexpr int kMostEntries = 2000;

    /// The menu in a file; one without entries when it cannot be read. Never null.
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
