#include "application/ApplicationPrivate.hpp"

#include <Trellis/TextEditWidget.hpp>

// Whom the keyboard serves.

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
    const Bedrock::IntrusivePtr<Widget> keepNew(editor);
    const Bedrock::IntrusivePtr<Widget> before(d->focus);
    d->focus = editor;
    if (auto* old = dynamic_cast<TextEditWidget*>(before.get()))
        old->focusChanged(false);
    // The one that lost it may have handed it on already.
    if (editor && d->focus == editor)
        editor->focusChanged(true);
}

void Application::keyPressed(QKeyEvent& event)
{
    const Bedrock::IntrusivePtr<Widget> keep(d->focus);
    if (auto* editor = dynamic_cast<TextEditWidget*>(keep.get()))
        editor->keyPressed(event);
}
}
