#pragma once

#include <Tavola/HttpClient.hpp>
#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QUrl>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

namespace Host
{
/// The media server, reached by JSON over HTTP POST. Main thread only; futures are completed there.
/// A future fails with a text for people: the server is away, is too slow, sends too much, closes the connection, answers with
/// a redirection (not followed: commands go to the address that was configured) or with what MediaServerAnswer refuses.
/// Each command is sent at most once, on a connection of its own. A command whose "tessel" is a number outside 0 to 2^53 − 1,
/// which JSON cannot carry exactly, fails without being sent. The first page address that opens on this machine alone is logged
/// as a warning.
class MediaServerService final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// Answers are short; a longer one is refused.
    static constexpr qint64 kLargestAnswerBytes = 1 << 20;

    /// `timeoutSeconds` bounds a whole exchange, however slowly its bytes arrive. A user name and password in `address` are sent
    /// as Basic credentials; `key`, when there is one, as a bearer token in their place.
    MediaServerService(const QUrl& address, double timeoutSeconds, const QByteArray& key = {});
    /// Returns the language of a card; empty where it has none. Called in `request`.
    using LanguageOf = std::function<QString(unsigned long code)>;
    /// Sets the function for the header "Accept-Language" of commands about a card; without it they have none.
    void setLanguageOf(LanguageOf languageOf) { m_languageOf = std::move(languageOf); }
    /// Fails the futures of the commands that are under way.
    ~MediaServerService() override;

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    struct Exchange;

    /// What is wrong with an answer, to stand after the server's name; empty when it is the JSON object in `object`.
    [[nodiscard]] QString read(const Tavola::HttpAnswer& answer, QJsonObject& object);
    void end(std::uint64_t number, const Tavola::HttpAnswer& answer);
    [[nodiscard]] std::runtime_error failure(const QString& what) const;
    void warnOfLocalPage(const QJsonObject& answer);

    QUrl m_address;
    double m_timeoutSeconds;
    QByteArray m_key;
    LanguageOf m_languageOf;
    bool m_hasWarned = false; ///< of page addresses that no phone can open
    std::uint64_t m_last = 0;
    std::map<std::uint64_t, std::unique_ptr<Exchange>> m_exchanges; ///< by number
    Tavola::HttpClient m_client;
};
}
