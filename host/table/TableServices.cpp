#include "table/TableServices.hpp"

#include "care/SpokenLanguage.hpp"
#include "components/PersonalWidgets.hpp"
#include "input/TableInput.hpp"
#include "presentation/DataFolder.hpp"
#include "presentation/Presentation.hpp"
#include "recording/RecordingNote.hpp"
#include "services/CardLanguages.hpp"
#include "services/InboxEmail.hpp"
#include "services/InboxMediaServer.hpp"
#include "services/MarkerService.hpp"
#include "services/MediaServerService.hpp"
#include "services/MediaServerWatch.hpp"
#include "services/PeopleRegistry.hpp"
#include "services/PeopleWatch.hpp"
#include "services/ServiceStates.hpp"
#include "services/collections/CollectionService.hpp"
#include "services/collections/InboxCollections.hpp"
#include "services/content/ContentMediaServer.hpp"
#include "services/content/ContentStream.hpp"
#include "services/email/OutboxService.hpp"
#include "table/TableOptions.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/CollectedFiles.hpp>
#include <Tavola/Network.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Widget.hpp>

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Host
{
namespace
{
std::vector<MediaServerSettings> mediaServersOf(const Presentation& presentation, const TableOptions& options)
{
    std::vector<MediaServerSettings> mediaServers = presentation.mediaServers;
    if (!options.mediaServer.isEmpty()) {
        if (mediaServers.empty())
            mediaServers.emplace_back();
        mediaServers.resize(1);
        mediaServers.front().address = options.mediaServer;
    }
    return mediaServers;
}

bool keepsMail(const OutboxService* service)
{
    if (!service)
        return false;
    const QJsonObject state = service->state();
    return state.value(QLatin1String("queued")).toInt() + state.value(QLatin1String("sending")).toInt() > 0;
}

/// For what a database still has to do; together with an attempt to connect that has begun it stays below five seconds.
constexpr std::chrono::seconds kLongestClosing{2};

/// The file of this table that content of that name was described with last.
QString collectedPath(const QString& name)
{
    const auto application = Tavola::Tavola::instance();
    return application ? application->part<Tavola::CollectedFiles>().path(name) : QString();
}
}

TableServices::TableServices() : m_states(std::make_shared<ServiceStates>()), m_languages(std::make_shared<CardLanguages>()) {}
TableServices::~TableServices() = default;

bool TableServices::openPeople(const Presentation& presentation, const TableOptions& options, const TableInput& input,
                               QString& error)
{
    if (presentation.peopleFile.isEmpty())
        return true;
    // A replay writes to the registry, which must not be that of other tables.
    m_people = PeopleRegistry::openFor(input.isReplay() ? QString() : presentation.database,
                                       dataFolder(presentation.folder, options.dataFolder), PeopleRegistry::Copy::Kept, error);
    const QString file = dataFolder(presentation.folder, options.dataFolder) + QStringLiteral("/people.sqlite");
    if (m_people && m_people->isShared() && QFileInfo::exists(file))
        Bedrock::Trace::warning(
            "PeopleRegistry # %s has people from before the presentation had a \"database\", which are not in "
            "it: end the table, and run tavola people import %s %s",
            qUtf8Printable(file), qUtf8Printable(presentation.folder), qUtf8Printable(file));
    if (m_people && m_people->isNew()) {
        bool complete = false;
        m_people->beginWith(input.isReplay() ? PeopleFile::parse(input.recordedNote().people, options.replayFile, complete)
                                             : PeopleFile::read(presentation.peopleFile, complete));
    }
    return m_people != nullptr;
}

RecordingNote TableServices::recordingNote(const Presentation& presentation, const TableOptions& options) const
{
    RecordingNote note;
    note.presentation = QDir(presentation.folder).absolutePath();
    for (const MediaServerSettings& settings : mediaServersOf(presentation, options))
        note.mediaServers << settings.name;
    auto known = m_people ? m_people->people() : std::nullopt;
    if (!known && m_people)
        known = m_people->copiedPeople();
    if (known)
        note.people = PeopleFile::format(*known);
    return note;
}

bool TableServices::start(Tavola::ServiceProvider& provider, const std::shared_ptr<PersonalWidgets>& personalWidgets,
                          const Presentation& presentation, const TableOptions& options, const TableInput& input, QString& error)
{
    m_languages->setUsual(options.language.isEmpty() ? presentation.language : options.language);
    if (m_people)
        startPeople(provider, personalWidgets, input.isReplay());
    startMediaServers(provider, presentation, options, input);
    return startCollections(provider, presentation, options, input.isReplay(), error)
        && startMail(provider, presentation, options, input, error);
}

void TableServices::startPeople(Tavola::ServiceProvider& provider, const std::shared_ptr<PersonalWidgets>& personalWidgets,
                                bool isReplay)
{
    auto service = std::make_shared<MarkerService>(m_people, provider.tesselServiceCache(), m_languages);
    service->setPersonalWidgets(
        [weak = std::weak_ptr(personalWidgets)](const QString& contentKey) -> MarkerService::PersonalWidget {
            if (const auto widgets = weak.lock())
                return widgets->widget(contentKey);
            return boost::make_unexpected(QStringLiteral("the table is closing"));
        });
    provider.setTesselService(service);
    // People are registered at a desk while the table runs. The registry of a replay has its own file, which the desk of the day
    // did not write to; a registration at the table looks there.
    PeopleWatch::Received received;
    if (isReplay)
        received = [people = m_people](const std::vector<Person>& known) { people->insert(known); };
    m_peopleWatch = std::make_unique<PeopleWatch>(m_people, service, std::move(received), m_states);
}

void TableServices::startMediaServers(Tavola::ServiceProvider& provider, const Presentation& presentation,
                                      const TableOptions& options, const TableInput& input)
{
    const QString type = QStringLiteral("media-server-service");
    if (input.isReplay()) {
        for (const QString& name : input.recordedNote().mediaServers)
            provider.addService(type, name, std::make_shared<InboxMediaServer>(nullptr, m_states));
        return;
    }
    const std::vector<MediaServerSettings> mediaServers = mediaServersOf(presentation, options);
    // What the plug-in loads, the QR pictures of pages, comes from the media server, too.
    Tavola::NetworkLimits limits;
    if (!mediaServers.empty())
        limits.timeoutSeconds = mediaServers.front().timeoutSeconds;
    Tavola::setNetworkLimits(limits);
    if (!mediaServers.empty())
        m_mediaServerProbe =
            std::make_unique<MediaServerProbe>(QUrl(mediaServers.front().address), mediaServers.front().timeoutSeconds);
    for (const MediaServerSettings& settings : mediaServers) {
        auto server = std::make_shared<MediaServerService>(QUrl(settings.address), settings.timeoutSeconds, settings.key);
        server->setLanguageOf([languages = m_languages](unsigned long code) { return languages->ownOfCard(code); });
        ContentStream::Settings content;
        content.address = QUrl(settings.address);
        content.key = settings.key;
        content.timeoutSeconds = settings.timeoutSeconds;
        content.queueFile = contentQueueFile(dataFolder(presentation.folder, options.dataFolder), settings.name);
        auto withContent =
            std::make_shared<ContentMediaServer>(std::move(server), std::make_unique<ContentStream>(content), &collectedPath);
        provider.addService(type, settings.name, std::make_shared<InboxMediaServer>(std::move(withContent), m_states));
    }
}

bool TableServices::startCollections(Tavola::ServiceProvider& provider, const Presentation& presentation,
                                     const TableOptions& options, bool isReplay, QString& error)
{
    if (!presentation.collections)
        return true;
    const auto place = CollectionPlace::of(presentation.collectionsDatabase(),
                                           collectionsFile(dataFolder(presentation.folder, options.dataFolder)));
    if (!place) {
        error = place.error();
        return false;
    }
    const QString file = collectionsFile(dataFolder(presentation.folder, options.dataFolder));
    if (place->isShared() && !isReplay && QFileInfo::exists(file))
        Bedrock::Trace::warning(
            "CollectionService # %s has what cards collected before the presentation had a \"database\", which "
            "is not shown: end the table, and run tavola collections import %s --data %s",
            qUtf8Printable(file), qUtf8Printable(presentation.folder),
            qUtf8Printable(dataFolder(presentation.folder, options.dataFolder)));
    std::shared_ptr<CollectionService> service;
    if (!isReplay)
        service = std::make_shared<CollectionService>(*place, *presentation.collections,
                                                      place->isShared() ? CollectionService::Watch::Others
                                                                        : CollectionService::Watch::No);
    provider.addService(QStringLiteral("collection-store"), QString(),
                        std::make_shared<InboxCollections>(
                            service, place->isShared() ? InboxCollections::Sharing::Shared : InboxCollections::Sharing::Own));
    m_collections = service;
    return true;
}

bool TableServices::startMail(Tavola::ServiceProvider& provider, const Presentation& presentation, const TableOptions& options,
                              const TableInput& input, QString& error)
{
    if (!options.mailServer.isEmpty() && presentation.mailServices.empty()) {
        error = QStringLiteral("--mail-server: the presentation has no e-mail service whose server it could replace");
        return false;
    }
    const QString type = QStringLiteral("email-service");
    const QString data = dataFolder(presentation.folder, options.dataFolder);
    for (MailSettings settings : presentation.mailServices) {
        if (input.isReplay()) {
            const auto replayed = std::make_shared<InboxEmail>(settings.textTemplate);
            replayed->showDelay({}, m_states);
            provider.addService(type, settings.name, replayed);
            continue;
        }
        if (!options.mailServer.isEmpty())
            settings.server = options.mailServer;
        const auto service = OutboxService::open(settings, outboxFolder(data, settings.name), error);
        if (!service)
            return false;
        m_mailServices.push_back(service);
        removeSent(*service);
        service->setLanguagesOf([languages = m_languages](const QString& address) {
            const auto application = Tavola::Tavola::instance();
            QString own = application ? languageOfSender(*application->ui()->mainWidget(), address) : QString();
            if (own.isEmpty())
                own = languages->ofOwner(address);
            return languages->chain(own);
        });
        const auto email = std::make_shared<InboxEmail>(service);
        email->showDelay([weak = std::weak_ptr(service)] { return keepsMail(weak.lock().get()); }, m_states);
        provider.addService(type, settings.name, email);
    }
    return true;
}

void TableServices::removeSent(const OutboxService& mail) const
{
    const auto collections = m_collections.lock();
    if (!collections)
        return;
    for (const auto& sent : mail.sentItems())
        for (const QString& key : sent.keys) {
            CollectionService::Change removal{CollectionService::Change::Kind::Remove, sent.code, {}};
            removal.item.key = key;
            collections->change(std::move(removal));
        }
}

void TableServices::askMediaServer(std::function<void(bool isThere)> done) const
{
    if (m_mediaServerProbe)
        m_mediaServerProbe->ask(std::move(done));
}

void TableServices::beginToClose()
{
    if (m_people)
        m_people->endWithin(kLongestClosing);
    if (const auto collections = m_collections.lock())
        collections->endWithin(kLongestClosing);
}

void TableServices::stopWatching()
{
    m_mediaServerProbe.reset();
    m_peopleWatch.reset();
    // The pictures of what was collected go with the application.
    if (const auto collections = m_collections.lock())
        collections->waitUntilIdle();
}

bool TableServices::isMailDelayed() const
{
    return std::any_of(m_mailServices.begin(), m_mailServices.end(),
                       [](const auto& weak) { return keepsMail(weak.lock().get()); });
}

QJsonObject TableServices::collectionState() const
{
    const auto service = m_collections.lock();
    return service ? service->state() : QJsonObject();
}

QJsonArray TableServices::mailState() const
{
    QJsonArray result;
    for (const auto& weak : m_mailServices)
        if (const auto service = weak.lock())
            result.append(service->state());
    return result;
}
}
