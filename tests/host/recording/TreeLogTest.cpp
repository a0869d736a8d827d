#include "recording/TreeLog.hpp"

#include "Folder.hpp"

#include <Bedrock/IntrusivePtr.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>
#include <vector>

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

Facet::AttributeT<bool>& switchOf(const Trellis::Widget& widget, const char* name)
{
    auto* attribute = dynamic_cast<Facet::AttributeT<bool>*>(widget.attribute(name));
    REQUIRE(attribute);
    return *attribute;
}
}

TEST_CASE("tree log: a line for each frame names what changed and what is gone, and equal widgets have equal hashes")
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

TEST_CASE("tree log: everything in the report of a widget is compared")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("facts.trees"));
    QString error;
    const auto log = TreeLog::create(file, error);
    REQUIRE(log);
    const auto root = Bedrock::makeIntrusive<Trellis::Widget>();
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    root->addChild(widget);
    log->write(0, *root);
    const std::vector<std::pair<const char*, std::function<void()>>> changes{
        {"id", [&] { widget->setCSSId("picture"); }},
        {"class", [&] { widget->addCSSClass("open"); }},
        {"pseudo-class", [&] { widget->setPseudoClass("dragging", true); }},
        {"place",
         [&] {
             widget->setLocation({3.0f, 4.0f});
         }},
        {"size",
         [&] {
             widget->setSize({30.0f, 40.0f});
         }},
        {"rotation", [&] { widget->setRotation(0.5f); }},
        {"scale", [&] { widget->setScale(2.0f); }},
        {"opacity", [&] { widget->setOpacity(0.5f); }},
        {"an attribute", [&] { switchOf(*widget, "input-transparent").setValue(true); }},
        {"an attribute's layer alone", [&] { switchOf(*widget, "movable").setValue(switchOf(*widget, "movable").value()); }},
    };
    long frame = 0;
    for (const auto& [what, change] : changes) {
        CAPTURE(what);
        change();
        log->write(++frame, *root);
        const auto lines = linesOf(file);
        REQUIRE(lines.size() == std::size_t(frame) + 1);
        CHECK(lines.back().value(QLatin1String("changed")).toObject().contains(QLatin1String("0/0")));
    }
}
