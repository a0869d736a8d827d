#pragma once

#include "picture/ImageLoader.hpp"

#include <Trellis/ImageWidget.hpp>

namespace Trellis
{
enum class Fit {
    Contain, ///< all of it shows
    Cover,   ///< it fills the widget, what sticks out is cut off
    Stretch  ///< it fills the widget, out of proportion
};

/// What an image widget shows and what it waits for. A request is made after the update, when the size is known;
/// answers for a source that was replaced meanwhile have another `generation` and are dropped.
struct ImageWidget::ImagePrivate
{
    explicit ImagePrivate(ImageWidget* host);

    Facet::AttributeT<QString> source;
    Facet::AttributeT<Fit> fit;

    ImageWidget& host;
    QImage image;
    QSize fullSize;           ///< pixels of the file
    ImageSize wanted;         ///< what was asked for last
    bool isRequested = false; ///< `wanted` holds
    bool isLoading = false;   ///< asked for and not answered
    bool isTiled = false;     ///< shows the picture in its own size, however large the widget is
    QImage pattern;           ///< several tiles in one picture, where one is very small
    long generation = 0;
    std::shared_ptr<void> scheduled; ///< a request will be made after the update

    /// The size that serves the widget as it stands in the scene.
    [[nodiscard]] ImageSize sizeShown() const;
    void sourceChanged();
    void schedule();
    void request();
    void show(const ImageLoader::Picture& picture);
};
}
