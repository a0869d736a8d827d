#pragma once

#include <Tavola/ComponentUse.hpp>

#include <QByteArray>
#include <QJsonValue>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>

namespace Tavola
{
class JsonEntries;
class JsonNumbers;

/// Reads components from a JSON file:
///
///     { "component": "picture", "id": "map", "classes": ["large"],
///       "attributes": { "source": { "file": "media/map.png" } },      // files are named relative to the JSON file
///       "slots": { "legend": [ ... components ... ] } }
///
/// A component that is used in several places is written once, in the file's object "components" under a name, and used with
/// { "use": "name" }; what stands beside "use" is added to it: "id" and single attributes replace, classes and slots add.
/// Components that contain one another in a circle are reported at the place where the circle closes.
///
/// A mistake costs the smallest piece, which is reported to `skip` with its place in the file ("widgets[3].attributes.source")
/// and the reason. Main thread.
class TAVOLA_EXPORT ComponentReader
{
public:
    using Skip = std::function<void(const QString& place, const QString& why)>;

    /// Components of one file, each counted as often as it is used.
    static constexpr int kMostComponents = 10000;
    /// Levels of components in slots of components.
    static constexpr int kDeepest = 16;

    /// `file`: the JSON file.
    ComponentReader(QString file, Skip skip);

    /// The text of the file, which QJsonDocument has read without an error. With it, numbers in "attributes" keep their digits:
    /// `10` reaches a text attribute as "10" and `10.50` as "10.50". Call it before everything else.
    void setText(const QByteArray& json);
    /// The file for a message about a place of its text; of an attribute, of which there are many, with line and column:
    /// "presentation.json:12:5".
    [[nodiscard]] static QString located(const QString& file, const QByteArray& json, const QString& place);
    /// Components for which `isKnown` is false are skipped; without it every name is accepted.
    void setKnown(std::function<bool(const QString& component)> isKnown) { m_isKnown = std::move(isKnown); }
    /// The file's object "components". Read it before everything that may use it.
    void readNamed(const QJsonValue& components);

    [[nodiscard]] std::vector<ComponentUse> list(const QJsonValue& value, const QString& place);
    [[nodiscard]] std::optional<ComponentUse> single(const QJsonValue& value, const QString& place);
    /// The absolute path of a file that is named relative to the JSON file; empty, and reported, when it is not there.
    [[nodiscard]] QString file(const QString& name, const QString& place) const;

private:
    struct Named
    {
        QJsonValue value;
        std::optional<ComponentUse> use;
        int count = 0;  ///< components, with those in slots
        int height = 1; ///< 1 without slots
        bool isRead = false;
    };

    std::vector<ComponentUse> listAt(const QJsonValue& value, const QString& place, int depth);
    std::optional<ComponentUse> singleAt(const QJsonValue& value, const QString& place, int depth);
    std::optional<ComponentUse> named(const QString& name, const QString& place, int depth);
    void addEntries(const JsonEntries& entries, const QString& place, int depth, ComponentUse& use);
    QJsonValue resolved(const QJsonValue& value, const QString& place) const;
    bool countIn(int components, const QString& place);

    QString m_file;
    QString m_folder;
    Skip m_skip;
    std::shared_ptr<const JsonNumbers> m_numbers; ///< of the file's text; none without `setText`
    std::function<bool(const QString&)> m_isKnown;
    std::map<QString, Named> m_named;
    QStringList m_beingRead; ///< names, the outermost first
    int m_count = 0;
    bool m_isFull = false;
};
}
