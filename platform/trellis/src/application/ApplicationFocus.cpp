#include "application/ApplicationPrivate.hpp"

#include <Trellis/TextEditWidget.hpp>

// The widget that keys go to.

namespace Trellis
{
Widget* Application::focusWidget() const
{
    return d->focus;
}

void Application::setFocusWidget(Widget* widget)
{
    auto* editor = dynamic_cast<TextEditWidget*>(widget);
    if (d->focus == editor)
        return;
    const Bedrock::IntrusivePtr<TextEditWidget> keepNew(editor);
    const Bedrock::IntrusivePtr<TextEditWidget> before(d->focus);
    d->focus = editor;
    if (before)
        before->focusChanged(false);
    // The one that lost it may have handed it on already.
    if (editor && d->focus == editor)
        editor->focusChanged(true);
}

void Application::keyPressed(QKeyEvent& event)
{
    const Bedrock::IntrusivePtr<TextEditWidget> keep(d->focus);
    if (keep)
        keep->keyPressed(event);
}
}
