#include <Cascara/StyleVocabulary.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextEditWidget.hpp>

namespace Trellis
{
namespace
{
/// Values in style sheets are tried on these.
template <class T>
std::shared_ptr<Facet::Node> sample()
{
    struct Holder
    {
        Bedrock::IntrusivePtr<T> widget = Bedrock::makeIntrusive<T>();
    };
    const auto holder = std::make_shared<Holder>();
    return {holder, holder->widget.get()};
}

const Cascara::StyleVocabulary::Registrant kTypes({
    {"Widget",
     "",
     {"position",
      "left",
      "top",
      "right",
      "bottom",
      "location",
      "width",
      "height",
      "min-width",
      "max-width",
      "min-height",
      "max-height",
      "display",
      "rotation",
      "scale",
      "margin",
      "padding",
      "gap",
      "align",
      "direction",
      "overflow",
      "background-color",
      "border-color",
      "border-width",
      "border-radius",
      "border-top-color",
      "border-right-color",
      "border-bottom-color",
      "border-left-color",
      "border-top-width",
      "border-right-width",
      "border-bottom-width",
      "border-left-width",
      "border-top-left-radius",
      "border-top-right-radius",
      "border-bottom-right-radius",
      "border-bottom-left-radius",
      "box-shadow",
      "background-image",
      "background-position",
      "background-size",
      "background-repeat",
      "opacity",
      "movable",
      "rotatable",
      "scalable",
      "min-scale",
      "max-scale",
      "inertia",
      "input-transparent"},
     {},
     {"root"},
     sample<Widget>},
    {"TextWidget",
     "Widget",
     {"text", "color", "font-family", "font-size", "font-weight", "font-style", "line-height", "letter-spacing", "text-align",
      "text-decoration", "white-space", "text-overflow", "vertical-align", "max-lines"}},
    {"TextEditWidget", "TextWidget", {"caret-color"}, {}, {"focus"}, sample<TextEditWidget>},
    {"ImageWidget", "Widget", {"source", "fit"}, {}, {"failed"}, sample<ImageWidget>},
    {"ImageTileWidget", "ImageWidget", {}},
    {"fade-animator", "", {}},
});
}
}
