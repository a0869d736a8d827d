#pragma once

#include "items/ItemStore.hpp"
#include "pages/PageAddresses.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <QByteArray>
#include <QJsonObject>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace MediaServer
{

class ContentFolder;
class ContentReceiver;
struct ContentError;
struct PageTexts;

/// The answer to one command: {"success": true, ...} or {"success": false, "error": "clear text"}.
struct CommandAnswer
{
    /// 200 whenever the command was understood, also when it failed; 400 when it was not; 500 when the store or the
    /// content folder failed.
    int httpStatus = 200;
    QByteArray json; ///< an object
    /// Not empty: nothing was done; the command is to be given once more when the hash of this file has been read.
    QString unreadFile = {};
};

/// The commands that tables send: "getuserpage", "additem" and "deleteitem". An "additem" may carry "sha256" and "size" of the
/// file on the table; then the file need not be in the content folder: it is expected, and the answer has "content": "coming".
/// Commands that wait together are one transaction of the store. Borrows what it is given. On the server's thread, which waits
/// for nothing: what asks store and disk about a file runs on the receiver's thread.
class CommandHandler
{
public:
    /// More than a visitor collects in a day; a page with many more would not open on a phone.
    static constexpr int kMostItems = 1000;

    /// `mostItems`: of one person; "additem" fails beyond it.
    /// `receiver`: null where no content is received.
    CommandHandler(ItemStore& store, const ContentFolder& content, ContentReceiver* receiver, const PageAddresses& addresses,
                   int mostItems = kMostItems);

    /// Runs a function on the server's thread, later. Called on any thread.
    using Post = std::function<void(std::function<void()>)>;
    using Done = std::function<void(const CommandAnswer& answer)>;
    /// `body`: one JSON object, in UTF-8. `done` is called in the call, through `post`, or on the receiver's thread, as it is
    /// with an unreadFile. `acceptLanguage`: the header of that name; the first language in it is the one in which the addresses
    /// of pages that are answered open, where pages have it.
    void handle(const QByteArray& body, const Post& post, const Done& done, const QByteArray& acceptLanguage = {});

private:
    /// What a command changes in the store.
    struct Work
    {
        const char* command; ///< for the log
        /// Returns the answer. Borrows nothing: it may run after the server's end.
        std::function<CommandAnswer(Items& items)> job;
    };
    struct PageQuestion
    {
        qint64 tessel;
        const PageTexts* texts; ///< of the language in which the page opens; null: the page's own
    };
    struct FileItem
    {
        qint64 tessel;
        Item item;
        QJsonObject command;
    };
    using Step = std::variant<CommandAnswer, Work, PageQuestion, FileItem>;

    [[nodiscard]] Step firstStep(const QByteArray& body, const PageTexts* texts);
    void run(const Work& work, const Post& post, const Done& done);
    void getUserPage(const PageQuestion& question, const Post& post, const Done& done);
    [[nodiscard]] CommandAnswer pageAnswer(const QString& token, const PageTexts* texts) const;
    void addFile(const FileItem& file, const Post& post, const Done& done);
    [[nodiscard]] Work addItem(qint64 tessel, const Item& item, bool isComing) const;
    /// Nothing when the item may be added; `isComing`: its file is not there yet.
    [[nodiscard]] std::optional<CommandAnswer> checkFile(const Item& item, const QJsonObject& command, bool& isComing);
    [[nodiscard]] static Work deleteItem(qint64 tessel, const Item& item);
    /// The answer says that nothing was done; the reason goes to the log only.
    [[nodiscard]] CommandAnswer storeFailed(const char* command, const QString& reason);
    [[nodiscard]] CommandAnswer notOpened(const ContentError& error);
    void warn(const std::string& what, const QString& reason);

    ItemStore& m_store;
    const ContentFolder& m_content;
    ContentReceiver* m_receiver;
    PageAddresses m_addresses;
    int m_mostItems;
    std::mutex m_mutex;
    Bedrock::RareWarnings m_warnings{"MediaServer"}; ///< under the mutex
};

}
