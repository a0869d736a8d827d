#pragma once

#include <Bedrock/Export.hpp>

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <utility>
#include <vector>

namespace Tavola
{
class UIComponent;

/// A component as a file puts it on the table, into a slot or into a menu; see ComponentReader. A plain record.
struct TAVOLA_EXPORT ComponentUse
{
    QString component;
    QJsonObject properties;         ///< as for Component::setProperties; file references are absolute paths
    QStringList unusableAttributes; ///< written in the file, left out of `properties`, and reported
    std::vector<std::pair<QString, std::vector<ComponentUse>>> slotContents;
    QString place; ///< file and place, for messages

    /// Makes the component with everything in its slots. A component that cannot be made is left out, with a line in the log
    /// that has its place: one that is not registered, or that lacks a restriction of its schema (Schema::restrictions). Null
    /// when it is this one. Main thread.
    [[nodiscard]] std::shared_ptr<UIComponent> makeComponent() const;
};
}
