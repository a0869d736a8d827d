#include <Trellis/TextEditWidget.hpp>

#include "text/Graphemes.hpp"
#include "text/TextPrivate.hpp"
#include "tree/WidgetEngines.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Trellis/FrameInfo.hpp>

#include <QFontMetricsF>
#include <QKeyEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Trellis
{
namespace
{
constexpr float kCaretWidthPx = 2.f;
constexpr float kBlinkSeconds = 0.5f;
const Facet::EventName kTextChanged("text-changed");
const Facet::EventName kEditingBegan("editing-began");
const Facet::EventName kEditingFinished("editing-finished");

/// Keys with Ctrl or Alt are commands, unless both are held: some keyboards reach letters that way.
bool isWriting(const QKeyEvent& event)
{
    const bool control = event.modifiers().testFlag(Qt::ControlModifier);
    const bool alt = event.modifiers().testFlag(Qt::AltModifier);
    if (control != alt || event.modifiers().testFlag(Qt::MetaModifier))
        return false;
    const QString text = event.text();
    return !text.isEmpty() && text.at(0).category() != QChar::Other_Control;
}
}

/// The text as it shows: `content` without the padding; the line begins at `left - scroll`.
struct TextEditWidget::EditPrivate
{
    explicit EditPrivate(TextEditWidget* widget)
        : caretColor(widget, QByteArrayLiteral("caret-color"), Bedrock::Color{0.f, 0.f, 0.f, 0.f})
    {
    }

    Facet::AttributeT<Bedrock::Color> caretColor; ///< transparent: the text's colour
    TextBlock line{TextBlock::Wrap::Never};
    int cursor = 0;
    bool hasFocus = false;       ///< of the one physical keyboard
    bool hasOwnKeyboard = false; ///< one on the table serves it
    bool isEditing = false;      ///< either of the two
    bool isFinishing = false;    ///< the end is reported with a reason other than the loss of focus
    bool isWriting = false;      ///< the text changes by the visitor's hand: the cursor is set by that
    float scroll = 0.f;
    float blinkSeconds = 0.f;

    struct Place
    {
        Vecta::Rect content;
        float lineLeft;
        float lineTop;
        float lineHeight;
        float caretX; ///< from lineLeft
    };
    [[nodiscard]] Place place(const TextEditWidget& widget);
    void touchCaret(TextEditWidget& widget);
};

TextEditWidget::TextEditWidget(Widget* parent) : TextInterfaceWidget(parent), d(std::make_unique<EditPrivate>(this))
{
    setCSSType(QByteArrayLiteral("TextEditWidget"));
    eventAddOut(kTextChanged);
    eventAddOut(kEditingBegan);
    eventAddOut(kEditingFinished);
    eventAddListenerBd("single-tap", [this](Bedrock::BinaryData& tap) {
        const float x = tap.readFloat32();
        const auto place = d->place(*this);
        if (!tap.hasFailed() && d->line.layout().lineCount() > 0)
            d->cursor = nearestBorder(text(), d->line.layout().lineAt(0).xToCursor(qreal(x - place.lineLeft)));
        d->touchCaret(*this);
        WidgetEngines::current().setKeyboardFocus(this);
    });
}

TextEditWidget::~TextEditWidget() = default;

// ---- The text --------------------------------------------------------------------------------------------------------

void TextEditWidget::clear()
{
    setText(QString());
}

int TextEditWidget::cursorPosition() const noexcept
{
    return d->cursor;
}

void TextEditWidget::insertText(const QString& inserted)
{
    const QString addition = asOneLine(inserted);
    if (addition.isEmpty())
        return;
    QString changed = text();
    changed.insert(d->cursor, addition);
    // A mark that joins the character before it leaves no border where the insertion ended.
    d->cursor = nearestBorder(changed, d->cursor + addition.size());
    d->isWriting = true;
    setText(changed);
}

void TextEditWidget::attributeChanged(Facet::Attribute& attribute)
{
    TextInterfaceWidget::attributeChanged(attribute);
    if (&attribute == &d->caretColor)
        requestRedraw();
    if (&attribute != &textAttribute())
        return;
    if (!std::exchange(d->isWriting, false))
        d->cursor = text().size();
    d->touchCaret(*this);
    eventSend(kTextChanged);
}

// ---- The keyboard ----------------------------------------------------------------------------------------------------

bool TextEditWidget::hasFocus() const
{
    return d->hasFocus;
}

bool TextEditWidget::isEditing() const
{
    return d->isEditing;
}

void TextEditWidget::setOwnKeyboard(bool on)
{
    d->hasOwnKeyboard = on;
    const bool before = d->isFinishing;
    d->isFinishing = before || !on; // the end is silent
    editingChanged();
    d->isFinishing = before;
}

void TextEditWidget::endEditing()
{
    const Bedrock::IntrusivePtr<Widget> keep(this);
    d->hasOwnKeyboard = false;
    WidgetEngines& engines = WidgetEngines::current();
    if (d->hasFocus && engines.keyboardFocus() == this)
        engines.setKeyboardFocus(nullptr);
    else
        editingChanged();
}

void TextEditWidget::focusChanged(bool focused)
{
    d->hasFocus = focused;
    editingChanged();
}

void TextEditWidget::editingChanged()
{
    const bool now = d->hasFocus || d->hasOwnKeyboard;
    if (d->isEditing == now)
        return;
    const Bedrock::IntrusivePtr<Widget> keep(this);
    d->isEditing = now;
    setPseudoClass(QByteArrayLiteral("focus"), now);
    setUpdating(now);
    d->touchCaret(*this);
    if (now)
        eventSend(kEditingBegan);
    else if (!d->isFinishing)
        sendFinished("focus-lost");
}

void TextEditWidget::finish(const char* reason)
{
    const Bedrock::IntrusivePtr<Widget> keep(this);
    d->isFinishing = true;
    endEditing();
    d->isFinishing = false;
    sendFinished(reason);
}

void TextEditWidget::sendFinished(const char* reason)
{
    eventSendValues(kEditingFinished, text(), QString::fromLatin1(reason));
}

void TextEditWidget::keyPressed(QKeyEvent& event)
{
    event.accept();
    const QString content = text();
    const bool isRightToLeft = content.isRightToLeft();
    const auto moveTo = [this](int position) {
        d->cursor = position;
        d->touchCaret(*this);
    };
    const auto remove = [&](int from, int to) {
        if (from == to)
            return;
        QString changed = content;
        changed.remove(from, to - from);
        // What stood on both sides may be one character now.
        d->cursor = nearestBorder(changed, from);
        d->isWriting = true;
        setText(changed);
    };
    switch (event.key()) {
    case Qt::Key_Left: moveTo(isRightToLeft ? borderAfter(content, d->cursor) : borderBefore(content, d->cursor)); return;
    case Qt::Key_Right: moveTo(isRightToLeft ? borderBefore(content, d->cursor) : borderAfter(content, d->cursor)); return;
    case Qt::Key_Home: moveTo(0); return;
    case Qt::Key_End: moveTo(content.size()); return;
    case Qt::Key_Backspace: remove(borderBefore(content, d->cursor), d->cursor); return;
    case Qt::Key_Delete: remove(d->cursor, borderAfter(content, d->cursor)); return;
    case Qt::Key_Return:
    case Qt::Key_Enter: finish("enter"); return;
    case Qt::Key_Escape: finish("escape"); return;
    default: break;
    }
    if (isWriting(event))
        insertText(event.text());
    else
        event.ignore();
}

// ---- Size and look ---------------------------------------------------------------------------------------------------

Vecta::Vector2f TextEditWidget::contentSize(float availableWidth) const
{
    // An empty field is as high as one with a text.
    const TextFormat& format = *TextInterfaceWidget::d->format();
    const float lineHeight = format.look().lineHeight;
    const float height =
        lineHeight > 0.f ? float(format.font().pixelSize()) * lineHeight : float(QFontMetricsF(format.font()).height());
    return {availableWidth, std::ceil(height)};
}

TextEditWidget::EditPrivate::Place TextEditWidget::EditPrivate::place(const TextEditWidget& widget)
{
    auto& base = *widget.TextInterfaceWidget::d;
    const QString& text = base.text.value();
    const Vecta::Rect content = widget.contentBox();
    line.lay(text, base.format(), 0.f);
    const float width = line.size().x;
    const float room = std::max(0.f, content.width - kCaretWidthPx);
    const float caretX = text.isEmpty() ? 0.f : float(line.layout().lineAt(0).cursorToX(cursor));

    float indent = 0.f;
    if (width <= room) {
        const bool isRightToLeft = text.isRightToLeft();
        const TextAlign align = base.align();
        if (align == TextAlign::Center)
            indent = (room - width) / 2.f;
        else if (align == TextAlign::Right || (align == TextAlign::Start && isRightToLeft)
                 || (align == TextAlign::End && !isRightToLeft))
            indent = room - width;
        scroll = 0.f;
    } else {
        scroll = std::clamp(scroll, caretX - room, caretX);
        scroll = std::clamp(scroll, 0.f, width - room);
    }
    const float height = line.size().y;
    return {content, content.x + indent - scroll, base.topOf(height, content), height, caretX};
}

/// The caret shows at once where it is now.
void TextEditWidget::EditPrivate::touchCaret(TextEditWidget& widget)
{
    blinkSeconds = 0.f;
    widget.requestRedraw();
}

void TextEditWidget::update(const FrameInfo& frame)
{
    TextInterfaceWidget::update(frame);
    if (!d->isEditing)
        return;
    const bool wasOn = d->blinkSeconds < kBlinkSeconds;
    d->blinkSeconds = std::fmod(d->blinkSeconds + frame.dt(), 2.f * kBlinkSeconds);
    if (wasOn != (d->blinkSeconds < kBlinkSeconds))
        requestRedraw();
}

void TextEditWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    const auto place = d->place(*this);
    if (place.content.isEmpty())
        return;
    const Bedrock::Color color = TextInterfaceWidget::d->color.value();
    const bool caretShows = d->isEditing && d->blinkSeconds < kBlinkSeconds;
    context.pushClip(place.content);
    if (d->line.size().x > 0.f)
        d->line.draw(context, {place.lineLeft, place.lineTop}, color.premultiplied());
    if (caretShows) {
        const Bedrock::Color& own = d->caretColor.value();
        context.drawRect({place.lineLeft + place.caretX, place.lineTop, kCaretWidthPx, place.lineHeight}, 0.f,
                         Lantern::Style().setFill((own.alpha > 0.f ? own : color).premultiplied()));
    }
    context.pop();
}
}
