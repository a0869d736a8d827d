#pragma once

#include <Bedrock/Export.hpp>

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace Tavola
{
/// An object of a JSON file that people write, read entry by entry:
///
///     const JsonEntries table = root.inner("table");
///     table.checkKnown({"width", "smoothing"});
///     width = table.positive("width", width, 16384.0);
///
/// An entry of a wrong kind is reported to `skip` with its place in the file ("table.width") and the reason, and counts as
/// missing: its usual value is returned. Any thread; `skip` is called within the call.
class TAVOLA_EXPORT JsonEntries
{
public:
    using Skip = std::function<void(const QString& place, const QString& why)>;

    /// `place`: of the object in its file; empty for the outermost.
    JsonEntries(QJsonObject object, QString place, Skip skip);
    /// An undefined value has no entries; nor has one that is no object, which is reported.
    [[nodiscard]] static JsonEntries of(const QJsonValue& value, const QString& place, const Skip& skip);
    /// "services" and "mail" make "services.mail".
    [[nodiscard]] static QString joined(const QString& place, const QString& key);

    [[nodiscard]] const QJsonObject& object() const noexcept { return m_object; }
    [[nodiscard]] QJsonValue value(const QString& key) const { return m_object.value(key); }
    [[nodiscard]] QString placeOf(const QString& key) const { return joined(m_place, key); }
    /// Reports an entry that cannot be used.
    void skip(const QString& key, const QString& why) const { m_skip(placeOf(key), why); }

    /// Reports every entry that is not among `known`: mostly a misspelt one.
    void checkKnown(const QStringList& known) const;

    [[nodiscard]] QString text(const QString& key, const QString& usual = QString()) const;
    /// From 0 to `most`.
    [[nodiscard]] double number(const QString& key, double usual, double most) const;
    /// Above 0 and up to `most`.
    [[nodiscard]] double positive(const QString& key, double usual, double most) const;
    [[nodiscard]] bool flag(const QString& key, bool usual) const;
    [[nodiscard]] JsonEntries inner(const QString& key) const { return of(value(key), placeOf(key), m_skip); }
    /// Empty, and reported, for a value that is no list. `what` names its elements in the message: "expected a list of files".
    [[nodiscard]] QJsonArray list(const QString& key, const char* what) const;

private:
    QJsonObject m_object;
    QString m_place;
    Skip m_skip;
};
}
