// What it takes to draw a table, against QGraphicsView drawing the same scene with the same smooth sampling into a QImage.
// Both sides work in this process, in turns; a figure is the median of the ratios of their processor times.
//     draw_bench --scene groups|table --size 1920x1080 --seed 1 --rounds 15 --frames 16 --only all-moved --json
// After each work the two pictures are compared on its way, all over and where the work has changed them.
// With --threads the table alone is measured: so many painting threads against one, by wall time. With --pause the program sleeps
// between frames, as a table does.

#include "draw/DrawSide.hpp"
#include "draw/DrawWork.hpp"
#include "draw/PictureComparison.hpp"

#include <Lantern/PaintingThreads.hpp>

#include <QApplication>
#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <optional>
#include <thread>

namespace
{
using Bench::DrawSide;
using Bench::DrawWork;

struct Settings
{
    bool isTable = false;
    QSize size;
    int count = 0;
    int rounds = 0;
    int frames = 0;
    int threads = 0; ///< 0: against the rival
    int pauseMs = 0;
    double scale = 1.0;
    unsigned seed = 1;
    Bench::RivalCache cache = Bench::RivalCache::None;
};

struct Figure
{
    double ratio = 0.0;
    double seconds = 0.0; ///< of a frame
    double rivalSeconds = 0.0;
    Bench::PictureDifference difference;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One work on both sides. The sides stand where the work begins, and are left there.
class Measurement
{
public:
    Measurement(const Settings& settings, const DrawWork& work, DrawSide& ours, DrawSide& theirs)
        : m_settings(settings), m_work(work), m_ours(ours), m_theirs(theirs)
    {
    }

    [[nodiscard]] Figure take()
    {
        const QImage oursBefore = pictureBefore(m_ours);
        const QImage theirsBefore = pictureBefore(m_theirs);
        (void)runOurs(1);
        (void)runRival();
        std::vector<double> ratios, ours, theirs;
        for (int round = 0; round < m_settings.rounds; ++round) {
            ours.push_back(runOurs(std::max(1, m_settings.threads)));
            theirs.push_back(m_settings.threads > 0 ? runOurs(1) : runRival());
            ratios.push_back(ours.back() / theirs.back());
        }
        Figure figure{median(ratios), median(ours), median(theirs), {}};
        goTo(kFramesToCompareAt);
        figure.difference = m_settings.threads > 0
            ? Bench::compare(wholePicture(m_settings.threads), oursBefore, wholePicture(1), oursBefore)
            : Bench::compare(m_ours.picture(), oursBefore, m_theirs.picture(), theirsBefore);
        goTo(0);
        return figure;
    }

private:
    static constexpr int kFramesToCompareAt = 4;

    /// Of all threads, or of the clock on the wall where threads are compared.
    [[nodiscard]] double now() const
    {
        timespec time{};
        clock_gettime(m_settings.threads > 0 ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
    }
    /// Seconds of a frame.
    [[nodiscard]] double run(DrawSide& side, int& frame) const
    {
        double begin = now();
        for (int i = 0; i < m_settings.frames; ++i) {
            if (m_settings.pauseMs > 0) {
                const double pauseBegin = now();
                std::this_thread::sleep_for(std::chrono::milliseconds(m_settings.pauseMs));
                begin += now() - pauseBegin;
            }
            m_work.step(side, frame++);
            side.draw();
        }
        return (now() - begin) / m_settings.frames;
    }
    [[nodiscard]] double runOurs(int threads)
    {
        std::optional<Lantern::PaintingThreads> painting;
        if (m_settings.threads > 0)
            painting.emplace(threads);
        return run(m_ours, m_oursFrame);
    }
    [[nodiscard]] double runRival() { return m_settings.threads > 0 ? 0.0 : run(m_theirs, m_theirsFrame); }

    /// Both sides, drawn so many frames after the work's beginning.
    void goTo(int frame)
    {
        goTo(m_ours, m_oursFrame, frame);
        goTo(m_theirs, m_theirsFrame, frame);
    }
    void goTo(DrawSide& side, int& at, int frame) const
    {
        if (m_work.isAll)
            side.clear();
        do
            m_work.step(side, at++);
        while (at % Bench::kFramesThereAndBack != frame);
        side.draw();
    }
    /// What the work changes; black where it draws everything, as clear() leaves it.
    [[nodiscard]] QImage pictureBefore(const DrawSide& side) const
    {
        QImage picture = side.picture().copy();
        if (m_work.isAll)
            picture.fill(Qt::black);
        return picture;
    }
    /// Everything drawn anew by so many threads.
    [[nodiscard]] QImage wholePicture(int threads) const
    {
        const Lantern::PaintingThreads painting(threads);
        m_ours.damageAll();
        m_ours.draw();
        return m_ours.picture().copy();
    }

    const Settings& m_settings;
    const DrawWork& m_work;
    DrawSide& m_ours;
    DrawSide& m_theirs;
    int m_oursFrame = 0;
    int m_theirsFrame = 0;
};

QSize sizeOf(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    return parts.size() == 2 ? QSize(parts[0].toInt(), parts[1].toInt()) : QSize();
}

std::optional<Bench::RivalCache> cacheOf(const QString& name)
{
    if (name == QLatin1String("none"))
        return Bench::RivalCache::None;
    if (name == QLatin1String("items"))
        return Bench::RivalCache::Items;
    if (name == QLatin1String("groups"))
        return Bench::RivalCache::Groups;
    return {};
}

void addOptions(QCommandLineParser& options)
{
    options.addHelpOption();
    options.addOptions(
        {{"scene", "groups or table", "name", "groups"},
         {"size", "Pixels (1920x1080, 3840x2160)", "size"},
         {"count", "Groups, or spaces", "number"},
         {"seed", "Of the scene", "number", "1"},
         {"rounds", "Ratios of which the median counts", "number", "15"},
         {"frames", "Frames a round", "number", "16"},
         {"only", "One work; may be given several times", "name"},
         {"rival-cache", "What the rival keeps: none, items (each by itself), groups (each with what is in it)", "name", "none"},
         {"scale", "The table is so many times smaller, on a screen that shows it so many times larger", "factor", "1"},
         {"threads", "Painting threads, against one", "number"},
         {"pause", "Before each frame, not measured", "milliseconds", "0"},
         {"save", "Writes both pictures into a folder", "folder"},
         {"json", "Writes the figures as JSON"}});
}

std::optional<Settings> settingsOf(const QCommandLineParser& options)
{
    const QString scene = options.value("scene");
    const auto cache = cacheOf(options.value("rival-cache"));
    Settings settings;
    settings.isTable = scene == QLatin1String("table");
    settings.size =
        sizeOf(options.isSet("size") ? options.value("size") : QLatin1String(settings.isTable ? "3840x2160" : "1920x1080"));
    settings.count = options.isSet("count") ? options.value("count").toInt() : settings.isTable ? 8 : 40;
    settings.rounds = options.value("rounds").toInt();
    settings.frames = options.value("frames").toInt();
    settings.threads = options.isSet("threads") ? options.value("threads").toInt() : 0;
    settings.pauseMs = options.value("pause").toInt();
    settings.scale = options.value("scale").toDouble();
    settings.seed = options.value("seed").toUInt();
    const bool isRight = (settings.isTable || scene == QLatin1String("groups")) && cache && settings.scale > 0.0
        && settings.pauseMs >= 0 && !settings.size.isEmpty() && settings.count >= 1 && settings.threads >= 0
        && settings.rounds >= 1 && settings.frames >= 1;
    if (!isRight)
        return {};
    settings.cache = *cache;
    return settings;
}

/// The works named by --only, or all; none where there is no such work.
std::vector<DrawWork> worksOf(std::vector<DrawWork> all, const QStringList& only)
{
    if (only.isEmpty())
        return all;
    std::vector<DrawWork> works;
    for (const QString& name : only) {
        const auto work = std::find_if(all.begin(), all.end(), [&](const DrawWork& w) { return name == QLatin1String(w.name); });
        if (work == all.end())
            return {};
        works.push_back(*work);
    }
    return works;
}
}

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QCommandLineParser options;
    addOptions(options);
    options.process(application);
    const auto settings = settingsOf(options);
    if (!settings)
        options.showHelp(2);
    const Bench::DrawScene scene = settings->isTable ? Bench::tableScene(settings->size, 12, settings->count, settings->seed)
                                                     : Bench::groupsScene(settings->size, settings->count, settings->seed);
    const auto works =
        worksOf(settings->isTable ? Bench::tableWork(scene) : Bench::groupsWork(settings->count), options.values("only"));
    if (works.empty())
        options.showHelp(2);
    const auto ours = Bench::makeTrellisSide(scene, settings->scale);
    const auto theirs = Bench::makeGraphicsViewSide(scene, settings->cache);

    const char* const sceneName = settings->isTable ? "table" : "groups";
    QJsonArray figures;
    bool isSame = true;
    for (const DrawWork& work : works) {
        const Figure figure = Measurement(*settings, work, *ours, *theirs).take();
        isSame = isSame && figure.difference.isSameChange();
        std::fprintf(stderr,
                     "%-8s %-16s ratio %6.3f  ours %8.3f ms  theirs %8.3f ms  %.3f %% of the pixels differ, %.3f %% of the %ld "
                     "that changed\n",
                     sceneName, work.name, figure.ratio, 1e3 * figure.seconds, 1e3 * figure.rivalSeconds,
                     100 * figure.difference.ofAll, 100 * figure.difference.ofChanged, figure.difference.changed);
        figures.append(QJsonObject{{"scene", sceneName},
                                   {"work", work.name},
                                   {"ratio", figure.ratio},
                                   {"milliseconds", 1e3 * figure.seconds},
                                   {"rivalMilliseconds", 1e3 * figure.rivalSeconds},
                                   {"pixelsThatDiffer", figure.difference.ofAll},
                                   {"changedPixelsThatDiffer", figure.difference.ofChanged}});
    }
    if (options.isSet("save")) {
        ours->picture().save(options.value("save") + "/ours.png");
        theirs->picture().save(options.value("save") + "/theirs.png");
    }
    if (options.isSet("json"))
        std::puts(QJsonDocument(QJsonObject{{"seed", int(settings->seed)}, {"figures", figures}}).toJson().constData());
    if (!isSame)
        std::fputs("The two pictures do not show the same change: the figures compare different work\n", stderr);
    return isSame ? 0 : 1;
}
