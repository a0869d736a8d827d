// What it takes to draw a table, against QGraphicsView drawing the same scene with the same smooth sampling into a QImage.
// Both sides work in this process, in turns; a figure is the median of the ratios of their processor times.
//     draw_bench --scene groups|table --size 1920x1080 --seed 1 --rounds 15 --frames 8 --only all-moved --json
// With --threads the table alone is measured: so many painting threads against one, by wall time. With --pause the program sleeps
// between frames, as a table does.

#include "draw/DrawSide.hpp"

#include <Lantern/PaintingThreads.hpp>

#include <QApplication>
#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <thread>

namespace
{
using Bench::DrawSide;

struct Work
{
    const char* name;
    double target; ///< of the ratio
    std::function<void(DrawSide&, int frame)> step;
};

/// Of CLOCK_THREAD_CPUTIME_ID or CLOCK_MONOTONIC.
double secondsOf(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// There and back again, so that the scene stays where it is: 8 frames one way, 8 the other.
double swing(int frame)
{
    return frame % 16 < 8 ? 1.0 : -1.0;
}

std::vector<Work> groupsWork(int groups)
{
    const auto all = [groups](const std::function<void(int)>& each) {
        for (int i = 0; i < groups; ++i)
            each(i);
    };
    const int middle = groups / 2;
    return {
        {"tile-moved", 0.35,
         [=](DrawSide& s, int f) {
             s.move(middle, 12, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"tile-turned", 0.40, [=](DrawSide& s, int f) { s.turn(middle, 12, 0.03 * swing(f)); }},
        {"group-moved", 0.45,
         [=](DrawSide& s, int f) {
             s.move(middle, -1, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"all-moved", 0.33,
         [=](DrawSide& s, int f) { all([&](int i) {
                                       s.move(i, -1, {3.0 * swing(f), (i % 3 - 1.0) * swing(f)});
                                   }); }},
        {"all-turned", 1.0, [=](DrawSide& s, int f) { all([&](int i) { s.turn(i, -1, 0.01 * swing(f)); }); }},
    };
}

std::vector<Work> tableWork(const Bench::DrawScene& scene)
{
    const int first = int(scene.items.size()) - scene.spaces;
    const int picture = first / 2;
    const int space = first + scene.spaces / 2;
    const auto each = [=, spaces = scene.spaces](const std::function<void(int)>& visit) {
        for (int i = first; i < first + spaces; ++i)
            visit(i);
    };
    // Within 16 frames up and down again; the last frame is whole.
    const auto ramp = [](int f) { return 0.2 + 0.1 * (f % 16 < 8 ? f % 16 + 1 : 15 - f % 16); };
    return {
        {"picture-dragged", 0.14,
         [=](DrawSide& s, int f) {
             s.move(picture, -1, {9.0 * swing(f), 5.0 * swing(f)});
         }},
        {"picture-turned", 0.22, [=](DrawSide& s, int f) { s.turn(picture, -1, 0.01 * swing(f)); }},
        {"space-dragged", 0.15,
         [=](DrawSide& s, int f) {
             s.move(space, -1, {9.0 * swing(f), 5.0 * swing(f)});
         }},
        {"space-turned", 0.35, [=](DrawSide& s, int f) { s.turn(space, -1, 0.01 * swing(f)); }},
        {"eight-fade", 0.18,
         [=](DrawSide& s, int f) { each([&](int i) { s.setOpacity(i, f % 16 == 15 ? 1.0 : std::min(0.95, ramp(f))); }); }},
        {"eight-grow", 0.45, [=](DrawSide& s, int f) { each([&](int i) { s.setScale(i, f % 16 == 15 ? 1.0 : ramp(f)); }); }},
        {"tile-moved", 0.5,
         [=](DrawSide& s, int f) {
             s.move(space, 10, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"all-drawn", 0.20, [=](DrawSide& s, int) { s.damageAll(); }},
    };
}

/// The share of pixels that clearly differ. Edges are blended in another order by the two sides.
double shareThatDiffers(const QImage& a, const QImage& b)
{
    long count = 0;
    for (int y = 0; y < a.height(); ++y) {
        const auto* lineA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const auto* lineB = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x)
            count += std::max({std::abs(qRed(lineA[x]) - qRed(lineB[x])), std::abs(qGreen(lineA[x]) - qGreen(lineB[x])),
                               std::abs(qBlue(lineA[x]) - qBlue(lineB[x]))})
                > 40;
    }
    return double(count) / (double(a.width()) * a.height());
}

/// Everything drawn anew by so many threads.
QImage pictureOf(DrawSide& side, int threads = 1)
{
    const Lantern::PaintingThreads painting(threads);
    side.damageAll();
    side.draw();
    return side.picture().copy();
}

QSize sizeOf(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    return parts.size() == 2 ? QSize(parts[0].toInt(), parts[1].toInt()) : QSize();
}
}

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions(
        {{"scene", "groups or table", "name", "groups"},
         {"size", "Pixels (1920x1080, 3840x2160)", "size"},
         {"count", "Groups, or spaces", "number"},
         {"seed", "Of the scene", "number", "1"},
         {"rounds", "Ratios of which the median counts", "number", "15"},
         {"frames", "Frames a round", "number", "16"},
         {"only", "One work", "name"},
         {"scale", "The table is so many times smaller, on a screen that shows it so many times larger", "factor", "1"},
         {"threads", "Painting threads, against one", "number"},
         {"pause", "Before each frame, not measured", "milliseconds", "0"},
         {"save", "Writes both pictures into a folder", "folder"},
         {"json", "Writes the figures as JSON"}});
    options.process(application);
    const bool isTable = options.value("scene") == QLatin1String("table");
    const QSize size = sizeOf(options.isSet("size") ? options.value("size") : isTable ? "3840x2160" : "1920x1080");
    const int count = options.isSet("count") ? options.value("count").toInt() : isTable ? 8 : 40;
    const int rounds = options.value("rounds").toInt();
    const int frames = options.value("frames").toInt();
    const int threads = options.isSet("threads") ? options.value("threads").toInt() : 0;
    const double scale = options.value("scale").toDouble();
    const int pauseMs = options.value("pause").toInt();
    if (!(scale > 0.0) || pauseMs < 0 || size.isEmpty() || count < 1 || threads < 0 || rounds < 1 || frames < 1)
        options.showHelp(2);
    const unsigned seed = options.value("seed").toUInt();
    const Bench::DrawScene scene = isTable ? Bench::tableScene(size, 12, count, seed) : Bench::groupsScene(size, count, seed);
    const auto ours = Bench::makeTrellisSide(scene, scale);
    const auto theirs = Bench::makeGraphicsViewSide(scene);

    QJsonArray figures;
    bool isSame = true;
    for (const Work& work : isTable ? tableWork(scene) : groupsWork(count)) {
        if (options.isSet("only") && options.value("only") != QLatin1String(work.name))
            continue;
        const clockid_t clock = threads > 0 ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID;
        const auto run = [&](DrawSide& side, int from) {
            double begin = secondsOf(clock);
            for (int frame = 0; frame < frames; ++frame) {
                if (pauseMs > 0) {
                    const double pauseBegin = secondsOf(clock);
                    std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
                    begin += secondsOf(clock) - pauseBegin;
                }
                work.step(side, from + frame);
                side.draw();
            }
            return (secondsOf(clock) - begin) / frames;
        };
        const auto runThreads = [&](int from) {
            const Lantern::PaintingThreads painting(threads);
            return run(*ours, from);
        };
        std::vector<double> ratios, our, their;
        int frame = 0;
        run(*ours, frame);
        run(*theirs, frame);
        for (int round = 0; round < rounds; ++round) {
            frame += frames;
            our.push_back(threads > 0 ? runThreads(frame) : run(*ours, frame));
            their.push_back(run(threads > 0 ? *ours : *theirs, frame));
            ratios.push_back(our.back() / their.back());
        }
        const QImage compared = threads > 0 ? pictureOf(*ours) : theirs->picture();
        const double differs = shareThatDiffers(threads > 0 ? pictureOf(*ours, threads) : ours->picture(), compared);
        isSame = isSame && differs < 0.01;
        std::fprintf(stderr, "%-8s %-16s ratio %6.3f  target %5.2f  ours %8.3f ms  theirs %8.3f ms  pictures differ in %.3f %%\n",
                     isTable ? "table" : "groups", work.name, median(ratios), work.target, 1e3 * median(our), 1e3 * median(their),
                     100 * differs);
        figures.append(QJsonObject{{"scene", isTable ? "table" : "groups"},
                                   {"work", work.name},
                                   {"ratio", median(ratios)},
                                   {"target", work.target},
                                   {"milliseconds", 1e3 * median(our)},
                                   {"rivalMilliseconds", 1e3 * median(their)},
                                   {"pixelsThatDiffer", differs}});
    }
    if (options.isSet("save")) {
        ours->picture().save(options.value("save") + "/ours.png");
        theirs->picture().save(options.value("save") + "/theirs.png");
    }
    if (options.isSet("json"))
        std::puts(QJsonDocument(QJsonObject{{"seed", int(seed)}, {"figures", figures}}).toJson().constData());
    if (!isSame)
        std::fputs("The two pictures are not the same: the figures compare different work\n", stderr);
    return isSame ? 0 : 1;
}
