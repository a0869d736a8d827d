#pragma once

#include <Facet/AttributeT.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <folly/futures/Future.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <string>
#include <vector>

/// What the plug-in's tests have in common: content to collect, and questions about widgets and events.
namespace PluginTest
{
using Strings = std::vector<std::string>;
using Vecta::kPi;

/// The message of what needs the media server where the table has none.
inline constexpr const char* kNoService = "No service configured, please configure a Media server service to use this feature.";

/// Content with files of its own, which completes its futures when the test says so.
class FakeContent final : public Trellis::Widget, public Tavola::FileRepresentation
{
public:
    explicit FakeContent(Trellis::Widget* parent = nullptr) : Trellis::Widget(parent) {}
    /// Completes the promises that are open with empty answers, unless `breaksPromises`.
    ~FakeContent() override;
    folly::Future<FileData> files() override;
    folly::Future<QString> previewFileName() override;

    void giveFiles(const QString& source, const QString& displayName = QString());

    folly::Promise<FileData> filesPromise;
    folly::Promise<QString> previewPromise;
    std::string throwOnFiles; ///< thrown out of the call unless empty
    std::string throwOnPreview;
    bool breaksPromises = false;
    int filesCalls = 0;
    int previewCalls = 0;
};

/// A widget with the attributes of content, which the host has to describe.
class PlainContent final : public Trellis::Widget
{
public:
    explicit PlainContent(Trellis::Widget* parent = nullptr) : Trellis::Widget(parent) {}
    Facet::AttributeT<QString> source{this, "source"};
    Facet::AttributeT<QStringList> urls{this, "source-tessel-urls"};
};

/// A card that no test has used before: contents live as long as the process.
[[nodiscard]] unsigned long newCode();

/// The children of a class, in the order of the tree.
[[nodiscard]] std::vector<Trellis::Widget*> childrenOfClass(const Trellis::Widget& widget, const char* cssClass);
/// The only child of a class; throws where there is not exactly one.
[[nodiscard]] Trellis::Widget& childOfClass(const Trellis::Widget& widget, const char* cssClass);
/// The only child of a class as a type.
template <class Type>
[[nodiscard]] Type& childOfClass(const Trellis::Widget& widget, const char* cssClass)
{
    return dynamic_cast<Type&>(childOfClass(widget, cssClass));
}
/// Whether two places are the same but for rounding; says in the test's output where they are when they are not.
[[nodiscard]] bool near(Vecta::Vector2f a, Vecta::Vector2f b, float tolerancePx = 0.05f);
/// Whether two angles, in radians, are the same direction.
[[nodiscard]] bool sameDirection(double a, double b);
/// In alphabetical order.
[[nodiscard]] Strings classesOf(const Trellis::Widget& widget);
[[nodiscard]] Strings pseudoClassesOf(const Trellis::Widget& widget);
/// The events that a node declares, in order.
[[nodiscard]] Strings eventsOf(const Facet::Node& node);

/// Records the events that nodes send, in order, as "name", "name 3" or "name 3 7": the name and its payload. Must outlive the
/// nodes.
class EventLog
{
public:
    enum class Payload { None, Id, Int32, IdAndInt32, IdAndText };
    void listen(Facet::Node& node, const char* event, Payload payload);

    Strings lines;
};

/// "name 3", as EventLog writes it.
[[nodiscard]] std::string line(const char* event, long id, const char* rest = "");
}
