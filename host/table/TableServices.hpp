#pragma once

#include "services/PeopleFile.hpp"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Tavola
{
class ServiceProvider;
}

namespace Host
{
class CardLanguages;
class CollectionService;
class MediaServerProbe;
class OutboxService;
class PeopleRegistry;
class PeopleWatch;
class PersonalWidgets;
class ServiceStates;
class TableInput;
struct Presentation;
struct RecordingNote;
struct TableOptions;

/// The services of a table: the registry of people, the media servers, e-mail and the store of collections, as the presentation
/// and the options name them. All but the registry live in the ServiceProvider. Main thread only.
class TableServices
{
public:
    TableServices();
    ~TableServices();
    TableServices(const TableServices&) = delete;
    TableServices& operator=(const TableServices&) = delete;

    /// Opens the registry of people, if the presentation has people; a new registry is filled from the presentation's file, in a
    /// replay from the recording. False, with the reason in `error`, when it cannot be opened.
    [[nodiscard]] bool openPeople(const Presentation& presentation, const TableOptions& options, const TableInput& input,
                                  QString& error);
    /// The note that a recording of this table begins with. After openPeople.
    [[nodiscard]] RecordingNote recordingNote(const Presentation& presentation, const TableOptions& options) const;
    /// Enters all services into `provider` and begins to watch the registry. False, with the reason in `error`, when an e-mail
    /// service cannot open its outbox. After openPeople, once.
    [[nodiscard]] bool start(Tavola::ServiceProvider& provider, const std::shared_ptr<PersonalWidgets>& personalWidgets,
                             const Presentation& presentation, const TableOptions& options, const TableInput& input,
                             QString& error);
    /// What does not work at present. The services keep it.
    [[nodiscard]] const std::shared_ptr<ServiceStates>& states() const noexcept { return m_states; }
    /// The languages of the cards and their owners. Never null.
    [[nodiscard]] const std::shared_ptr<CardLanguages>& languages() const noexcept { return m_languages; }
    /// Asks whether the media server that is used is there; see MediaServerProbe. Without one `done` is never called.
    void askMediaServer(std::function<void(bool isThere)> done) const;
    /// Whether an outbox keeps mail that no server has yet. Does not block.
    [[nodiscard]] bool isMailDelayed() const;
    /// To be called before anything else when the table begins to close: a database that hangs costs it a few seconds altogether.
    void beginToClose();
    /// Ends the watch on the registry, and waits until collections are stored or cannot be. Call when the table begins to close.
    void stopWatching();
    /// The state of each e-mail service, for the inspector. Does not block.
    [[nodiscard]] QJsonArray mailState() const;
    /// The state of the store of collections, for the inspector; empty without one. Does not block.
    [[nodiscard]] QJsonObject collectionState() const;

private:
    void startPeople(Tavola::ServiceProvider& provider, const std::shared_ptr<PersonalWidgets>& personalWidgets, bool isReplay);
    void startMediaServers(Tavola::ServiceProvider& provider, const Presentation& presentation, const TableOptions& options,
                           const TableInput& input);
    bool startCollections(Tavola::ServiceProvider& provider, const Presentation& presentation, const TableOptions& options,
                          bool isReplay, QString& error);
    /// What a letter has is removed from the collections, should the program have ended before that.
    void removeSent(const OutboxService& mail) const;
    bool startMail(Tavola::ServiceProvider& provider, const Presentation& presentation, const TableOptions& options,
                   const TableInput& input, QString& error);

    std::shared_ptr<ServiceStates> m_states;    ///< never null
    std::shared_ptr<CardLanguages> m_languages; ///< never null
    std::shared_ptr<PeopleRegistry> m_people;   ///< null without people
    std::unique_ptr<PeopleWatch> m_peopleWatch;
    std::unique_ptr<MediaServerProbe> m_mediaServerProbe; ///< null without a media server
    std::vector<std::weak_ptr<OutboxService>> m_mailServices;
    std::weak_ptr<CollectionService> m_collections;
};
}
