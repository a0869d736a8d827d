#include "content/ContentFolder.hpp"

#include "FewerFiles.hpp"
#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using MediaServer::ContentError;
using MediaServer::ContentFolder;

TEST_CASE("content folder: a file is found by its bare name")
{
    const Folder folder;
    folder.write(QStringLiteral("boat.png"), "picture");
    folder.write(QString::fromUtf8("Übersicht – 1.pdf"), "document");
    const ContentFolder content(folder.path());

    auto file = content.open(QStringLiteral("boat.png"));
    REQUIRE(file);
    char bytes[16] = {};
    CHECK(::read(file->descriptor(), bytes, sizeof bytes) == 7);
    CHECK(std::string(bytes) == "picture");
    CHECK(content.open(QString::fromUtf8("Übersicht – 1.pdf")));
}

TEST_CASE("content folder: nothing outside it is found, whatever the name says")
{
    const Folder outside;
    outside.write(QStringLiteral("secret.txt"), "secret");
    outside.makeFolder(QStringLiteral("content"));
    outside.write(QStringLiteral("content/a.txt"), "a");
    outside.makeFolder(QStringLiteral("content/inner"));
    outside.write(QStringLiteral("content/inner/b.txt"), "b");
    outside.write(QStringLiteral("content/.hidden"), "h");
    const QString path = outside.path(QStringLiteral("content"));
    REQUIRE(QFile::link(outside.path(QStringLiteral("secret.txt")), path + QLatin1String("/out.txt")));
    REQUIRE(QFile::link(QStringLiteral("a.txt"), path + QLatin1String("/in.txt")));
    REQUIRE(QFile::link(outside.path(), path + QLatin1String("/up")));
    REQUIRE(::mkfifo(QFile::encodeName(path + QLatin1String("/pipe")).constData(), 0600) == 0);
    const ContentFolder content(path);
    REQUIRE(content.open(QStringLiteral("a.txt")));

    const QStringList names = {
        QStringLiteral("../secret.txt"),
        QStringLiteral(".."),
        QStringLiteral("."),
        QString(),
        QStringLiteral("/etc/passwd"),
        outside.path(QStringLiteral("secret.txt")),
        QStringLiteral("inner/b.txt"),
        QStringLiteral("inner"),
        QStringLiteral("./a.txt"),
        QStringLiteral("..\\secret.txt"),
        QStringLiteral(".hidden"),
        QStringLiteral("out.txt"),
        QStringLiteral("in.txt"),
        QStringLiteral("up/secret.txt"),
        QStringLiteral("pipe"),
        QStringLiteral("%2e%2e/secret.txt"),
        QString(300, QLatin1Char('a')),
        QStringLiteral("a.txt") + QChar(0) + QStringLiteral(".png"),
        QStringLiteral("a.txt\n"),
        QStringLiteral("A.TXT"),
    };
    for (const QString& name : names) {
        CAPTURE(name.toStdString());
        const auto file = content.open(name);
        REQUIRE_FALSE(file);
        CHECK(file.error().kind == ContentError::Kind::NoSuchFile);
    }
}

TEST_CASE("content folder: the error names the file")
{
    const Folder folder;
    const ContentFolder content(folder.path());
    CHECK(content.open(QStringLiteral("gone.png")).error().text
          == QLatin1String("There is no file \"gone.png\" in the content folder."));
    CHECK(content.open(QStringLiteral("../x")).error().text
          == QLatin1String("\"../x\" is not the bare name of a file: send a name without folders."));
}

TEST_CASE("content folder: what cannot be read now is not said to be missing")
{
    const Folder folder;
    folder.write(QStringLiteral("boat.png"), "picture");
    const ContentFolder content(folder.path());
    const auto check = [](const ContentFolder& where, const char* reason) {
        const auto file = where.open(QStringLiteral("boat.png"));
        REQUIRE_FALSE(file);
        CHECK(file.error().kind == ContentError::Kind::Unreadable);
        CHECK(file.error().text == QLatin1String("The media server cannot read \"boat.png\" at the moment. Try again later."));
        CHECK(file.error().reason == QLatin1String(reason));
    };
    {
        const FewerFiles none(0);
        check(content, "the content folder: Too many open files");
    }
    {
        // Enough for the folder, but not for the file in it.
        const FewerFiles one(1);
        check(content, "boat.png: Too many open files");
    }
    CHECK(content.open(QStringLiteral("boat.png")));
    check(ContentFolder(folder.path(QStringLiteral("none"))), "the content folder: No such file or directory");
}

TEST_CASE("content folder: types follow the ending, and what a browser should not open has none of its own")
{
    CHECK(ContentFolder::contentType(QStringLiteral("a.b.JPG")) == "image/jpeg");
    CHECK(ContentFolder::contentType(QStringLiteral("a.svg")) == "image/svg+xml");
    CHECK(ContentFolder::contentType(QStringLiteral("a.pdf")) == "application/pdf");
    for (const char* name : {"a.html", "a.htm", "a.xhtml", "a.js", "a", "a.exe"})
        CHECK(ContentFolder::contentType(QString::fromLatin1(name)) == "application/octet-stream");
    CHECK(ContentFolder::isPicture(QStringLiteral("a.webp")));
    CHECK_FALSE(ContentFolder::isPicture(QStringLiteral("a.pdf")));
}
