#include "table/Table.hpp"

#include "components/HostComponents.hpp"
#include "components/PersonalWidgets.hpp"
#include "components/TemporaryWidgets.hpp"
#include "input/InputOverlay.hpp"
#include "input/TableInput.hpp"
#include "presentation/DataFolder.hpp"
#include "recording/PeopleWatch.hpp"
#include "recording/RecordedServices.hpp"
#include "recording/RecordingNote.hpp"
#include "recording/TemporaryPlace.hpp"
#include "recording/TreeLog.hpp"
#include "services/MarkerService.hpp"
#include "services/MediaServerService.hpp"
#include "services/PeopleRegistry.hpp"
#include "services/email/OutboxService.hpp"
#include "table/PluginSearch.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Arrivals.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/FlagGuard.hpp>
#include <Bedrock/Trace.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Tactile/TuioInput.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/MarkerDetectorWidget.hpp>
#include <Tavola/PluginLoader.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QTimer>
#include <QUrl>

#include <vector>

struct Table::Private
{
    std::unique_ptr<TemporaryPlace> temporaryPlace;    ///< of a table that is recorded or replayed
    std::unique_ptr<TreeLog> trees;                    ///< may be null
    std::unique_ptr<Trellis::Application> application; ///< from the first line of open on
    std::unique_ptr<TableInput> input;                 ///< from the first line of open on
    bool takesInput = false;
    bool isInFrame = false;
    std::shared_ptr<Tavola::Tavola> tavola;
    std::vector<std::weak_ptr<OutboxService>> mailServices; ///< they live with `tavola`
    std::shared_ptr<PeopleRegistry> people;                 ///< null without people
    QTimer peopleTimer;
    std::unique_ptr<PeopleWatch> peopleWatch; ///< in place of the timer, of a table that is recorded or replayed
    std::unique_ptr<HostComponents> hostComponents;
    std::vector<std::unique_ptr<Tavola::PluginLoader>> plugins;
    std::shared_ptr<PersonalWidgets> personalWidgets;
    std::vector<std::shared_ptr<Tavola::UIComponent>> components; ///< what the presentation uses, for as long as it is open

    /// Whether results of asynchronous work come in an order that is, or was, recorded.
    [[nodiscard]] bool isOrdered() const { return input->isRecording() || input->isReplay(); }
    bool openPeople(const Presentation& presentation, const RunOptions& options, QString& error);
    [[nodiscard]] RecordingNote describe(const Presentation& presentation, const RunOptions& options) const;
    bool openServices(const Presentation& presentation, const RunOptions& options, QString& error);
    bool openMail(const Presentation& presentation, const RunOptions& options, QString& error);
    bool loadPlugins(const Presentation& presentation, const RunOptions& options, QString& error);
    void placeWidgets(const Presentation& presentation);
    void clearLayers();
    void close();
};

bool Table::Private::openPeople(const Presentation& presentation, const RunOptions& options, QString& error)
{
    if (presentation.peopleFile.isEmpty())
        return true;
    people = PeopleRegistry::open(dataFolder(presentation.folder, options.dataFolder) + QStringLiteral("/people.sqlite"), error);
    if (people && people->isNew()) {
        bool complete = false;
        people->beginWith(input->isReplay() ? PeopleFile::parse(input->recordedNote().people, options.replayFile, complete)
                                            : PeopleFile::read(presentation.peopleFile, complete));
    }
    return people != nullptr;
}

namespace
{
std::vector<MediaServerSettings> mediaServersOf(const Presentation& presentation, const RunOptions& options)
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
}

RecordingNote Table::Private::describe(const Presentation& presentation, const RunOptions& options) const
{
    RecordingNote note;
    note.presentation = QDir(presentation.folder).absolutePath();
    for (const MediaServerSettings& settings : mediaServersOf(presentation, options))
        note.mediaServers << settings.name;
    const auto known = people ? people->people() : std::nullopt;
    if (known)
        note.people = PeopleFile::format(*known);
    return note;
}

bool Table::Private::openServices(const Presentation& presentation, const RunOptions& options, QString& error)
{
    Tavola::ServiceProvider& services = *tavola->services();
    if (people) {
        auto service = std::make_shared<MarkerService>(people, services.tesselServiceCache());
        service->fillCache();
        service->setPersonalWidgets(
            [weak = std::weak_ptr(personalWidgets)](const QString& contentKey) -> MarkerService::PersonalWidget {
                if (const auto widgets = weak.lock())
                    return widgets->widget(contentKey);
                return boost::make_unexpected(QStringLiteral("the table is closing"));
            });
        services.setTesselService(service);
        // People are registered at a desk while the table runs.
        if (isOrdered()) {
            peopleWatch = std::make_unique<PeopleWatch>(people, service);
        } else {
            constexpr int kLookForPeopleEveryMs = 2000;
            QObject::connect(&peopleTimer, &QTimer::timeout, &peopleTimer, [service] { service->refreshCache(); });
            peopleTimer.start(kLookForPeopleEveryMs);
        }
    }
    const QString mediaServerType = QStringLiteral("media-server-service");
    if (input->isReplay()) {
        for (const QString& name : input->recordedNote().mediaServers)
            services.addService(mediaServerType, name, std::make_shared<RecordedMediaServer>(nullptr));
        return openMail(presentation, options, error);
    }
    for (const MediaServerSettings& settings : mediaServersOf(presentation, options)) {
        const auto server = std::make_shared<MediaServerService>(QUrl(settings.address), settings.timeoutSeconds);
        if (input->isRecording())
            services.addService(mediaServerType, settings.name, std::make_shared<RecordedMediaServer>(server));
        else
            services.addService(mediaServerType, settings.name, server);
    }
    return openMail(presentation, options, error);
}

bool Table::Private::openMail(const Presentation& presentation, const RunOptions& options, QString& error)
{
    if (!options.mailServer.isEmpty() && presentation.mailServices.empty()) {
        error = QStringLiteral("--mail-server: the presentation has no e-mail service whose server it could replace");
        return false;
    }
    const QString type = QStringLiteral("email-service");
    const QString data = dataFolder(presentation.folder, options.dataFolder);
    for (MailSettings settings : presentation.mailServices) {
        if (input->isReplay()) {
            tavola->services()->addService(type, settings.name, std::make_shared<RecordedEmail>(nullptr, settings.textTemplate));
            continue;
        }
        if (!options.mailServer.isEmpty())
            settings.server = options.mailServer;
        const auto service = OutboxService::open(settings, outboxFolder(data, settings.name), error);
        if (!service)
            return false;
        mailServices.push_back(service);
        if (input->isRecording())
            tavola->services()->addService(type, settings.name, std::make_shared<RecordedEmail>(service, settings.textTemplate));
        else
            tavola->services()->addService(type, settings.name, service);
    }
    return true;
}

bool Table::Private::loadPlugins(const Presentation& presentation, const RunOptions& options, QString& error)
{
    const QStringList wanted = options.plugin.isEmpty() ? presentation.plugins : QStringList{options.plugin};
    for (const QString& name : wanted) {
        const QString path = findPlugin(name);
        if (path.isEmpty()) {
            error = isPluginPath(name) ? QStringLiteral("there is no plug-in file %1").arg(name)
                                       : QStringLiteral("there is no plug-in %1; looked for in %2")
                                             .arg(name, pluginFolders().join(QStringLiteral(", ")));
            return false;
        }
        QString reason;
        auto plugin = Tavola::PluginLoader::load(path, reason);
        if (!plugin) {
            error = QStringLiteral("plug-in %1 cannot be loaded: %2").arg(path, reason);
            return false;
        }
        plugins.push_back(std::move(plugin));
    }
    return true;
}

void Table::Private::placeWidgets(const Presentation& presentation)
{
    for (const auto& folder : presentation.folders) {
        Tavola::ContentMenuWidget::readFiles(folder.second);
        personalWidgets->add(folder.first, folder.second);
    }
    for (const ComponentUse& use : presentation.widgets) {
        Tavola::ContentMenuWidget::readFiles(use);
        const auto component = use.makeComponent();
        if (!component)
            continue;
        components.push_back(component);
        if (const auto widget = component->createContentWidget())
            tavola->ui()->mainWidget()->addChild(widget);
    }
}

void Table::Private::clearLayers()
{
    const Tavola::UserInterface& ui = *tavola->ui();
    for (const auto& layer : {ui.internalOverlayWidget(), ui.overlayWidget(), ui.mainWidget(), ui.background()}) {
        while (!layer->children().empty())
            layer->children().back()->removeFromParent();
    }
}

void Table::Private::close()
{
    // Nothing that holds code of a plug-in may outlive it: functions that wait on a thread or in a queue, widgets, their
    // instances and components, answers that services owe. They go in the order in which one could make the other.
    if (!application)
        return;
    if (takesInput)
        application->removeInputSource(input->tuio());
    Bedrock::BGThread::shutdown();
    peopleWatch.reset();
    personalWidgets.reset();
    if (tavola)
        clearLayers();
    components.clear();
    application->destroyRemovedWidgets();
    hostComponents.reset();
    tavola.reset(); // with the layers, the instances and the services; waits for snapshots that are being written
    application->destroyRemovedWidgets();
    // Destructors may have begun a new thread, and left objects for Qt to delete.
    Bedrock::BGThread::shutdown();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Bedrock::Arrivals::instance().stop();
    while (!Bedrock::AfterUpdateQueue::instance().isEmpty()) {
        Bedrock::AfterUpdateQueue::instance().clear();
        application->destroyRemovedWidgets(); // what a dropped function held may have left the tree only now
    }
    while (!plugins.empty())
        plugins.pop_back();
    Cascara::StyleEngine::instance().clearStyleSheets();
}

Table::Table() : d(std::make_unique<Private>()) {}

std::unique_ptr<Table> Table::open(const Presentation& presentation, const RunOptions& givenOptions, QString& error)
{
    std::unique_ptr<Table> table(new Table());
    Private& d = *table->d;
    RunOptions options = givenOptions;
    d.input = TableInput::open(options, error);
    if (!d.input)
        return nullptr;
    if (d.isOrdered()) {
        d.temporaryPlace = std::make_unique<TemporaryPlace>();
        if (!d.temporaryPlace->isValid()) {
            error = QStringLiteral("no folder can be made in %1 for temporary files").arg(QDir::tempPath());
            return nullptr;
        }
        if (d.input->isReplay() && options.dataFolder.isEmpty())
            options.dataFolder = d.temporaryPlace->path() + QStringLiteral("/data");
    }
    if (!options.treesFile.isEmpty() && !(d.trees = TreeLog::create(options.treesFile, error)))
        return nullptr;
    if (!d.openPeople(presentation, options, error))
        return nullptr;
    if (d.input->isRecording())
        d.input->describe(d.describe(presentation, options));
    const Vecta::Vector2f size =
        options.size ? Vecta::Vector2f(float(options.size->width()), float(options.size->height())) : presentation.sizePx;
    d.application = std::make_unique<Trellis::Application>(d.input->recordedSize().value_or(size));
    if (!d.input->start(presentation, options, d.application->size(), error))
        return nullptr;
    d.application->addInputSource(d.input->tuio());
    d.takesInput = true;
    d.input->orderArrivals();
    d.tavola = Tavola::Tavola::create();
    d.tavola->ui()->setPixelPitchMm(presentation.pixelPitchMm);
    d.tavola->ui()->setKeyboardLayout(presentation.keyboardLayout);
    d.hostComponents = std::make_unique<HostComponents>(*d.tavola);
    d.personalWidgets = std::make_shared<PersonalWidgets>();
    if (!d.openServices(presentation, options, error))
        return nullptr;
    for (const QString& sheet : presentation.styleSheets)
        Cascara::StyleEngine::instance().loadStyleSheet(sheet);
    if (!d.loadPlugins(presentation, options, error))
        return nullptr;
    d.tavola->ui()->internalOverlayWidget()->addChild(Bedrock::makeIntrusive<Tavola::MarkerDetectorWidget>());
    d.placeWidgets(presentation);
    d.tavola->ui()->mainWidget()->addOperator(Bedrock::makeIntrusive<TemporaryWidgets>(presentation.closeTemporaryAfterSeconds));
    if (options.showInput) {
        const auto overlay = Bedrock::makeIntrusive<InputOverlay>(presentation.pixelPitchMm);
        overlay->postConstruct();
        d.tavola->ui()->internalOverlayWidget()->addChild(overlay);
    }
    return table;
}

Table::~Table()
{
    d->close();
}

Trellis::Application& Table::application() const noexcept
{
    return *d->application;
}

QJsonArray Table::mailState() const
{
    QJsonArray result;
    for (const auto& weak : d->mailServices)
        if (const auto service = weak.lock())
            result.append(service->state());
    return result;
}

std::optional<double> Table::frame(double dtSeconds)
{
    // Qt's events may bring the timer that turns the crank: the frame that is under way is the one it wants.
    if (d->isInFrame)
        return 0.0;
    const Bedrock::FlagGuard inFrame(d->isInFrame);
    const std::optional<double> step = d->input->nextStep(dtSeconds);
    if (step) {
        d->application->frame(*step);
        if (d->trees)
            d->trees->write(d->application->frameNumber(), *d->application->mainLayer());
    }
    return step;
}

bool Table::isReplay() const noexcept
{
    return d->input->isReplay();
}

const Tactile::TuioInput& Table::input() const noexcept
{
    return d->input->tuio();
}

QJsonArray Table::listeners() const
{
    return d->input->listeners();
}

int Table::tuioPort() const noexcept
{
    return d->input->port();
}
