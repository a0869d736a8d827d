#include "PluginSupport.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace PluginTest
{
FakeContent::~FakeContent()
{
    if (breaksPromises)
        return;
    if (filesCalls > 0 && !filesPromise.isFulfilled())
        filesPromise.setValue(FileData());
    if (previewCalls > 0 && !previewPromise.isFulfilled())
        previewPromise.setValue(QString());
}

folly::Future<Tavola::FileRepresentation::FileData> FakeContent::files()
{
    ++filesCalls;
    if (!throwOnFiles.empty())
        throw std::runtime_error(throwOnFiles);
    return filesPromise.getFuture();
}

folly::Future<QString> FakeContent::previewFileName()
{
    ++previewCalls;
    if (!throwOnPreview.empty())
        throw std::runtime_error(throwOnPreview);
    return previewPromise.getFuture();
}

void FakeContent::giveFiles(const QString& source, const QString& displayName)
{
    FileData data;
    data.sources = QList<QString>{source};
    data.displayName = displayName;
    filesPromise.setValue(data);
}

unsigned long newCode()
{
    static unsigned long last = 100000;
    return ++last;
}

std::vector<Trellis::Widget*> childrenOfClass(const Trellis::Widget& widget, const char* cssClass)
{
    std::vector<Trellis::Widget*> found;
    for (const auto& child : widget.children())
        if (child->hasCSSClass(cssClass))
            found.push_back(child.get());
    return found;
}

Trellis::Widget& childOfClass(const Trellis::Widget& widget, const char* cssClass)
{
    const auto found = childrenOfClass(widget, cssClass);
    if (found.size() != 1)
        throw std::runtime_error(std::to_string(found.size()) + " children of class " + cssClass);
    return *found.front();
}

bool near(Vecta::Vector2f a, Vecta::Vector2f b, float tolerancePx)
{
    const bool is = std::abs(a.x - b.x) < tolerancePx && std::abs(a.y - b.y) < tolerancePx;
    if (!is)
        MESSAGE("(" << a.x << ", " << a.y << ") is not near (" << b.x << ", " << b.y << ")");
    return is;
}

bool sameDirection(double a, double b)
{
    const bool is = std::abs(Vecta::shortestTurn(b, a)) < 1e-3;
    if (!is)
        MESSAGE(a << " rad is another direction than " << b << " rad");
    return is;
}

namespace
{
Strings sorted(const QList<QByteArray>& names)
{
    Strings result;
    for (const auto& name : names)
        result.push_back(name.toStdString());
    std::sort(result.begin(), result.end());
    return result;
}
}

Strings classesOf(const Trellis::Widget& widget)
{
    return sorted(widget.cssClasses());
}

Strings pseudoClassesOf(const Trellis::Widget& widget)
{
    return sorted(widget.pseudoClasses());
}

Strings eventsOf(const Facet::Node& node)
{
    Strings names;
    for (const auto& event : node.eventsOut())
        names.push_back(event.text().toStdString());
    return names;
}

void EventLog::listen(Facet::Node& node, const char* event, Payload payload)
{
    node.eventAddListenerBd(event, [this, event, payload](Bedrock::BinaryData& data) {
        std::string text = event;
        if (payload == Payload::Id || payload == Payload::IdAndInt32 || payload == Payload::IdAndText)
            text += " " + std::to_string(data.readInt64());
        if (payload == Payload::Int32 || payload == Payload::IdAndInt32)
            text += " " + std::to_string(data.readInt32());
        if (payload == Payload::IdAndText)
            text += " " + data.readString().toStdString();
        if (data.hasFailed() || !data.isAtEnd())
            text += " (payload not as expected)";
        lines.push_back(text);
    });
}

std::string line(const char* event, long id, const char* rest)
{
    return std::string(event) + " " + std::to_string(id) + rest;
}
}
