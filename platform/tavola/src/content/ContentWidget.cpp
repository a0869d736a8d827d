#include <Tavola/ContentWidget.hpp>

#include "component/AttributeValues.hpp"

namespace Tavola
{
ContentWidget::ContentWidget(Trellis::Widget* parent) : Trellis::ImageWidget(parent)
{
    for (const char* freedom : {"movable", "rotatable", "scalable"})
        setDefault(*this, freedom, "true");
    setCSSType(QByteArrayLiteral("ContentWidget"));
}

ContentWidget::~ContentWidget() = default;
}
