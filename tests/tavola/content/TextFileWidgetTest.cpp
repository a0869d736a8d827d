#include "LogCapture.hpp"
#include "PdfFile.hpp"
#include "TestHost.hpp"

#include <Bedrock/BGThread.hpp>
#include <Facet/AttributeT.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Tavola/TextFileWidget.hpp>

#include <QDir>
#include <QTemporaryDir>

using Bedrock::makeIntrusive;
using Tavola::TextFileWidget;
using TestSupport::TestHost;

namespace
{
void setSource(TextFileWidget& widget, const QString& path)
{
    dynamic_cast<Facet::AttributeT<QString>&>(*widget.attribute("source")).setValue(path);
}
}

TEST_CASE("text file: its words show, in any of the ways in which Unicode is written")
{
    struct Row
    {
        QByteArray bytes;
        QString text;
    };
    const Row rows[] = {
        {"Plain", "Plain"},
        {"\xc3\x84pfel\n\xe6\x9c\x88", QString::fromUtf8("Äpfel\n月")},
        {"\xef\xbb\xbfMarked", "Marked"},
        {QByteArray("\xff\xfe\x41\x00\xc4\x00", 6), QString::fromUtf8("AÄ")},
        {QByteArray("\xfe\xff\x00\x41\x00\xc4", 6), QString::fromUtf8("AÄ")},
        {QByteArray(TextFileWidget::kMostBytes, 'a') + "b", QString(TextFileWidget::kMostBytes, QLatin1Char('a'))},
    };
    TestHost host;
    const QTemporaryDir folder;
    int number = 0;
    for (const Row& row : rows) {
        CAPTURE(row.text.left(20).toStdString());
        const QString path = QDir(folder.path()).filePath(QStringLiteral("%1.txt").arg(++number));
        PdfFile::writeBytes(path, row.bytes);
        const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
        bool isLoaded = false;
        widget->eventAddListener("text-loaded", [&] { isLoaded = true; });
        setSource(*widget, path);
        CHECK(widget->text().isEmpty()); // nothing is read in the call
        CHECK(host.frameUntil([&] { return isLoaded; }));
        CHECK(widget->text() == row.text);
        CHECK(Tavola::FileRepresentation::widgetData(*widget).files == QStringList{path});
        widget->removeFromParent();
    }
}

TEST_CASE("text file: one that cannot be read is a warning, and the text stays")
{
    TestHost host;
    const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
    widget->setText(QStringLiteral("Words"));
    TestSupport::expectWarning(
        "TextFileWidget # Cannot read /none/none.txt (No such file or directory); the text stays as it is");
    setSource(*widget, QStringLiteral("/none/none.txt"));
    Bedrock::BGThread::instance()->waitUntilIdle();
    host.frame();
    CHECK(widget->text() == "Words");
}

TEST_CASE("text file: the last source counts, and a widget may leave while its file is read")
{
    TestHost host;
    const QTemporaryDir folder;
    const QString one = QDir(folder.path()).filePath(QStringLiteral("one.txt"));
    const QString two = QDir(folder.path()).filePath(QStringLiteral("two.txt"));
    PdfFile::writeBytes(one, "one");
    PdfFile::writeBytes(two, "two");
    const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
    int loaded = 0;
    widget->eventAddListener("text-loaded", [&] { ++loaded; });
    setSource(*widget, one);
    setSource(*widget, two);
    Bedrock::BGThread::instance()->waitUntilIdle();
    host.frame();
    CHECK(widget->text() == "two");
    CHECK(loaded == 1);
    {
        const auto gone = makeIntrusive<TextFileWidget>(&host.mainWidget());
        setSource(*gone, one);
        gone->removeFromParent();
    }
    host.frame();
    Bedrock::BGThread::instance()->waitUntilIdle();
    host.frame();
}

TEST_CASE("text file: without a file it is called by its own first words")
{
    TestHost host;
    const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
    widget->setText(QStringLiteral("  The first line \nand another"));
    auto data = Tavola::FileRepresentation::widgetData(*widget);
    CHECK(data.displayName == "The first line");
    CHECK(data.files.isEmpty());
    widget->setText(QString(100, QLatin1Char('x')));
    data = Tavola::FileRepresentation::widgetData(*widget);
    CHECK(data.displayName == QString(59, QLatin1Char('x')) + QChar(0x2026));
}
