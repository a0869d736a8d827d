#pragma once

#include "presentation/Presentation.hpp"
#include "table/TableOptions.hpp"

#include <QJsonArray>
#include <QString>

#include <memory>
#include <optional>

namespace Tactile
{
class TuioInput;
}
namespace Trellis
{
class Application;
}

namespace Host
{
/// A presentation on a table: the toolkit's application, the host core, services, plug-ins and widgets, created in this order and
/// destroyed in the opposite one. Main thread only.
class Table
{
public:
    /// Null, with the reason in `error`, when the table cannot open: a plug-in that does not load, a port that is taken, a
    /// registry that cannot be read, a recording that cannot be made or replayed. Mistakes in the presentation are logged and
    /// skipped.
    [[nodiscard]] static std::unique_ptr<Table> open(const Presentation& presentation, const TableOptions& options,
                                                     QString& error);
    ~Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    [[nodiscard]] Trellis::Application& application() const noexcept;
    /// One frame of `dtSeconds`; in a replay the recording's next, with its own step. The step that was taken; nothing at
    /// the end of a recording, where no frame runs any more. From within a frame: 0, and nothing happens.
    std::optional<double> frame(double dtSeconds);
    [[nodiscard]] bool isReplay() const noexcept;
    [[nodiscard]] const Tactile::TuioInput& input() const noexcept;
    /// The listeners as TableInput::listeners reports them, for the inspector.
    [[nodiscard]] QJsonArray listeners() const;
    /// The state of each e-mail service, for the inspector. Does not block.
    [[nodiscard]] QJsonArray mailState() const;
    /// The state of the store of collections, for the inspector; empty without one. Does not block.
    [[nodiscard]] QJsonObject collectionState() const;
    /// Where datagrams arrive: the first listener's port. 0 in a replay.
    [[nodiscard]] int tuioPort() const noexcept;

private:
    Table();
    struct Private;
    std::unique_ptr<Private> d;
};
}
