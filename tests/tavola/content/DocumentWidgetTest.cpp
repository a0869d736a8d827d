#include "LogCapture.hpp"
#include "PdfFile.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/DocumentWidget.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <QDir>
#include <QImageReader>
#include <QTemporaryDir>

using Bedrock::makeIntrusive;
using Tavola::DocumentWidget;
using TestSupport::expectWarning;
using TestSupport::TestHost;

namespace
{
struct Documents
{
    Documents() { host.style("DocumentWidget { position: absolute; left: 100px; top: 100px; width: 400px }"); }

    QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    QString pdf(const std::vector<QColor>& pages, QSizeF points = {200.0, 100.0},
                const QString& name = QStringLiteral("pages.pdf"))
    {
        PdfFile::write(path(name), pages, points);
        return path(name);
    }
    Bedrock::IntrusivePtr<DocumentWidget> widget(const QString& source)
    {
        const auto made = makeIntrusive<DocumentWidget>(&host.mainWidget());
        set(*made, "source", source);
        return made;
    }
    static void set(Trellis::Widget& widget, const char* name, const QString& text)
    {
        dynamic_cast<Facet::AttributeT<QString>&>(*widget.attribute(name)).setValue(text);
    }
    bool load(const DocumentWidget& widget)
    {
        return host.frameUntil([&] { return widget.isLoaded(); });
    }
    /// The colour in the middle of a widget.
    QColor colour(const Trellis::Widget& widget)
    {
        const auto middle = widget.mapToScene(widget.size() * 0.5f);
        return host.app().renderToImage().pixelColor(int(middle.x), int(middle.y));
    }
    static Trellis::TextWidget& text(const Trellis::Widget& widget, const char* cssClass)
    {
        for (const auto& child : widget.children())
            if (child->hasCSSClass(cssClass))
                return dynamic_cast<Trellis::TextWidget&>(*child);
        FAIL("there is no such text");
        std::abort();
    }

    QTemporaryDir folder;
    TestHost host;
};
}

TEST_CASE("document: its page shows in the page's proportions")
{
    Documents table;
    const auto widget = table.widget(table.pdf({Qt::red}));
    REQUIRE(table.load(*widget));
    CHECK(widget->cssType() == "DocumentWidget");
    CHECK(widget->pageCount() == 1);
    CHECK(widget->page() == 1);
    CHECK(widget->width() == 400.f);
    CHECK(widget->height() == doctest::Approx(200.f));
    CHECK(table.colour(*widget) == QColor(Qt::red));
    CHECK_FALSE(Documents::text(*widget, "document-page").isVisible());
    CHECK_FALSE(Documents::text(*widget, "document-note").isVisible());
}

TEST_CASE("document: taps on its halves turn the pages, and stop at the first and the last")
{
    Documents table;
    const auto widget = table.widget(table.pdf({Qt::red, Qt::green, Qt::blue}));
    REQUIRE(table.load(*widget));
    const auto tap = [&](float share) { table.host.tap(widget->mapToScene({widget->width() * share, widget->height() / 2.f})); };
    struct Row
    {
        float share;
        int page;
        QColor colour;
        const char* words;
    };
    const Row rows[] = {{0.2f, 1, Qt::red, "1 / 3"},
                        {0.8f, 2, Qt::green, "2 / 3"},
                        {0.51f, 3, Qt::blue, "3 / 3"},
                        {0.9f, 3, Qt::blue, "3 / 3"},
                        {0.49f, 2, Qt::green, "2 / 3"}};
    for (const Row& row : rows) {
        CAPTURE(row.share);
        tap(row.share);
        CHECK(widget->page() == row.page);
        REQUIRE(table.load(*widget));
        CHECK(table.colour(*widget) == row.colour);
        CHECK(Documents::text(*widget, "document-page").isVisible());
        CHECK(Documents::text(*widget, "document-page").text() == row.words);
    }
    // A drag turns no page.
    table.host.drag(1, {250.f, 200.f}, {450.f, 260.f});
    CHECK(widget->location().x == doctest::Approx(300.f));
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK(widget->page() == 2);
}

TEST_CASE("document: pages turned faster than they are rendered end with the last one wanted")
{
    Documents table;
    const auto widget = table.widget(table.pdf({Qt::red, Qt::green, Qt::blue}));
    widget->setPage(2);
    table.host.frame(0.0);
    widget->setPage(3);
    table.host.frame(0.0);
    widget->setPage(1);
    REQUIRE(table.load(*widget));
    CHECK(table.colour(*widget) == QColor(Qt::red));
    widget->setPage(99);
    CHECK(widget->page() == 3);
    widget->setPage(-5);
    CHECK(widget->page() == 1);
}

TEST_CASE("document: the cover shows until the first page is there")
{
    Documents table;
    QImage cover(40, 20, QImage::Format_RGB32);
    cover.fill(Qt::yellow);
    REQUIRE(cover.save(table.path(QStringLiteral("cover.png"))));
    const auto widget = makeIntrusive<DocumentWidget>(&table.host.mainWidget());
    Documents::set(*widget, "cover", table.path(QStringLiteral("cover.png")));
    REQUIRE(table.host.frameUntil([&] { return table.host.app().pendingImages() == 0; }));
    table.host.frame(0.0);
    CHECK(widget->height() == doctest::Approx(200.f)); // the cover's proportions
    CHECK(table.colour(*widget) == QColor(Qt::yellow));
    Documents::set(*widget, "source", table.pdf({Qt::red}, {200.0, 200.0}));
    CHECK(table.colour(*widget) == QColor(Qt::yellow));
    REQUIRE(table.load(*widget));
    CHECK(widget->height() == doctest::Approx(400.f));
    CHECK(table.colour(*widget) == QColor(Qt::red));
}

TEST_CASE("document: a file that cannot be shown is one warning, and a note that visitors can read")
{
    Documents table;
    for (const PdfFile::Unusable& file : PdfFile::unusable()) {
        CAPTURE(file.name);
        const QString path = PdfFile::write(file, table.folder.path());
        expectWarning("DocumentWidget # Cannot show " + path.toStdString() + ": " + file.why + "; a note stands in its place");
        for (int i = 0; i < 2; ++i) { // the second one warns of nothing any more
            const auto widget = table.widget(path);
            CHECK(table.host.frameUntil([&] { return widget->hasPseudoClass("failed"); }));
            CHECK(Documents::text(*widget, "document-note").isVisible());
            CHECK(Documents::text(*widget, "document-note").text() == "This document cannot be shown.");
            CHECK_FALSE(widget->isLoaded());
            CHECK(widget->height() > 100.f);
            // Nothing is asked for again by itself, and a tap does no harm.
            table.host.tap({450.f, 150.f});
            table.host.frames(3);
            widget->removeFromParent();
            table.host.frame();
        }
    }
}

TEST_CASE("document: a page that lacks a picture is shown, with one warning that says why")
{
    Documents table;
    const QString path = table.path(QStringLiteral("lacking.pdf"));
    PdfFile::writeBytes(path, R"(%PDF-1.5
1 0 obj
<< /Type /Catalog /Pages 2 0 R >>
endobj
2 0 obj
<< /Type /Pages /Kids [3 0 R] /Count 1 >>
endobj
3 0 obj
<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents 4 0 R /Resources << /XObject << /I 5 0 R >> >> >>
endobj
4 0 obj
<< /Length 29 >>
stream
q 200 0 0 100 0 0 cm /I Do Q
endstream
endobj
5 0 obj
<< /Type /XObject /Subtype /Image /Width 9 /Height 9 /ColorSpace /DeviceRGB /BitsPerComponent 8 /Filter /JPXDecode /Length 4 >>
stream
none
endstream
endobj
trailer
<< /Root 1 0 R >>
)");
    expectWarning("DocumentWidget # " + path.toStdString()
                  + ": page 1 is shown without a JPEG 2000 picture that is damaged; save the document anew");
    for (int i = 0; i < 2; ++i) { // the second one warns of nothing any more
        const auto widget = table.widget(path);
        CHECK(table.host.frameUntil([&] { return widget->isLoaded(); }));
        CHECK_FALSE(widget->hasPseudoClass("failed"));
        CHECK_FALSE(Documents::text(*widget, "document-note").isVisible());
        widget->removeFromParent();
        table.host.frame();
    }
}

TEST_CASE("document: a source that works takes the note away")
{
    Documents table;
    const QString bad = table.path(QStringLiteral("bad.pdf"));
    PdfFile::writeBytes(bad, "no");
    expectWarning("DocumentWidget # Cannot show " + bad.toStdString()
                  + ": it is no PDF file, or is damaged; a note stands in its place");
    const auto widget = table.widget(bad);
    REQUIRE(table.host.frameUntil([&] { return widget->hasPseudoClass("failed"); }));
    Documents::set(*widget, "source", table.pdf({Qt::red}));
    CHECK_FALSE(widget->hasPseudoClass("failed"));
    REQUIRE(table.load(*widget));
    CHECK_FALSE(Documents::text(*widget, "document-note").isVisible());
    CHECK(table.colour(*widget) == QColor(Qt::red));
}

TEST_CASE("document: shown much larger it is rendered anew, at most as large as is sensible")
{
    Documents table;
    const auto widget = table.widget(table.pdf({Qt::red}));
    int loaded = 0;
    widget->eventAddListener("page-loaded", [&] { ++loaded; });
    REQUIRE(table.load(*widget));
    CHECK(loaded == 1);
    table.host.frames(5, 0.0);
    CHECK(loaded == 1);
    widget->setScale(3.f);
    CHECK(table.host.frameUntil([&] { return loaded == 2; }));
    widget->setScale(300.f);
    CHECK(table.host.frameUntil([&] { return loaded == 3; }));
    table.host.frames(5, 0.0);
    CHECK(loaded == 3);
}

TEST_CASE("document: describes itself by its file, and its snapshot is a PNG within the bound")
{
    Documents table;
    const QString path = table.pdf({Qt::red, Qt::green});
    const auto widget = table.widget(path);
    Documents::set(*widget, "display-name", QStringLiteral("Guide"));
    REQUIRE(table.load(*widget));
    const auto data = Tavola::FileRepresentation::widgetData(*widget);
    CHECK(data.file == path);
    CHECK(data.files == QStringList{path});
    CHECK(data.sources.isEmpty());
    CHECK(data.displayName == "Guide");
    CHECK(data.url.isEmpty());
    widget->setScale(2.f);
    auto future = Tavola::FileRepresentation::takeWidgetSnapshot(*widget, QString(), 300);
    REQUIRE(table.host.frameUntil([&] { return future.isReady(); }));
    const QImageReader reader(future.value());
    CHECK(reader.format() == "png");
    CHECK(reader.size() == QSize(300, 150));
}

TEST_CASE("document: it may leave while its page is rendered, with the application as well")
{
    Documents table; // whose end counts what is left
    {
        const auto widget = table.widget(table.pdf({Qt::red, Qt::green}));
        table.host.frame(0.0);
        widget->removeFromParent();
    }
    table.host.frame(0.0);
    for (int i = 0; i < 20; ++i)
        static_cast<void>(table.widget(table.path(QStringLiteral("pages.pdf"))));
    table.host.frame(0.0);
    table.host.destroyTavola();
}

TEST_CASE("document: one that is left alone costs nothing")
{
    Documents table;
    const auto widget = table.widget(table.pdf({Qt::red, Qt::green}));
    REQUIRE(table.load(*widget));
    table.host.frames(2);
    static_cast<void>(table.host.app().collectDamage());
    const auto before = table.host.app().counters();
    table.host.frames(10);
    CHECK(table.host.app().counters().widgetsVisited == before.widgetsVisited);
    CHECK(table.host.app().damage().empty());
}
