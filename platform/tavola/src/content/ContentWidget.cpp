#include <Tavola/ContentWidget.hpp>

#include "shared/AttributeDefaults.hpp"

namespace Tavola
{
ContentWidget::ContentWidget(Trellis::Widget* parent) : Trellis::ImageWidget(parent)
{
    setFreeByDefault(*this);
    setCSSType(QByteArrayLiteral("ContentWidget"));
}

ContentWidget::~ContentWidget() = default;
}
