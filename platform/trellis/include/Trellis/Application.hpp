#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <QImage>
#include <QString>

#include <memory>
#include <vector>

class QKeyEvent;
class QRegion;

namespace Tactile
{
class InputSource;
}
namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
class DragObserver;
class GrabManager;
class Widget;

/// Owns the widget tree and its engines: one call of `frame` is one frame, in the fixed order input, update, after update,
/// style and layout. Drawing is a step of its own, so that a program without a window draws only when asked.
/// One for the process, main thread only.
class TAVOLA_EXPORT Application
{
public:
    /// `sizePx`: the table's size.
    explicit Application(Vecta::Vector2f sizePx);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Null while there is none.
    [[nodiscard]] static Application* instance() noexcept;

    /// The root of the tree, as large as the table. Takes no input itself.
    [[nodiscard]] Bedrock::IntrusivePtr<Widget> mainLayer() const;
    [[nodiscard]] GrabManager* grabManager() const noexcept;
    [[nodiscard]] Vecta::Vector2f size() const noexcept;
    void resize(Vecta::Vector2f sizePx);

    /// Input is read from all sources in the order they were added. Not owned; remove before destroying.
    void addInputSource(Tactile::InputSource& source);
    void removeInputSource(Tactile::InputSource& source);
    /// Null for none. Not owned.
    void setDragObserver(DragObserver* observer);
    /// A touch is a tap when its finger stays within `distancePx` (12) and leaves before `seconds` (0.5) of frame time;
    /// a finger that goes further drags.
    void setTapLimits(float distancePx, double seconds);

    /// One frame of `dtSeconds` (below zero counts as zero). Pumps Qt's events first.
    void frame(double dtSeconds);
    [[nodiscard]] double time() const noexcept;
    [[nodiscard]] long frameNumber() const noexcept;

    /// Work done so far; for tests of precision.
    struct Counters
    {
        long widgetsArranged = 0; ///< widgets whose children were placed anew
        long widgetsVisited = 0;  ///< visits of updating widgets and widgets with operators
        long imagesRead = 0;      ///< pictures decoded from files (or tried to), in the whole process
        long textsLaidOut = 0;    ///< texts broken into lines, in the whole process
    };
    [[nodiscard]] Counters counters() const noexcept;

    /// Scene areas that must be drawn anew since `collectDamage` was last called; a frame in which nothing changed adds none.
    [[nodiscard]] const std::vector<Vecta::Rect>& damage() const noexcept;
    /// Returns the damage, clipped to the table and merged to few rectangles, and clears it.
    [[nodiscard]] QRegion collectDamage();
    /// Pixels of the screen that a pixel of the table takes in each direction, (1, 1) if not set. Kept pictures have that scale:
    /// they serve where the table is drawn with it, its corner on a whole pixel. Scales that are not above 0 are ignored.
    void setScreenScale(Vecta::Vector2f scale);
    /// Draws the tree as it stands.
    void render(Lantern::RenderContext& context);
    /// The whole scene as a picture of its own.
    [[nodiscard]] QImage renderToImage();
    /// A widget and everything in it as a picture on a transparent ground: upright and opaque whatever its rotation and
    /// opacity, in its own size, made smaller where a side exceeds `maxSizePx`. Null for a widget without a size.
    [[nodiscard]] QImage renderWidgetToImage(const Widget& widget, int maxSizePx);
    /// Keeps the children of `parent`, each with everything in it, as pictures while they are neither turned nor scaled, so
    /// that moving or fading one is one copy. They stand on whole pixels of the screen from then on, kept or not.
    void keepPicturesOf(Widget& parent);
    /// What the kept pictures may take, 256 MiB if not set. Those that were drawn the longest time ago go first.
    void setPictureBudget(std::size_t bytes);
    struct KeptPictures
    {
        std::size_t count = 0;
        std::size_t bytes = 0;
        std::size_t budgetBytes = 0;
    };
    [[nodiscard]] KeptPictures keptPictures() const noexcept;
    /// Something waits for the next frame (an animation, damage, the after-update queue): the loop should not sleep long.
    [[nodiscard]] bool needsFrame() const;
    /// Pictures that are on their way from the disk.
    [[nodiscard]] int pendingImages() const;

    /// The widget that keys go to, or null. Only text editors take the focus.
    [[nodiscard]] Widget* focusWidget() const;
    void setFocusWidget(Widget* widget);
    void keyPressed(QKeyEvent& event);

    /// Destroys what was taken from the tree; part of each frame, and for a shutdown.
    void destroyRemovedWidgets();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
