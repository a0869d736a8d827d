#include "table/Table.hpp"

#include "care/CareAttributes.hpp"
#include "care/CareStyles.hpp"
#include "care/TableCare.hpp"
#include "components/HostComponents.hpp"
#include "components/PersonalWidgets.hpp"
#include "input/InputOverlay.hpp"
#include "input/TableInput.hpp"
#include "presentation/DataFolder.hpp"
#include "presentation/LanguageTexts.hpp"
#include "recording/RecordingNote.hpp"
#include "recording/TreeLog.hpp"
#include "services/CardLanguages.hpp"
#include "table/HostTypes.hpp"
#include "table/PluginSearch.hpp"
#include "table/ServiceSigns.hpp"
#include "table/Shelves.hpp"
#include "table/TableServices.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/DecodedFiles.hpp>
#include <Bedrock/FlagGuard.hpp>
#include <Bedrock/Inbox.hpp>
#include <Bedrock/Trace.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Lantern/PaintingThreads.hpp>
#include <Tactile/TuioInput.hpp>
#include <Tavola/AttributeCheck.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/MarkerDetectorWidget.hpp>
#include <Tavola/PluginLoader.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QEvent>

#include <optional>
#include <vector>

namespace Host
{
struct Table::Private
{
    std::unique_ptr<TreeLog> trees; ///< may be null
    ScreenView view{Vecta::Vector2f()};
    std::unique_ptr<Lantern::PaintingThreads> paintingThreads;
    std::unique_ptr<Trellis::Application> application; ///< from the first line of open on
    std::unique_ptr<TableInput> input;                 ///< from the first line of open on
    bool takesInput = false;
    bool isInFrame = false;
    std::shared_ptr<Tavola::Tavola> tavola;
    TableServices services;
    std::unique_ptr<CareAttributes> careAttributes;
    std::optional<Cascara::StyleVocabulary::Registrant> styleTypes;
    std::unique_ptr<HostComponents> hostComponents;
    std::vector<std::unique_ptr<Tavola::PluginLoader>> plugins;
    std::shared_ptr<PersonalWidgets> personalWidgets;
    std::vector<std::shared_ptr<Tavola::UIComponent>> components; ///< what the presentation uses, for as long as it is open

    static void keepDecoded(const Presentation& presentation, const TableOptions& options);
    bool loadPlugins(const QStringList& names, QString& error);
    void loadSheets(const Presentation& presentation) const;
    void placeWidgets(const Presentation& presentation);
    void clearLayers();
    void close();
};

/// The pictures and pages of this presentation are kept from one start to the next; what visitors bring or leave is not.
void Table::Private::keepDecoded(const Presentation& presentation, const TableOptions& options)
{
    const qint64 megabytes = options.decodedMegabytes.value_or(presentation.decodedMegabytes);
    if (options.decodedFolder.isEmpty() || megabytes == 0)
        return;
    Bedrock::DecodedFiles::Settings settings;
    settings.folder = options.decodedFolder;
    settings.mostBytes = megabytes << 20;
    settings.root = presentation.folder;
    settings.unkept = QStringList{dataFolder(presentation.folder, options.dataFolder), QDir::tempPath()};
    Bedrock::DecodedFiles::setShared(std::make_shared<Bedrock::DecodedFiles>(settings));
}

bool Table::Private::loadPlugins(const QStringList& names, QString& error)
{
    for (const QString& name : names) {
        auto plugin = loadPlugin(name, error);
        if (!plugin)
            return false;
        plugins.push_back(std::move(plugin));
    }
    return true;
}

void Table::Private::loadSheets(const Presentation& presentation) const
{
    const Cascara::StyleEngine::Batch sheets;
    auto& styles = Cascara::StyleEngine::instance();
    styles.addStyleSheet(careStyleSheet(presentation.pixelPitchMm), QStringLiteral("care.css"));
    if (presentation.keyboardLayout != QLatin1String("none"))
        styles.addStyleSheet(languageKeyboardSheet(), QStringLiteral("care.css"));
    for (const LanguageSheet& sheet :
         languageSheets(LanguageTexts::read(presentation.languageFolders), services.languages()->usual()))
        styles.addStyleSheet(sheet.css, sheet.file);
    for (const QString& sheet : presentation.styleSheets)
        styles.loadStyleSheet(sheet);
}

void Table::Private::placeWidgets(const Presentation& presentation)
{
    Tavola::AttributeCheck attributes; // of what is made when visitors open it
    for (auto folder : presentation.folders) {
        Tavola::ContentMenuWidget::readFiles(folder.second);
        if (attributes.run(folder.second))
            personalWidgets->add(folder.first, folder.second);
    }
    for (ComponentUse use : presentation.widgets) {
        Tavola::ContentMenuWidget::readFiles(use);
        attributes.runOnSlots(use);
        const auto component = use.makeComponent();
        if (!component)
            continue;
        components.push_back(component);
        if (const auto widget = component->createContentWidget())
            tavola->ui()->mainWidget()->addChild(widget);
    }
    putShelves(presentation, *tavola->ui()->mainWidget(), components);
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
    // No object with code of a plug-in may outlive it: functions on a thread or in a queue, widgets, their instances and
    // components, continuations of services' futures. Each is destroyed before the objects that it could create.
    if (!application)
        return;
    services.beginToClose();
    if (takesInput)
        application->removeInputSource(input->tuio());
    Bedrock::BGThread::shutdown();
    services.stopWatching();
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
    auto& inbox = Bedrock::Inbox::instance();
    auto& queue = Bedrock::AfterUpdateQueue::instance();
    do {
        inbox.clear();
        queue.clear();
        application->destroyRemovedWidgets(); // what a dropped function held may have left the tree only now
    } while (inbox.isWaiting() || !queue.isEmpty());
    careAttributes.reset();
    while (!plugins.empty())
        plugins.pop_back();
    Cascara::StyleEngine::instance().clearStyleSheets();
    Cascara::StyleEngine::instance().setChecksNames(false);
    styleTypes.reset();
    Bedrock::DecodedFiles::setShared(nullptr);
}

Table::Table() : d(std::make_unique<Private>()) {}

std::unique_ptr<Table> Table::open(const Presentation& presentation, const TableOptions& options, QString& error)
{
    std::unique_ptr<Table> table(new Table());
    Private& d = *table->d;
    d.input = TableInput::open({options.recordFile, options.replayFile}, error);
    if (!d.input)
        return nullptr;
    if (!options.treesFile.isEmpty() && !(d.trees = TreeLog::create(options.treesFile, error)))
        return nullptr;
    if (!d.services.openPeople(presentation, options, *d.input, error))
        return nullptr;
    if (d.input->isRecording())
        d.input->describe(d.services.recordingNote(presentation, options));
    const Vecta::Vector2f size =
        options.size ? Vecta::Vector2f(float(options.size->width()), float(options.size->height())) : presentation.sizePx;
    d.view = d.input->recordedSize().value_or(size);
    if (options.screen && !d.input->isReplay())
        d.view = ScreenView(options.fit.value_or(presentation.fit.value_or(ScreenFit::Scale)), size,
                            {float(options.screen->width()), float(options.screen->height())});
    d.application = std::make_unique<Trellis::Application>(d.view.layout());
    d.application->setPictureBudget(std::size_t(options.pictureMegabytes.value_or(presentation.pictureMegabytes)) << 20);
    const auto threads = options.paintingThreads ? options.paintingThreads : presentation.paintingThreads;
    d.paintingThreads = std::make_unique<Lantern::PaintingThreads>(threads.value_or(Lantern::PaintingThreads::usualCount()));
    InputSettings inputSettings = presentation.input;
    if (options.listener)
        inputSettings.listeners = {*options.listener};
    if (!d.input->start(inputSettings, d.view, presentation.pixelPitchMm, error))
        return nullptr;
    d.application->addInputSource(d.input->tuio());
    d.takesInput = true;
    d.input->plugIn();
    d.tavola = Tavola::Tavola::create();
    d.tavola->ui()->setPixelPitchMm(presentation.pixelPitchMm);
    d.tavola->ui()->setKeyboardLayout(presentation.keyboardLayout);
    d.careAttributes = std::make_unique<CareAttributes>();
    d.hostComponents = std::make_unique<HostComponents>(*d.tavola);
    d.personalWidgets = std::make_shared<PersonalWidgets>();
    if (!d.services.start(*d.tavola->services(), d.personalWidgets, presentation, options, *d.input, error))
        return nullptr;
    Private::keepDecoded(presentation, options);
    auto& styles = Cascara::StyleEngine::instance();
    styles.setPixelPitch(double(presentation.pixelPitchMm));
    styles.setMedia({d.view.layout().x, d.view.layout().y, presentation.reducedMotion});
    // The plug-ins' packages say which types and attributes the style sheets may name, on the ground of the host's.
    d.styleTypes.emplace(hostTypes(presentation));
    if (!d.loadPlugins(options.plugin.isEmpty() ? presentation.plugins : QStringList{options.plugin}, error))
        return nullptr;
    styles.setChecksNames(true);
    d.loadSheets(presentation);
    d.tavola->ui()->internalOverlayWidget()->addChild(Bedrock::makeIntrusive<Tavola::MarkerDetectorWidget>());
    d.placeWidgets(presentation);
    std::function<bool()> isMailDelayed;
    if (!presentation.mailServices.empty())
        isMailDelayed = [&services = d.services] { return services.isMailDelayed(); };
    MediaServerWatch::Ask askMediaServer;
    if (!presentation.mediaServers.empty() || !options.mediaServer.isEmpty())
        askMediaServer = [&services = d.services](MediaServerProbe::Done done) { services.askMediaServer(std::move(done)); };
    d.application->mainLayer()->addOperator(
        Bedrock::makeIntrusive<ServiceSigns>(d.services.states(), isMailDelayed, askMediaServer));
    d.tavola->ui()->mainWidget()->addOperator(
        Bedrock::makeIntrusive<TableCare>(presentation.care, presentation.pixelPitchMm, d.services.languages()));
    if (options.showInput) {
        const auto overlay = Bedrock::makeIntrusive<InputOverlay>(presentation.pixelPitchMm,
                                                                  [&input = d.input->tuio()] { return input.ignoredAreas(); });
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

QJsonObject Table::collectionState() const
{
    return d->services.collectionState();
}

QJsonArray Table::mailState() const
{
    return d->services.mailState();
}

std::optional<double> Table::frame(double dtSeconds)
{
    // A frame serves Qt's events, among them the timer that asks for frames: the one under way is enough.
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
}
