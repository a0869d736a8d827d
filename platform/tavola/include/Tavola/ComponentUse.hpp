#pragma once

#include <Bedrock/Export.hpp>

#include <QJsonObject>
#include <QString>

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
    QJsonObject properties; ///< "id", "classes", "attributes"; file references are absolute paths
    std::vector<std::pair<QString, std::vector<ComponentUse>>> slotContents;
    QString place; ///< file and place, for messages

    /// Makes the component with everything in its slots. A component that is not registered is a warning with its place and
    /// is left out; null when it is this one. Main thread.
    [[nodiscard]] std::shared_ptr<UIComponent> makeComponent() const;
};
}
