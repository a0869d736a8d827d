#include "input/TableInput.hpp"

#include "presentation/InputSettings.hpp"
#include "presentation/ScreenView.hpp"
#include "recording/RecordingNote.hpp"
#include "recording/Replay.hpp"
#include "recording/Shortened.hpp"

#include <Bedrock/Inbox.hpp>
#include <Bedrock/Trace.hpp>
#include <Tactile/DatagramPlayer.hpp>
#include <Tactile/DatagramRecorder.hpp>
#include <Tactile/TcpDatagramSource.hpp>
#include <Tactile/TuioInput.hpp>
#include <Tactile/UdpDatagramSource.hpp>

#include <QFile>
#include <QJsonObject>

#include <string>
#include <utility>
#include <vector>

namespace Host
{
namespace
{
std::string fileName(const QString& name)
{
    return QFile::encodeName(name).toStdString();
}

QString where(const InputSettings::Listener& listener, int port)
{
    const QString place = listener.address.contains(QLatin1Char(':')) ? QStringLiteral("%1[%2]:%3") : QStringLiteral("%1%2:%3");
    return place
        .arg(listener.transport == InputSettings::Transport::Tcp ? QLatin1String("tcp:") : QLatin1String(""), listener.address)
        .arg(port);
}

std::vector<Tactile::SurfaceArea> ignoredBy(const InputSettings::Listener& listener, const ScreenView& view)
{
    std::vector<Tactile::SurfaceArea> areas = listener.ignore;
    if (!listener.hasRect)
        for (const Vecta::Rect& bar : view.bars())
            if (!bar.isEmpty())
                areas.push_back(Tactile::SurfaceArea::ofRect(bar));
    return areas;
}

std::unique_ptr<Tactile::NetworkDatagramSource> makeSource(InputSettings::Transport transport, Tactile::NetworkSettings settings)
{
    if (transport == InputSettings::Transport::Tcp)
        return std::make_unique<Tactile::TcpDatagramSource>(std::move(settings));
    return std::make_unique<Tactile::UdpDatagramSource>(std::move(settings));
}
}

struct TableInput::Private
{
    struct Listening
    {
        InputSettings::Listener settings;
        const Tactile::NetworkDatagramSource* socket; ///< owned by the input
    };

    std::unique_ptr<Tactile::DatagramPlayer> player;
    std::unique_ptr<Tactile::DatagramRecorder> recorder;
    std::vector<Listening> listening;
    std::unique_ptr<Replay> replay; ///< from plugIn on, with a player
};

TableInput::TableInput() : d(std::make_unique<Private>()) {}
TableInput::~TableInput()
{
    if (d->recorder)
        Bedrock::Inbox::instance().setTap(nullptr);
}

std::unique_ptr<TableInput> TableInput::open(const Recordings& recordings, QString& error)
{
    std::unique_ptr<TableInput> input(new TableInput());
    Private& d = *input->d;
    std::string reason;
    if (!recordings.replayed.isEmpty()) {
        d.player = Tactile::DatagramPlayer::open(fileName(recordings.replayed), reason);
        if (d.player && !d.player->whyShortened().empty())
            Bedrock::Trace::warning("TableInput # Names, addresses and answers of servers are shortened in this replay (%s); put "
                                    "the private half of the recording beside it for the exact ones",
                                    d.player->whyShortened().c_str());
    } else if (!recordings.made.isEmpty()) {
        d.recorder = Tactile::DatagramRecorder::create(fileName(recordings.made), reason);
    }
    error = QString::fromStdString(reason);
    return reason.empty() ? std::move(input) : nullptr;
}

bool TableInput::isRecording() const noexcept
{
    return d->recorder != nullptr;
}

RecordingNote TableInput::recordedNote() const
{
    return d->player ? RecordingNote::fromText(d->player->note()) : RecordingNote();
}

void TableInput::describe(const RecordingNote& note)
{
    if (d->recorder)
        d->recorder->note(note.toText(), note.shortened().toText());
}

void TableInput::plugIn()
{
    if (d->player)
        d->replay = std::make_unique<Replay>();
    else if (d->recorder)
        Bedrock::Inbox::instance().setTap([recorder = d->recorder.get()](const Bedrock::Arrival& arrival) {
            if (arrival.content == Bedrock::Arrival::Content::Bytes)
                recorder->arrival(arrival, Shortened::arrival(arrival));
            else
                recorder->arrival(arrival);
        });
}

std::optional<Vecta::Vector2f> TableInput::recordedSize() const
{
    if (!d->player)
        return std::nullopt;
    const Vecta::Rect& rect = d->player->settings().tableRect;
    return Vecta::Vector2f(rect.width, rect.height);
}

bool TableInput::start(const InputSettings& given, const ScreenView& view, float pixelPitchMm, QString& error)
{
    if (d->player) {
        m_tuio = std::make_unique<Tactile::TuioInput>(d->player->settings());
        return true;
    }
    Tactile::TuioSettings settings;
    settings.tableRect = {0.f, 0.f, view.layout().x, view.layout().y};
    settings.tracker.pixelPitchMm = pixelPitchMm;
    settings.tracker.holdSeconds = given.holdSeconds;
    settings.tracker.lostSenderSeconds = given.lostSeconds;
    settings.tracker.smoothing = given.smoothing;
    m_tuio = std::make_unique<Tactile::TuioInput>(settings);
    if (d->recorder)
        m_tuio->setRecorder(d->recorder.get());

    for (const InputSettings::Listener& listener : given.listeners) {
        Tactile::NetworkSettings network;
        network.address = listener.address.toStdString();
        network.port = std::uint16_t(listener.port);
        for (const QString& sender : listener.allow)
            network.allowedSenders.push_back(sender.toStdString());
        auto source = makeSource(listener.transport, std::move(network));
        const auto* socket = source.get();
        const Vecta::Rect rect =
            listener.hasRect ? Vecta::Rect{listener.x, listener.y, listener.width, listener.height} : view.screenInLayout();
        if (!m_tuio->addSource(std::move(source), rect)) {
            error = QString::fromStdString(m_tuio->errorText());
            return false;
        }
        const std::vector<Tactile::SurfaceArea> ignored = ignoredBy(listener, view);
        if (!ignored.empty())
            m_tuio->setIgnoredAreas(d->listening.size(), ignored);
        d->listening.push_back({listener, socket});
    }
    return true;
}

std::optional<double> TableInput::nextStep(double dtSeconds)
{
    if (d->player) {
        auto frame = d->player->nextFrame(*m_tuio);
        if (!frame)
            return std::nullopt;
        d->replay->expect(frame->number, std::move(frame->arrivals));
        return frame->dtSeconds;
    }
    if (d->recorder)
        d->recorder->frameBegins(dtSeconds);
    return dtSeconds;
}

bool TableInput::isReplay() const noexcept
{
    return d->player != nullptr;
}

int TableInput::port() const
{
    return d->listening.empty() ? 0 : d->listening.front().socket->port();
}

QJsonArray TableInput::listeners() const
{
    QJsonArray result;
    for (const Private::Listening& one : d->listening)
        result.append(QJsonObject{{"tuio", where(one.settings, one.socket->port())},
                                  {"refusedSenders", qint64(one.socket->refusedSenders())},
                                  {"ignoredAreas", int(one.settings.ignore.size())},
                                  {"silentConnections", qint64(one.socket->silentConnections())}});
    return result;
}

QString recordedPresentation(const QString& recording, QString& error)
{
    std::string reason;
    const auto player = Tactile::DatagramPlayer::open(fileName(recording), reason);
    const QString presentation = player ? RecordingNote::fromText(player->note()).presentation : QString();
    if (presentation.isEmpty())
        error = player ? QStringLiteral("the recording does not say which presentation it was made with; give its folder after "
                                        "the recording")
                       : QString::fromStdString(reason);
    return presentation;
}
}
