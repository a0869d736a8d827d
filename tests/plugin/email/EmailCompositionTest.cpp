#include "email/EmailComposition.hpp"

#include "EmailSupport.hpp"
#include "LogCapture.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <sys/stat.h>

using PluginTest::addEmailService;
using Tavola::Attachment;
using Tavola::createMessage;
using Tavola::EmailMessage;
using Tavola::parseAttachments;
using TestSupport::expectError;
using TestSupport::expectWarning;
using TestSupport::FakeEmailService;
using TestSupport::TestHost;
using FileData = Tavola::FileRepresentation::FileData;

namespace
{
const char* const kTemplate = "Dear <name>,\nhere is what you collected:";

/// A table with an e-mail service, and a folder for files.
struct Post
{
    TestHost host;
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);
    QTemporaryDir folder;

    /// A file of the folder, with its name as its content; its absolute path.
    QString file(const QString& name) const
    {
        const QString path = folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(name.toUtf8());
        return path;
    }
    static EmailMessage message(const QList<Attachment>& attachments, const QString& name = "Ann",
                                const QString& address = "ann@example.org")
    {
        auto created = createMessage(attachments, name, address);
        REQUIRE(created.has_value());
        return std::move(*created);
    }
    /// The body that a template and links give.
    QString body(const QString& text, const QList<Attachment>& attachments, const QString& name = "Ann") const
    {
        service->setTemplate(text);
        return message(attachments, name).content;
    }
};

struct WorkingDirectory
{
    QString before = QDir::currentPath();
    explicit WorkingDirectory(const QString& path) { QDir::setCurrent(path); }
    ~WorkingDirectory() { QDir::setCurrent(before); }
};

QList<Attachment> links(const QStringList& paths)
{
    QList<Attachment> list;
    for (const auto& path : paths)
        list.append({path, true});
    return list;
}
}

// ---- Attachments -----------------------------------------------------------------------------------------------------

TEST_CASE("attachments: files come first, then sources as links, then the address as a link, each in its order")
{
    FileData data;
    data.file = "/main";
    data.files = QList<QString>{"/b", "/a"};
    data.sources = QList<QString>{"http://z", "/y"};
    data.url = "http://url";
    data.displayName = "Name";
    const QList<Attachment> expected{{"/b", false}, {"/a", false}, {"http://z", true}, {"/y", true}, {"http://url", true}};
    CHECK(parseAttachments(data) == expected);
}

TEST_CASE("attachments: the main file is taken only where there is nothing else")
{
    FileData data;
    data.file = "/main";
    data.displayName = "Name";
    CHECK(parseAttachments(data) == QList<Attachment>{{"/main", false}});
    SUBCASE("not beside files")
    {
        data.files = QList<QString>{"/a"};
        CHECK(parseAttachments(data) == QList<Attachment>{{"/a", false}});
    }
    SUBCASE("not beside sources")
    {
        data.sources = QList<QString>{"http://z"};
        CHECK(parseAttachments(data) == QList<Attachment>{{"http://z", true}});
    }
    SUBCASE("not beside an address")
    {
        data.url = "http://url";
        CHECK(parseAttachments(data) == QList<Attachment>{{"http://url", true}});
    }
}

TEST_CASE("attachments: what is named twice is listed twice")
{
    FileData data;
    data.files = QList<QString>{"/a", "/a"};
    data.sources = QList<QString>{"http://a"};
    data.url = "http://a";
    const QList<Attachment> expected{{"/a", false}, {"/a", false}, {"http://a", true}, {"http://a", true}};
    CHECK(parseAttachments(data) == expected);
}

TEST_CASE("attachments: content with nothing in it yields one empty path, which ends up as an empty link line")
{
    CHECK(parseAttachments(FileData()) == QList<Attachment>{{QString(), false}});
    FileData named;
    named.displayName = "Name";
    CHECK(parseAttachments(named) == QList<Attachment>{{QString(), false}});
    Post post;
    CHECK(post.body("T", parseAttachments(FileData())) == "T\n\n\n");
    CHECK(post.message(parseAttachments(FileData())).attachments().empty());
}

// ---- Message ---------------------------------------------------------------------------------------------------------

TEST_CASE("message: without an e-mail service there is none, and nothing is logged")
{
    TestHost host;
    const auto message = createMessage({{"/none", false}}, "Ann", "ann@example.org");
    REQUIRE_FALSE(message.has_value());
    CHECK(message.error() == "No email service configured");
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("message: without an application there is none")
{
    TestHost host;
    host.destroyTavola();
    const auto message = createMessage({}, "Ann", "ann@example.org");
    REQUIRE_FALSE(message.has_value());
    CHECK(message.error() == "No email service configured");
}

TEST_CASE("message: it has one recipient, and neither subject nor sender of its own")
{
    Post post;
    const auto message = post.message({}, "Ann Lee", "ann@example.org");
    REQUIRE(message.recipients().size() == 1);
    CHECK(message.recipients()[0].address.address == "ann@example.org");
    CHECK(message.recipients()[0].address.name == "Ann Lee");
    CHECK(int(message.recipients()[0].type) == 0);
    CHECK(message.subject().isEmpty());
    CHECK(message.sender().address.isEmpty());
    CHECK(message.sender().name.isEmpty());
}

TEST_CASE("message: the service makes it once, and it is not sent")
{
    Post post;
    const auto message = post.message(links({"http://a"}));
    CHECK(post.service->created() == 1);
    CHECK(post.service->sent().empty());
    CHECK(post.host.analytics().empty());
}

TEST_CASE("message: the first of several services makes it")
{
    Post post;
    const auto other = std::make_shared<FakeEmailService>();
    post.host.tavola().services()->addService("email-service", "other", other);
    const auto message = post.message({});
    CHECK(post.service->created() == 1);
    CHECK(other->created() == 0);
}

TEST_CASE("body: the links and the name are put into the template")
{
    struct Row
    {
        const char* what;
        const char* text; ///< the template
        QStringList links;
        const char* name;
        const char* body;
    };
    const Row rows[] = {
        {"no place for the links", "Hello.", {"http://a", "http://b"}, "Ann", "Hello.\nhttp://a\n\nhttp://b\n\n"},
        {"no place for one link", "Hello.", {"http://a"}, "Ann", "Hello.\nhttp://a\n\n"},
        {"an empty template", "", {"http://a"}, "Ann", "\nhttp://a\n\n"},
        {"two places", "[<links>] and [<links>]", {"a", "b"}, "Ann", "[\na\n\nb\n\n] and [\na\n\nb\n\n]"},
        {"no links, appended", "Hello.", {}, "Ann", "Hello.\n"},
        {"no links, in their place", "[<links>]", {}, "Ann", "[\n]"},
        {"nothing at all", "", {}, "Ann", "\n"},
        {"places for the links in other letters", "[<Links>][<LINKS>]", {"a"}, "Ann", "[<Links>][<LINKS>]\na\n\n"},
        {"a place for the links, and one in other letters", "[<LINKS>][<links>]", {"a"}, "Ann", "[<LINKS>][\na\n\n]"},
        {"several names, in other letters, too",
         "<name>, <name>! <Name> <NAME> <links>",
         {},
         "Jürgen",
         "Jürgen, Jürgen! <Name> <NAME> \n"},
        {"an empty name", "Dear <name>,", {}, "", "Dear ,\n"},
        // The name is put in after the links: a link may contain its place, and a name may not contain that of the links.
        {"a link with a place for the name", "<links>", {"http://a/<name>"}, "Ann", "\nhttp://a/Ann\n\n"},
        {"a name that is a place for the links", "<name>", {}, "<links>", "<links>\n"},
        {"percent signs", "100 %1 <name>", {"http://a/%20%2"}, "%1", "100 %1 %1\nhttp://a/%20%2\n\n"},
    };
    Post post;
    for (const Row& row : rows) {
        CAPTURE(row.what);
        CHECK(post.body(row.text, links(row.links), row.name).toStdString() == row.body);
    }
}

TEST_CASE("files: one is attached under its bare name, as bytes of no particular kind")
{
    Post post;
    const QString path = post.file("deep/er/Bild ä.png");
    const auto message = post.message({{path, false}});
    REQUIRE(message.attachments().size() == 1);
    CHECK(message.attachments()[0].fileName == "Bild ä.png");
    CHECK(message.attachments()[0].mimeType == "application/octet-stream");
    CHECK(message.attachments()[0].device->openMode() == QIODevice::ReadOnly);
    CHECK(message.attachments()[0].device->readAll() == QByteArray("deep/er/Bild ä.png"));
    CHECK(message.content == "\n");
}

TEST_CASE("files: the message owns what it opened, also when the file is gone")
{
    Post post;
    const QString path = post.file("a.txt");
    const auto message = post.message({{path, false}});
    REQUIRE(QFile::remove(path));
    CHECK(message.attachments()[0].device->readAll() == QByteArray("a.txt"));
}

TEST_CASE("files: two with the same final name are both attached under it, in their order")
{
    Post post;
    const auto message = post.message({{post.file("one/photo.jpg"), false}, {post.file("two/photo.jpg"), false}});
    REQUIRE(message.attachments().size() == 2);
    for (const auto& attachment : message.attachments())
        CHECK(attachment.fileName == "photo.jpg");
    CHECK(message.attachments()[0].device->readAll() == QByteArray("one/photo.jpg"));
    CHECK(message.attachments()[1].device->readAll() == QByteArray("two/photo.jpg"));
}

TEST_CASE("files: a relative path that names an existing file is never attached, it is listed as a link")
{
    Post post;
    post.file("sub/a.txt");
    const WorkingDirectory directory(post.folder.path());
    REQUIRE(QFile::exists("sub/a.txt"));
    const auto message = post.message({{"sub/a.txt", false}});
    CHECK(message.attachments().empty());
    CHECK(message.content == "\nsub/a.txt\n\n");
}

TEST_CASE("files: an address given as a file is listed as a link")
{
    Post post;
    CHECK(post.body("", {{"https://example.org/a", false}, {"file:///etc/hostname", false}})
          == "\nhttps://example.org/a\n\nfile:///etc/hostname\n\n");
}

TEST_CASE("files: an existing file given as a link is a link")
{
    Post post;
    const QString path = post.file("a.txt");
    const auto message = post.message({{path, true}});
    CHECK(message.attachments().empty());
    CHECK(message.content == "\n" + path + "\n\n");
}

TEST_CASE("files: one that cannot be opened is left out with a warning, the rest goes on")
{
    Post post;
    const QString missing = post.folder.filePath("fehlt ä 100%s.png");
    expectWarning("createMessage # Failed to open file " + missing.toStdString() + " for reading");
    expectWarning("createMessage # Failed to open file " + post.folder.path().toStdString() + " for reading");
    expectWarning("createMessage # Failed to open file :/none.png for reading");
    post.service->setTemplate("Hello.");
    const auto message = post.message({{"http://a", true},
                                       {missing, false},
                                       {post.file("a.txt"), false},
                                       {post.folder.path(), false}, // a folder is no file
                                       {":/none.png", false},       // an absolute path all the same
                                       {"http://b", true}});
    REQUIRE(message.attachments().size() == 1);
    CHECK(message.attachments()[0].fileName == "a.txt");
    CHECK(message.content == "Hello.\nhttp://a\n\nhttp://b\n\n");
    CHECK(message.recipients().size() == 1);
}

TEST_CASE("files: a pipe is not waited for, it is left out like one that cannot be opened")
{
    Post post;
    const QString pipe = post.folder.filePath("pipe");
    REQUIRE(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    expectWarning("createMessage # Failed to open file " + pipe.toStdString() + " for reading");
    const auto message = post.message({{pipe, false}, {post.file("a.txt"), false}});
    REQUIRE(message.attachments().size() == 1);
    CHECK(message.attachments()[0].fileName == "a.txt");
}

TEST_CASE("files: links keep their order among the files between them")
{
    Post post;
    const auto message =
        post.message({{"z", false}, {post.file("2.txt"), false}, {"a", true}, {post.file("1.txt"), false}, {"", true}});
    REQUIRE(message.attachments().size() == 2);
    CHECK(message.attachments()[0].fileName == "2.txt");
    CHECK(message.attachments()[1].fileName == "1.txt");
    CHECK(message.content == "\nz\n\na\n\n\n\n");
}

TEST_CASE("composition: everything of a content reaches the message")
{
    Post post;
    post.service->setTemplate(QString(kTemplate) + "<links>Bye");
    FileData data;
    data.file = post.file("main.txt");
    data.files = QList<QString>{post.file("a.txt")};
    data.sources = QList<QString>{"http://source"};
    data.url = "http://url";
    const auto message = post.message(parseAttachments(data));
    CHECK(message.content == "Dear Ann,\nhere is what you collected:\nhttp://source\n\nhttp://url\n\nBye");
    REQUIRE(message.attachments().size() == 1);
    CHECK(message.attachments()[0].fileName == "a.txt");
}

// ---- The error ---------------------------------------------------------------------------------------------------------

TEST_CASE("error: it is logged with address and text, at error level")
{
    expectError("PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (no route)");
    Tavola::printEmailError("no route", "ann@example.org");
    expectError("PersonalSpaceWidget::emailContents # Failed to send email to jürgen@exämple.org (für später: 100%s %n)");
    Tavola::printEmailError("für später: 100%s %n", "jürgen@exämple.org");
    expectError("PersonalSpaceWidget::emailContents # Failed to send email to  ()");
    Tavola::printEmailError({}, {});
    CHECK(TestSupport::loggedLines().size() == 3);
}
