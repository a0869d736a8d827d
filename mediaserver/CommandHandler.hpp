#pragma once

#include "PageAddresses.hpp"
#include <Bedrock/RareWarnings.hpp>

#include <QJsonObject>

#include <optional>

class QByteArray;

namespace MediaServer
{

class ContentFolder;
class ContentReceiver;
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
    /// Not empty: nothing was done; the command is to be given once more when the hash of this file has been read.
    QString unreadFile = {};
};

/// The commands that tables send: "getuserpage", "additem" and "deleteitem". An "additem" may carry "sha256" and "size" of the
/// file on the table; then the file need not be in the content folder: it is expected, and the answer has "content": "coming".
/// Borrows what it is given; on the store's thread.
class CommandHandler
{
public:
    /// More than a visitor collects in a day; a page with many more would not open on a phone.
    static constexpr int kMostItems = 1000;

    /// `mostItems`: of one person; "additem" fails beyond it.
    /// `receiver`: null where no content is received.
    CommandHandler(ItemStore& store, const ContentFolder& content, ContentReceiver* receiver, const PageAddresses& addresses,
                   int mostItems = kMostItems);

    /// `body`: one JSON object, in UTF-8.
    [[nodiscard]] CommandAnswer handle(const QByteArray& body);

private:
    [[nodiscard]] CommandAnswer getUserPage(qint64 tessel);
    [[nodiscard]] CommandAnswer addItem(qint64 tessel, const Item& item, const QJsonObject& command);
    /// Nothing when the item may be added; `isComing`: its file is not there yet.
    [[nodiscard]] std::optional<CommandAnswer> checkFile(const Item& item, const QJsonObject& command, bool& isComing);
    [[nodiscard]] CommandAnswer deleteItem(qint64 tessel, const Item& item);
    /// The answer says that nothing was done; the reason goes to the log only.
    [[nodiscard]] CommandAnswer storeFailed(const char* command, const QString& reason);
    [[nodiscard]] CommandAnswer notOpened(const ContentError& error);

    ItemStore& m_store;
    const ContentFolder& m_content;
    ContentReceiver* m_receiver;
    PageAddresses m_addresses;
    int m_mostItems;
    Bedrock::RareWarnings m_warnings{"MediaServer"};
};

} // namespace MediaServer
