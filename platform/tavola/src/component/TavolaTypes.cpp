#include <Cascara/StyleVocabulary.hpp>

namespace Tavola
{
namespace
{
const Cascara::StyleVocabulary::Registrant kTypes({
    {"Widget", "", {}, {"tavola-temporary"}},
    // The component `text`, which is of no type of its own.
    {"TextWidget",
     "Widget",
     {{"source", "text"}, {"display-name", "text"}, {"cut-note", "text"}, {"no-text-note", "text"}},
     {},
     {"failed"},
     nullptr,
     false},
    {"ContentWidget", "ImageWidget", {{"display-name", "text"}, {"source-tessel-urls", "list"}}},
    {"DocumentWidget",
     "Widget",
     {{"source", "text"}, {"cover", "text"}, {"display-name", "text"}, {"page", "whole number"}},
     {},
     {"failed"}},
    {"LinkWidget", "Widget", {{"source", "text"}, {"display-name", "text"}}},
    {"ContentMenuWidget", "Widget", {{"menu", "text"}, {"menu-style", {"ring", "list"}}, {"content-opening-duration", "number"}}},
    {"ContentMenuNode", "Widget", {{"entry-gap", "number"}, {"inner-radius", "number"}}, {"ring", "list"}},
    {"KeyboardWidget",
     "Widget",
     {{"keyboard-layout", "text"},
      {"key-size", "number"},
      {"key-gap", "number"},
      {"repeat-delay", "number"},
      {"repeat-interval", "number"}}},
    {"KeyWidget",
     "TextWidget",
     {},
     {"key", "key-wide", "key-letter", "key-dead", "key-space", "key-shift", "key-backspace", "key-enter", "key-symbols",
      "key-language", "key-left", "key-right", "key-hide"},
     {"pressed", "lit", "locked"}},
    {"InputFieldWidget", "Widget", {{"keyboard-layout", "text"}}, {}, {"empty", "invalid"}},
    {"TooltipWidget", "Widget", {{"text", "text"}}},
    {"MarkerDetectorWidget", "Widget", {}},
    {"BackgroundWidget", "Widget", {}, {"tavola-background"}},
    {"LayerWidget", "Widget", {}},
    {"LaunchedContentOperator", "", {}},
    {"drag-and-drop", "", {}},
});
}
}
