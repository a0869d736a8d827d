#pragma once

namespace Trellis
{
class Widget;

/// Reads the files of the widget's `background-image`, and redraws it with each that has come. A file that cannot be read is one
/// warning and leaves its place free. Files that the widget shows already are kept.
void fetchBackground(Widget& widget);
}
