#include <Tavola/ContentWidget.hpp>

#include "shared/AttributeDefaults.hpp"

#include <Trellis/TextWidget.hpp>

#include <algorithm>

namespace Tavola
{
namespace
{
/// Of a picture that cannot be read, where no style gives its size.
constexpr float kNoteWidthPx = 240.f;
constexpr float kNoteHeightPx = 120.f;
}

ContentWidget::ContentWidget(Trellis::Widget* parent) : Trellis::ImageWidget(parent)
{
    setFreeByDefault(*this);
    setCSSType(QByteArrayLiteral("ContentWidget"));
    eventAddListenerBd("image-failed", [this](Bedrock::BinaryData&) { showNote(true); });
    eventAddListenerBd("image-loaded", [this](Bedrock::BinaryData&) { showNote(false); });
}

ContentWidget::~ContentWidget() = default;

void ContentWidget::showNote(bool shown)
{
    if (!m_note) {
        if (!shown)
            return;
        m_note = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
        m_note->addCSSClass("picture-note");
        m_note->setInputEnabled(false); // a finger on it is a finger on the picture
        setDefaults(*m_note,
                    {{"position", "absolute"},
                     {"left", "0"},
                     {"width", "100%"},
                     {"top", "30%"},
                     {"padding", "12"},
                     {"text-align", "center"},
                     {"font-size", "14"},
                     {"color", "#ffffff"},
                     {"background-color", "#1c2733b0"}});
        m_note->textAttribute().setValue(QStringLiteral("This picture cannot be shown."), Facet::kDefaultLayer);
    }
    setShown(*m_note, shown);
    requestLayout();
}

void ContentWidget::attributeChanged(Facet::Attribute& attribute)
{
    ImageWidget::attributeChanged(attribute);
    if (m_note && !hasFailed())
        showNote(false); // another source
}

Vecta::Vector2f ContentWidget::contentSize(float availableWidth) const
{
    if (!hasFailed())
        return ImageWidget::contentSize(availableWidth);
    return {std::min(kNoteWidthPx, availableWidth), kNoteHeightPx};
}
}
