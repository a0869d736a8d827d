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
/// turned and scaled unless a style says otherwise.
class TAVOLA_EXPORT ContentWidget : public Trellis::ImageWidget
{
public:
    explicit ContentWidget(Trellis::Widget* parent = nullptr);
    ~ContentWidget() override;

private:
    Facet::AttributeT<QString> m_displayName{this, "display-name"};
    Facet::AttributeT<QStringList> m_urls{this, "source-tessel-urls"};
};
}
