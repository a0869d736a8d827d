#include <Cascara/StyleVocabulary.hpp>

namespace Tavola
{
namespace
{
const Cascara::StyleVocabulary::Registrant kTypes({
    {"Widget", "", {}, {"tavola-temporary"}},
    // The component `text`, which is of no type of its own.
    {"TextWidget", "Widget", {"source", "display-name", "cut-note", "no-text-note"}, {}, {"failed"}, nullptr, false},
    {"ContentWidget", "ImageWidget", {"display-name", "source-tessel-urls"}},
    {"DocumentWidget", "Widget", {"source", "cover", "display-name", "page"}, {}, {"failed"}},
    {"LinkWidget", "Widget", {"source", "display-name"}},
    {"ContentMenuWidget", "Widget", {"menu", "menu-style", "content-opening-duration"}},
    {"ContentMenuNode", "Widget", {"entry-gap", "inner-radius"}, {"ring", "list"}},
    {"KeyboardWidget", "Widget", {"keyboard-layout", "key-size", "key-gap", "repeat-delay", "repeat-interval"}},
    {"KeyWidget",
     "TextWidget",
     {},
     {"key", "key-wide", "key-letter", "key-dead", "key-space", "key-shift", "key-backspace", "key-enter", "key-symbols",
      "key-language", "key-left", "key-right", "key-hide"},
     {"pressed", "lit", "locked"}},
    {"InputFieldWidget", "Widget", {"keyboard-layout"}, {}, {"empty", "invalid"}},
    {"TooltipWidget", "Widget", {"text"}},
    {"MarkerDetectorWidget", "Widget", {}},
    {"BackgroundWidget", "Widget", {}, {"tavola-background"}},
    {"LayerWidget", "Widget", {}},
    {"LaunchedContentOperator", "", {}},
    {"drag-and-drop", "", {}},
});
}
}
