#include "picture/BackgroundFetch.hpp"

#include "picture/ImageLoader.hpp"
#include "tree/WidgetRecords.hpp"

#include <Bedrock/LocalPath.hpp>

#include <utility>

namespace Trellis
{
namespace
{
void show(Widget& widget, const QString& file, const ImageLoader::Picture& picture)
{
    const auto& pictures = WidgetRecords::of(widget).drawing.pictures;
    if (!pictures)
        return;
    for (BackgroundPicture& shown : *pictures)
        if (shown.file == file) {
            shown.image = picture.image;
            shown.fullSize = picture.fullSize;
        }
    widget.requestRedraw();
}
}

void fetchBackground(Widget& widget)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    const auto& images = drawing.background->images.value().entries;
    const auto before = std::exchange(drawing.pictures, nullptr);
    if (images.empty())
        return;
    drawing.pictures = std::make_unique<std::vector<BackgroundPicture>>();
    for (const BackgroundImage& image : images) {
        drawing.pictures->push_back({image.file, {}, {}});
        if (before)
            for (const BackgroundPicture& known : *before)
                if (known.file == image.file)
                    drawing.pictures->back() = known;
    }
    for (const BackgroundImage& image : images) {
        if (image.file.isEmpty())
            continue;
        const auto done = [weak = Bedrock::IntrusiveWeakPtr<Widget>(&widget),
                           file = image.file](const ImageLoader::Picture& picture) {
            if (const auto shownBy = weak.lock())
                show(*shownBy, file, picture);
        };
        if (const auto* known = ImageLoader::instance().request({Bedrock::localPath(image.file), {}}, done))
            show(widget, image.file, *known);
    }
}
}
