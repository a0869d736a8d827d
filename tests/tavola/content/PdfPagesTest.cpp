#include <doctest/doctest.h>

#include "content/PdfPages.hpp"

#include "EventLoop.hpp"
#include "PdfFile.hpp"

#include <Bedrock/DecodedFiles.hpp>
#include <Bedrock/Inbox.hpp>

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

using Tavola::PdfPages;

namespace
{
struct Reader
{
    ~Reader() { Bedrock::Inbox::instance().clear(); }

    [[nodiscard]] QString path(const char* name) const { return folder.filePath(QString::fromLatin1(name)); }
    QString pdf(const char* name, const std::vector<QColor>& colours, QSizeF points = {200.0, 100.0}) const
    {
        PdfFile::write(path(name), colours, points);
        return path(name);
    }
    static bool deliverUntil(const std::function<bool()>& condition)
    {
        return TestSupport::pumpUntil([&] {
            (void)Bedrock::Inbox::instance().deliver();
            return condition();
        });
    }
    PdfPages::Outcome outcome(const PdfPages::Request& request)
    {
        PdfPages::Outcome result;
        bool isDone = false;
        const auto asked = pages.request(request, [&](const PdfPages::Outcome& given) {
            result = given;
            isDone = true;
        });
        REQUIRE(deliverUntil([&] { return isDone; }));
        return result;
    }
    static QColor middle(const QImage& image) { return image.pixelColor(image.width() / 2, image.height() / 2); }

    QTemporaryDir folder;
    PdfPages pages;
};
}

TEST_CASE("pdf pages: a page comes in the width that was asked for, with what is known of its document")
{
    Reader reader;
    const auto outcome = reader.outcome({reader.pdf("a.pdf", {Qt::red, Qt::green, Qt::blue}), 1, 300});
    CHECK(outcome.error.isEmpty());
    CHECK(outcome.image.size() == QSize(300, 150));
    CHECK(Reader::middle(outcome.image) == QColor(Qt::green));
    CHECK(outcome.pageSize == QSizeF(200.0, 100.0));
    CHECK(outcome.page == 1);
    CHECK(outcome.pageCount == 3);
}

TEST_CASE("pdf pages: a page that the document has not is the nearest one")
{
    Reader reader;
    const QString path = reader.pdf("a.pdf", {Qt::red, Qt::blue});
    const auto last = reader.outcome({path, 7, 50});
    CHECK(last.page == 1);
    CHECK(Reader::middle(last.image) == QColor(Qt::blue));
    const auto first = reader.outcome({path, -1, 50});
    CHECK(first.page == 0);
    CHECK(Reader::middle(first.image) == QColor(Qt::red));
}

TEST_CASE("pdf pages: the longer side is never larger than is sensible")
{
    Reader reader;
    const auto wide = reader.outcome({reader.pdf("wide.pdf", {Qt::red}, {400.0, 100.0}), 0, 100000});
    CHECK(wide.image.size() == QSize(PdfPages::kMostPixels, PdfPages::kMostPixels / 4));
    const auto tall = reader.outcome({reader.pdf("tall.pdf", {Qt::red}, {100.0, 400.0}), 0, PdfPages::kMostPixels});
    CHECK(tall.image.size() == QSize(PdfPages::kMostPixels / 4, PdfPages::kMostPixels));
}

TEST_CASE("pdf pages: what cannot be shown says why, and the next file can be")
{
    Reader reader;
    for (const PdfFile::Unusable& file : PdfFile::unusable()) {
        CAPTURE(file.name);
        const auto outcome = reader.outcome({PdfFile::write(file, reader.folder.path()), 0, 50});
        CHECK(outcome.error.toStdString() == file.why);
        CHECK(outcome.image.isNull());
        CHECK(outcome.pageCount == 0);
    }
    CHECK_FALSE(reader.outcome({reader.pdf("good.pdf", {Qt::red}), 0, 50}).image.isNull());
}

TEST_CASE("pdf pages: answers come in the order of the requests, and never inside the call")
{
    Reader reader;
    const QString path = reader.pdf("a.pdf", {Qt::red, Qt::green, Qt::blue});
    std::vector<int> order;
    std::vector<PdfPages::Cancel> asked;
    for (const int page : {2, 0, 1})
        asked.push_back(
            reader.pages.request({path, page, 50}, [&](const PdfPages::Outcome& given) { order.push_back(given.page); }));
    CHECK(order.empty());
    REQUIRE(Reader::deliverUntil([&] { return order.size() == 3; }));
    CHECK(order == std::vector<int>{2, 0, 1});
}

TEST_CASE("pdf pages: a withdrawn request is not answered, however far it had come")
{
    Reader reader;
    const QString path = reader.pdf("a.pdf", {Qt::red});
    int told = 0;
    const auto count = [&](const PdfPages::Outcome&) { ++told; };
    (void)reader.pages.request({path, 0, 50}, count); // not kept
    const auto given = reader.pages.request({path, 0, 50}, count);
    *given = true;
    auto late = reader.pages.request({path, 0, 50}, count);
    auto set = reader.pages.request({path, 0, 50}, count);
    REQUIRE(TestSupport::pumpUntil([] { return Bedrock::Inbox::instance().isWaiting(); }));
    late.reset(); // its page waits in the inbox
    *set = true;
    CHECK_FALSE(reader.outcome({path, 0, 50}).image.isNull()); // comes after all of them
    CHECK(told == 0);
}

TEST_CASE("pdf pages: a file that has changed is opened anew, and one that has gone is gone")
{
    Reader reader;
    const QString path = reader.pdf("a.pdf", {Qt::red});
    CHECK(Reader::middle(reader.outcome({path, 0, 50}).image) == QColor(Qt::red));
    reader.pdf("a.pdf", {Qt::green, Qt::green});
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(10), QFileDevice::FileModificationTime));
    file.close();
    const auto changed = reader.outcome({path, 0, 50});
    CHECK(changed.pageCount == 2);
    CHECK(Reader::middle(changed.image) == QColor(Qt::green));
    REQUIRE(QFile::remove(path));
    CHECK(reader.outcome({path, 0, 50}).error == "No such file or directory");
}

TEST_CASE("pdf pages: many files are read, again and again")
{
    Reader reader;
    std::vector<QString> paths;
    for (std::size_t i = 0; i < 8; ++i)
        paths.push_back(reader.pdf(("f" + std::to_string(i) + ".pdf").c_str(), {QColor(int(20 * i), 0, 0)}));
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < paths.size(); ++i)
            CHECK(Reader::middle(reader.outcome({paths[i], 0, 50}).image).red() == int(20 * i));
}

TEST_CASE("pdf pages: of equal failures the first one is worth a warning")
{
    PdfPages pages;
    CHECK(pages.isFirstFailure("a.pdf: no"));
    CHECK_FALSE(pages.isFirstFailure("a.pdf: no"));
    CHECK(pages.isFirstFailure("a.pdf: another reason"));
    PdfPages others;
    CHECK(others.isFirstFailure("a.pdf: no"));
}

TEST_CASE("pdf pages: destroyed with requests under way, it answers none of them")
{
    int told = 0;
    {
        Reader reader;
        const QString path = reader.pdf("a.pdf", {Qt::red, Qt::green});
        std::vector<PdfPages::Cancel> asked;
        for (int i = 0; i < 20; ++i)
            asked.push_back(reader.pages.request({path, i % 2, 2000}, [&](const PdfPages::Outcome&) { ++told; }));
    }
    (void)Bedrock::Inbox::instance().deliver();
    CHECK(told == 0);
}

TEST_CASE("pdf pages: a page that is kept on the disk is not rendered, one of another width or number is")
{
    const QTemporaryDir entries;
    Reader reader;
    const QString path = reader.pdf("a.pdf", {Qt::red, Qt::green});
    const auto kept = std::make_shared<Bedrock::DecodedFiles>(
        Bedrock::DecodedFiles::Settings{entries.path(), 10 << 20, reader.folder.path(), {}});
    Bedrock::DecodedFiles::setShared(kept);
    CHECK(Reader::middle(reader.outcome({path, 0, 50}).image) == QColor(Qt::red));
    const auto source = kept->source(path, "page 0 50");
    REQUIRE(source);
    REQUIRE(kept->find(*source));
    // What is kept is given, even when it is another page.
    Tavola::RenderedPage other;
    other.image = QImage(50, 25, QImage::Format_ARGB32_Premultiplied);
    other.image.fill(Qt::blue);
    other.pageCount = 9;
    kept->keep(*source, other.toBytes());
    const auto outcome = reader.outcome({path, 0, 50});
    CHECK(Reader::middle(outcome.image) == QColor(Qt::blue));
    CHECK(outcome.pageCount == 9);
    CHECK(Reader::middle(reader.outcome({path, 0, 60}).image) == QColor(Qt::red));
    CHECK(Reader::middle(reader.outcome({path, 1, 50}).image) == QColor(Qt::green));
    // Bytes that are no page are not shown.
    kept->keep(*source, "no page");
    CHECK(Reader::middle(reader.outcome({path, 0, 50}).image) == QColor(Qt::red));
    Bedrock::DecodedFiles::setShared(nullptr);
}

TEST_CASE("pdf pages: a page that cannot be rendered is not kept")
{
    const QTemporaryDir entries;
    Reader reader;
    const auto kept = std::make_shared<Bedrock::DecodedFiles>(
        Bedrock::DecodedFiles::Settings{entries.path(), 10 << 20, reader.folder.path(), {}});
    Bedrock::DecodedFiles::setShared(kept);
    QFile file(reader.path("no.pdf"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write("no document");
    file.close();
    CHECK_FALSE(reader.outcome({file.fileName(), 0, 50}).error.isEmpty());
    const auto source = kept->source(file.fileName(), "page 0 50");
    REQUIRE(source);
    CHECK_FALSE(kept->find(*source));
    Bedrock::DecodedFiles::setShared(nullptr);
}
