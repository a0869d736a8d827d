#pragma once

#include "PageAddresses.hpp"
#include <Bedrock/RareWarnings.hpp>

#include <QJsonObject>

class QByteArray;

namespace MediaServer
{

class ContentFolder;
class ItemStore;
struct ContentError;
struct Item;

/// The answer to one command: {"success": true, ...} or {"success": false, "error": "clear text"}.
struct CommandAnswer
{
    /// 200 whenever the command was understood, also when it failed; 400 when it was not; 500 when the store or the
    /// content folder failed.
    int httpStatus = 200;
    QJsonObject json;
};

/// The commands that tables send: "getuserpage", "additem" and "deleteitem". Borrows store and folder; on the store's thread.
class CommandHandler
{
public:
    /// More than a visitor collects in a day; a page with many more would not open on a phone.
    static constexpr int kMostItems = 1000;

    /// `mostItems`: of one person; "additem" fails beyond it.
    CommandHandler(ItemStore& store, const ContentFolder& content, const PageAddresses& addresses, int mostItems = kMostItems);

    /// `body`: one JSON object, in UTF-8.
    [[nodiscard]] CommandAnswer handle(const QByteArray& body);

private:
    [[nodiscard]] CommandAnswer getUserPage(qint64 tessel);
    [[nodiscard]] CommandAnswer addItem(qint64 tessel, const Item& item);
    [[nodiscard]] CommandAnswer deleteItem(qint64 tessel, const Item& item);
    /// The answer says that nothing was done; the reason goes to the log only.
    [[nodiscard]] CommandAnswer storeFailed(const char* command, const QString& reason);
    [[nodiscard]] CommandAnswer notOpened(const ContentError& error);

    ItemStore& m_store;
    const ContentFolder& m_content;
    PageAddresses m_addresses;
    int m_mostItems;
    Bedrock::RareWarnings m_warnings{"MediaServer"};
};

} // namespace MediaServer
