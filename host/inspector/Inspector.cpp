#include "Inspector.hpp"

#include "GrabReport.hpp"
#include "PngWriting.hpp"
#include "StyleReport.hpp"
#include "TableLog.hpp"
#include "WidgetReport.hpp"

#include <Lantern/PaintingThreads.hpp>
#include <Tactile/TuioInput.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FontRules.hpp>
#include <Trellis/Widget.hpp>

#include <QElapsedTimer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cstdint>
#include <iterator>

namespace Host
{
namespace
{
constexpr int kMostFrames = 100000;
constexpr double kLongestStep = 10.0;

template <class Json>
QByteArray bytes(const Json& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
}

LoopbackHttpServer::Response refusal(int status, const QByteArray& text)
{
    return {status, "text/plain; charset=utf-8", text + '\n'};
}

QJsonObject dropReport(const Tactile::TuioDrops& drops)
{
    static const char* const kNames[] = {"malformed", "late",      "notFinite",  "outOfRange",     "notAlive",
                                         "fingerCap", "markerCap", "sourceCap",  "unknownMessage", "queueFull",
                                         "noFrame",   "unclosed",  "ignoredArea"};
    static_assert(std::size(kNames) == Tactile::kTuioDropCount, "one name for each cause");
    QJsonObject report;
    for (std::size_t i = 0; i < drops.size(); ++i)
        report.insert(QLatin1String(kNames[i]), qint64(drops[i]));
    return report;
}

/// The numbers of frames without an end by profile; profiles without any are left out.
QJsonObject unclosedReport(const Tactile::TuioSourceCounters& source)
{
    QJsonObject report;
    for (std::size_t i = 0; i < source.unclosed.size(); ++i)
        if (source.unclosed[i].count > 0)
            report.insert(QLatin1String(Tactile::kTuioProfileNames[i]), qint64(source.unclosed[i].count));
    return report;
}

/// The numbers of malformed packets by the kind of mistake; kinds without any are left out.
QJsonObject refusalReport(const std::array<std::uint64_t, Tactile::kOscRefusalCount>& refusals)
{
    QJsonObject report;
    for (std::size_t i = 0; i < refusals.size(); ++i)
        if (refusals[i] > 0)
            report.insert(QLatin1String(Tactile::describe(static_cast<Tactile::OscRefusal>(i))), qint64(refusals[i]));
    return report;
}

const Trellis::Widget* findById(const Trellis::Widget& widget, qint64 id)
{
    if (widget.id() == id)
        return &widget;
    for (const auto& child : widget.children())
        if (const Trellis::Widget* found = findById(*child, id))
            return found;
    return nullptr;
}

const char* const kIndex = "GET  /tree            the widgets\n"
                           "GET  /styles?id=N     what the style sheets say about a widget, and where; its id is in /tree\n"
                           "GET  /screenshot.png  the table as it stands; ?rect=x,y,width,height for a part\n"
                           "GET  /log             log lines\n"
                           "GET  /analytics       what visitors did\n"
                           "GET  /input           counts of the table's input\n"
                           "GET  /grabs           the cards on the table and the widgets that hold them\n"
                           "GET  /mail            the outbox of each e-mail service\n"
                           "GET  /collections     whether what was collected is on the disk\n"
                           "GET  /status          time, frames, what is under way, memory of kept pictures\n"
                           "POST /frames?count=N&dt=SECONDS   run frames (manual clock only)\n";
}

Inspector::Inspector(const Subject& subject)
    : m_subject(subject), m_server([this](const LoopbackHttpServer::Request& request) { return answer(request); })
{
}

LoopbackHttpServer::Response Inspector::answer(const LoopbackHttpServer::Request& request)
{
    if (request.path == QLatin1String("/frames"))
        return request.method == "POST" ? runFrames(request) : refusal(405, "POST /frames?count=N&dt=SECONDS");
    if (request.method != "GET")
        return refusal(405, "only GET here");
    if (request.path == QLatin1String("/"))
        return refusal(200, kIndex);
    if (request.path == QLatin1String("/tree"))
        return {200, "application/json", bytes(widgetReport(*m_subject.application.mainLayer()))};
    if (request.path == QLatin1String("/screenshot.png"))
        return screenshot(request);
    if (request.path == QLatin1String("/styles"))
        return styles(request);
    if (request.path == QLatin1String("/log"))
        return {200, "application/json", bytes(m_subject.log.lines())};
    if (request.path == QLatin1String("/analytics"))
        return {200, "application/json", bytes(m_subject.log.analytics())};
    if (request.path == QLatin1String("/input"))
        return {200, "application/json", inputReport()};
    if (request.path == QLatin1String("/grabs"))
        return {200, "application/json", bytes(grabReport(*m_subject.application.grabManager()))};
    if (request.path == QLatin1String("/mail"))
        return {200, "application/json", bytes(m_subject.mail ? m_subject.mail() : QJsonArray())};
    if (request.path == QLatin1String("/collections"))
        return {200, "application/json", bytes(m_subject.collections ? m_subject.collections() : QJsonObject())};
    if (request.path == QLatin1String("/status"))
        return {200, "application/json", statusReport()};
    return refusal(404, "no such page; GET / lists them");
}

LoopbackHttpServer::Response Inspector::runFrames(const LoopbackHttpServer::Request& request)
{
    if (!m_subject.manualClock)
        return refusal(403, "frames run by the clock; start the table with --manual-clock to run them by hand");
    bool countOk = true;
    bool stepOk = true;
    const QString count = request.query.queryItemValue(QStringLiteral("count"));
    const QString step = request.query.queryItemValue(QStringLiteral("dt"));
    const int frames = count.isEmpty() ? 1 : count.toInt(&countOk);
    const double dt = step.isEmpty() ? 1.0 / 60.0 : step.toDouble(&stepOk);
    if (!countOk || !stepOk || frames < 1 || frames > kMostFrames || !(dt >= 0.0 && dt <= kLongestStep))
        return refusal(400, "count is a whole number from 1 to 100000, dt seconds from 0 to 10");
    QElapsedTimer taken;
    taken.start();
    for (int i = 0; i < frames; ++i) {
        if (!m_subject.frame)
            m_subject.application.frame(dt);
        else if (!m_subject.frame(dt))
            break;
    }
    const double milliseconds = static_cast<double>(taken.nsecsElapsed()) / 1e6;
    return {200, "application/json", statusReport({{QStringLiteral("milliseconds"), milliseconds}})};
}

LoopbackHttpServer::Response Inspector::screenshot(const LoopbackHttpServer::Request& request) const
{
    QImage image = m_subject.application.renderToImage();
    const QString area = request.query.queryItemValue(QStringLiteral("rect"));
    if (!area.isEmpty()) {
        std::array<int, 4> numbers{};
        const QStringList parts = area.split(QLatin1Char(','));
        bool ok = parts.size() == int(numbers.size());
        for (int i = 0; ok && i < parts.size(); ++i)
            numbers[std::size_t(i)] = parts[i].toInt(&ok);
        const QRect rect = QRect(numbers[0], numbers[1], numbers[2], numbers[3]).intersected(image.rect());
        if (!ok || rect.isEmpty())
            return refusal(400, "rect is x,y,width,height in whole pixels of the table");
        image = image.copy(rect);
    }
    LoopbackHttpServer::Response response;
    // Packing takes far longer than drawing.
    response.later = [image]() -> LoopbackHttpServer::Response {
        const QByteArray png = pngOf(image);
        if (png.isEmpty())
            return refusal(500, "the picture of the table cannot be made");
        return {200, "image/png", png};
    };
    return response;
}

LoopbackHttpServer::Response Inspector::styles(const LoopbackHttpServer::Request& request) const
{
    bool isNumber = false;
    const qint64 id = request.query.queryItemValue(QStringLiteral("id")).toLongLong(&isNumber);
    if (!isNumber)
        return refusal(400, "id is a widget's, as /tree has it");
    const Trellis::Widget* widget = findById(*m_subject.application.mainLayer(), id);
    if (!widget)
        return refusal(404, "there is no such widget (any more); /tree lists them");
    return {200, "application/json", bytes(styleReport(*widget))};
}

QByteArray Inspector::inputReport() const
{
    if (!m_subject.input)
        return bytes(QJsonObject{{"datagramsReceived", 0}, {"listeners", QJsonArray()}, {"sources", QJsonArray()}});
    const Tactile::TuioCounters counters = m_subject.input->counters();
    QJsonArray sources;
    for (const Tactile::TuioSourceCounters& source : counters.sources)
        sources.append(QJsonObject{{"name", QString::fromStdString(source.name)},
                                   {"packets", qint64(source.packets)},
                                   {"frames", qint64(source.frames)},
                                   {"fingers", qint64(source.fingers)},
                                   {"markers", qint64(source.markers)},
                                   {"lost", source.isLost},
                                   {"sensorWidth", source.sensorWidth},
                                   {"sensorHeight", source.sensorHeight},
                                   {"unclosedFrames", unclosedReport(source)},
                                   {"drops", dropReport(source.drops)}});
    return bytes(QJsonObject{{"datagramsReceived", qint64(m_subject.input->datagramsReceived())},
                             {"packets", qint64(counters.packets)},
                             {"drops", dropReport(counters.drops)},
                             {"refusals", refusalReport(counters.refusals)},
                             {"listeners", m_subject.listeners ? m_subject.listeners() : QJsonArray()},
                             {"sources", sources}});
}

QByteArray Inspector::statusReport(QJsonObject report) const
{
    const Trellis::Application& application = m_subject.application;
    const Trellis::Application::KeptPictures pictures = application.keptPictures();
    const auto* const threads = Lantern::PaintingThreads::current();
    const QJsonObject known{{"time", application.time()},
                            {"frame", qint64(application.frameNumber())},
                            {"pendingImages", application.pendingImages()},
                            {"keptPictures",
                             QJsonObject{{"count", qint64(pictures.count)},
                                         {"bytes", qint64(pictures.bytes)},
                                         {"budgetBytes", qint64(pictures.budgetBytes)}}},
                            {"paintingThreads", threads ? threads->count() : 1},
                            {"fontRules", Trellis::fontRules() == Trellis::FontRules::Table ? "table" : "machine"},
                            {"needsFrame", application.needsFrame()},
                            {"manualClock", m_subject.manualClock}};
    for (auto entry = known.begin(); entry != known.end(); ++entry)
        report.insert(entry.key(), entry.value());
    return bytes(report);
}
}
