#include <Trellis/TextWidget.hpp>

namespace Trellis
{
TextWidget::TextWidget(Widget* parent) : TextInterfaceWidget(parent)
{
    setCSSType(QByteArrayLiteral("TextWidget"));
}
}
