#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Trellis/DragObserver.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Makes drag and drop of the toolkit's drags: sends drop events to the listeners under a drag, and brings a widget home after
/// a drop was accepted.
///
///     dragged --(over a listener)--> hovering --(let go, accepted)--> gliding --(at home)--> ended
///        |                             |                                |
///        '--(let go)--> ended          '--(moved off)--> dragged        '--(touched and moved)--> dragged, same home
///
/// A listener that accepted a hover is sent exactly one Leave for it: when the drag moves off, is cancelled or refused later,
/// when the widget has glided off it after a drop, or when one of the two leaves the tree. Both are kept alive until then.
/// Owned by the application; main thread only.
class DragAndDrop final : public Trellis::DragObserver
{
public:
    DragAndDrop();
    ~DragAndDrop() override;
    DragAndDrop(const DragAndDrop&) = delete;
    DragAndDrop& operator=(const DragAndDrop&) = delete;

    void dragBegan(Trellis::Widget& widget) override;
    void dragMoved(Trellis::Widget& widget, Vecta::Vector2f scenePoint, int fingers) override;
    void dragEnded(Trellis::Widget& widget, Vecta::Vector2f scenePoint, bool cancelled) override;

private:
    class FrameOperator;
    struct Drag;
    using DragPtr = std::shared_ptr<Drag>;

    [[nodiscard]] DragPtr find(const Trellis::Widget& widget) const;
    [[nodiscard]] DragPtr begin(Trellis::Widget& widget);
    void forget(const DragPtr& drag);
    void setListener(const DragPtr& drag, Trellis::Widget* listener, Vecta::Vector2f scenePoint);
    void drop(const DragPtr& drag, Trellis::Widget& listener, Vecta::Vector2f scenePoint);
    /// Each frame while there are drags: moves gliding widgets, and ends the drags of widgets that have left the tree.
    void update(float dtSeconds);
    void glide(const DragPtr& drag, float dtSeconds);
    void watch();

    std::vector<DragPtr> m_drags;
    Bedrock::IntrusivePtr<FrameOperator> m_frameOperator; ///< attached to the main layer while there are drags
};
}
