#pragma once

#include <Trellis/ImageWidget.hpp>

#include <QString>
#include <QStringList>

namespace Trellis
{
class TextWidget;
}

namespace Tavola
{
/// A picture or the cover of a document that visitors move about and collect. CSS type "ContentWidget".
///
/// Attributes beside those of a picture ("source" is the file shown): "display-name", and "source-tessel-urls", the files
/// or addresses that are collected instead of the picture (a document's file, where "source" is its cover). May be moved,
/// turned and scaled unless a style says otherwise. A picture that cannot be read has a note in its place, the text
/// ".picture-note", and is at least large enough for it.
class TAVOLA_EXPORT ContentWidget : public Trellis::ImageWidget
{
public:
    explicit ContentWidget(Trellis::Widget* parent = nullptr);
    ~ContentWidget() override;

protected:
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    void showNote(bool shown);

    Bedrock::IntrusivePtr<Trellis::TextWidget> m_note; ///< made when it is first needed
    Facet::AttributeT<QString> m_displayName{this, "display-name"};
    Facet::AttributeT<QStringList> m_urls{this, "source-tessel-urls"};
};
}
