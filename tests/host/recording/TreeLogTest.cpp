#include "recording/TreeLog.hpp"

#include "Folder.hpp"

#include <Bedrock/IntrusivePtr.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Host;

namespace
{
std::vector<QJsonObject> linesOf(const QString& path)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadOnly));
    std::vector<QJsonObject> lines;
    while (!file.atEnd())
        lines.push_back(QJsonDocument::fromJson(file.readLine()).object());
    return lines;
}
}

TEST_CASE("tree log: a line for each frame tells what changed and what is gone, and equal widgets have equal hashes")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("a.trees"));
    QString error;
    {
        const auto log = TreeLog::create(file, error);
        REQUIRE(log);
        CHECK_FALSE(TreeLog::create(file, error));
        CHECK(error.contains(QStringLiteral("choose a name that does not exist yet")));
        const auto root = Bedrock::makeIntrusive<Trellis::Widget>();
        const auto child = Bedrock::makeIntrusive<Trellis::Widget>();
        root->addChild(child);
        log->write(1, *root);
        log->write(2, *root);
        child->addCSSClass("open");
        log->write(3, *root);
        child->removeFromParent();
        log->write(4, *root);
        root->addChild(Bedrock::makeIntrusive<Trellis::Widget>()); // the same as before, with another id
        log->write(5, *root);
    }
    const auto lines = linesOf(file);
    REQUIRE(lines.size() == 5);
    const auto changed = [&](std::size_t i) { return lines[i].value(QLatin1String("changed")).toObject().keys(); };
    const auto hash = [&](std::size_t i) { return lines[i].value(QLatin1String("hash")).toString(); };
    CHECK(lines[4].value(QLatin1String("frame")).toInt() == 5);
    CHECK(changed(0) == QStringList{"0", "0/0"});
    CHECK(changed(1).isEmpty());
    CHECK(changed(2) == QStringList{"0/0"});
    CHECK(lines[3].value(QLatin1String("gone")).toArray() == QJsonArray{"0/0"});
    CHECK(changed(4) == QStringList{"0/0"});
    CHECK(hash(0) == hash(1));
    CHECK(hash(1) != hash(2));
    CHECK(hash(3) != hash(2));
    CHECK(hash(4) == hash(0));
}
