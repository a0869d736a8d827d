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
        {QByteArray(TextFileWidget::kMostBytes, 'a'), QString(TextFileWidget::kMostBytes, QLatin1Char('a'))},
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

TEST_CASE("text file: where a file is cut, is no text or no UTF-8, the visitor reads it and the operator has one warning with "
          "the remedy")
{
    struct Row
    {
        QByteArray bytes;
        QString text;
        const char* complaint;
    };
    constexpr int kMost = TextFileWidget::kMostBytes;
    const char* const noText = "it is no text: save it as UTF-8 text, or show it as a picture or a PDF document";
    const QString noTextNote = QStringLiteral("This file is no text and cannot be shown.");
    const Row rows[] = {
        {QByteArray(kMost, 'a') + "b", QString(kMost, QLatin1Char('a')) + QString::fromUtf8("\n\n… (256 of 257 KiB are shown.)"),
         "it has 257 KiB, and the first 256 KiB of them are shown: shorten it, or show it as a PDF document"},
        // A character that the limit cuts in two is left out.
        {QByteArray(kMost - 1, 'a') + "\xc3\xa4" + QByteArray(100000, 'b'),
         QString(kMost - 1, QLatin1Char('a')) + QString::fromUtf8("\n\n… (256 of 354 KiB are shown.)"),
         "it has 354 KiB, and the first 256 KiB of them are shown: shorten it, or show it as a PDF document"},
        {QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), noTextNote, noText},
        {"\xff\xd8\xff\xe0\xe8\xfe\xb5\x99", noTextNote, noText},
        {QByteArray("A\0\xc4\0", 4), noTextNote, noText}, // UTF-16 that does not say so
        {"M\xfcnchen", QString::fromUtf8("M\uFFFDnchen"),
         "1 of its characters are no UTF-8 and shown as \uFFFD: save it as UTF-8 text"},
        {"cut \xc3", QString::fromUtf8("cut \uFFFD"),
         "1 of its characters are no UTF-8 and shown as \uFFFD: save it as UTF-8 text"},
    };
    TestHost host;
    const QTemporaryDir folder;
    int number = 0;
    for (const Row& row : rows) {
        CAPTURE(number);
        const QString path = QDir(folder.path()).filePath(QStringLiteral("%1.txt").arg(++number));
        PdfFile::writeBytes(path, row.bytes);
        TestSupport::expectWarning("TextFileWidget # " + path.toStdString() + ": " + row.complaint);
        for (int again = 0; again < 2; ++again) { // the second time without a warning
            const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
            bool isLoaded = false;
            widget->eventAddListener("text-loaded", [&] { isLoaded = true; });
            setSource(*widget, path);
            CHECK(host.frameUntil([&] { return isLoaded; }));
            CHECK(widget->text() == row.text);
            CHECK(widget->hasPseudoClass("failed") == (row.text == noTextNote));
            widget->removeFromParent();
        }
    }
}

TEST_CASE("text file: the notes of a file that is cut or no text are the style sheet's where it has some")
{
    TestHost host;
    host.style("TextWidget { cut-note: \"gekürzt: %1 von %2\"; no-text-note: \"kein Text\" }");
    const QTemporaryDir folder;
    const QString longer = QDir(folder.path()).filePath(QStringLiteral("longer.txt"));
    const QString binary = QDir(folder.path()).filePath(QStringLiteral("binary.txt"));
    PdfFile::writeBytes(longer, QByteArray(TextFileWidget::kMostBytes + 1024, 'a'));
    PdfFile::writeBytes(binary, QByteArray("\0", 1));
    TestSupport::expectWarningStartingWith("TextFileWidget # " + longer.toStdString());
    TestSupport::expectWarningStartingWith("TextFileWidget # " + binary.toStdString());
    for (const QString& path : {longer, binary}) {
        const auto widget = makeIntrusive<TextFileWidget>(&host.mainWidget());
        bool isLoaded = false;
        widget->eventAddListener("text-loaded", [&] { isLoaded = true; });
        host.frame(); // styled
        setSource(*widget, path);
        CHECK(host.frameUntil([&] { return isLoaded; }));
        CHECK(widget->text().endsWith(path == longer ? QString::fromUtf8("\n\ngekürzt: 256 von 257")
                                                     : QStringLiteral("kein Text")));
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
