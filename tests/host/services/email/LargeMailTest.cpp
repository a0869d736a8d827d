// Memory, measured: files are streamed, never held.

#include "MailBench.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <QRegularExpression>

using namespace Host;

namespace
{
qint64 memory(const char* entry)
{
    QFile status(QStringLiteral("/proc/self/status"));
    REQUIRE(status.open(QIODevice::ReadOnly));
    const auto match = QRegularExpression(QStringLiteral("%1:\\s+(\\d+) kB").arg(QLatin1String(entry)))
                           .match(QString::fromLatin1(status.readAll()));
    REQUIRE(match.hasMatch());
    return match.captured(1).toLongLong() * 1024;
}

void forgetPeak()
{
    QFile peak(QStringLiteral("/proc/self/clear_refs"));
    REQUIRE(peak.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    REQUIRE(peak.write("5") == 1);
}
}

TEST_CASE("large mail: 1 GiB of attachments grows the process by no more than 16 MiB")
{
    constexpr qint64 kGiB = qint64(1) << 30;
    constexpr qint64 kLimit = qint64(16) << 20;
    MailBench bench;
    bench.settings.attachmentLimitBytes = 2 * kGiB;
    bench.settings.timeoutSeconds = 300.0;
    bench.server.keepNothing();
    bench.open();
    CHECK(bench.send(bench.message()).success); // what is loaded once is loaded

    auto message = bench.message();
    for (int i = 0; i < 4; ++i) {
        const QString name = QStringLiteral("%1.bin").arg(i);
        QFile large(bench.folder.path(name));
        REQUIRE(large.open(QIODevice::WriteOnly));
        REQUIRE(large.resize(kGiB / 4));
        bench.attach(message, large.fileName(), name);
    }
    forgetPeak();
    const qint64 before = memory("VmRSS");
    auto future = bench.service->send(message);
    REQUIRE(TestSupport::pumpUntil([&future] { return future.isReady(); }, 100000));
    CHECK(future.value().success);
    const qint64 growth = memory("VmHWM") - before;
    MESSAGE("grew by " << growth / 1024 << " KiB at most, for " << bench.server.dataBytes() << " bytes sent");
    CHECK(growth <= kLimit);
    // In base64, with line ends, a third more.
    CHECK(bench.server.dataBytes() > kGiB / 3 * 4);
    CHECK(bench.files() == 0);
}
