#pragma once

#include "CommandHandler.hpp"
#include "content/ContentFolder.hpp"
#include "content/ContentReceiver.hpp"

#include <Http/BearerKeys.hpp>
#include <Http/Message.hpp>

#include <optional>

namespace MediaServer
{

class ItemStore;

/// What the tables' door answers: POST / with a command, and /content/NAME with content of tables (see ContentReceiver). A
/// request that a web page has made a browser send is refused with 403, one without a valid key, where the door has keys, with
/// 401. Borrows the store. On the server's thread, which never waits for the store.
class CommandDoor
{
public:
    /// `contentFolder`: path of the folder with the files; `publicUrl`: where visitors reach their pages.
    /// `post`: see CommandHandler.
    CommandDoor(ItemStore& store, const QString& contentFolder, const QString& publicUrl, const ContentLimits& limits,
                const CommandHandler::Post& post);
    ~CommandDoor() { m_receiver.close(); }
    CommandDoor(const CommandDoor&) = delete;
    CommandDoor& operator=(const CommandDoor&) = delete;

    /// From here on a request needs one of the keys; with none, no request needs any.
    void setKeys(std::optional<Http::BearerKeys> keys) { m_keys = std::move(keys); }

    /// Answers when the store has committed, or a file was read or written whole.
    void handle(const Http::Request& request, Http::Reply reply);

private:
    [[nodiscard]] std::optional<Http::Response> refuse(const Http::Request& request) const;
    /// The command once more, after its file was read.
    void handleAgain(const QByteArray& body, const QString& file, const std::shared_ptr<Http::Reply>& reply);

    ContentFolder m_content;
    ContentReceiver m_receiver;
    CommandHandler m_commands;
    CommandHandler::Post m_post;
    std::optional<Http::BearerKeys> m_keys;
};

}
