#include <Tavola/LinkWidget.hpp>

#include "AttributeValues.hpp"

#include <Trellis/TextWidget.hpp>

#include <QUrl>

namespace Tavola
{
namespace
{
/// The address as people write it: without scheme and trailing slash.
QString shownAddress(const QString& source)
{
    const QUrl url(source);
    if (!url.isValid() || url.host().isEmpty())
        return source;
    QString shown = url.host() + url.path();
    if (shown.endsWith(QLatin1Char('/')))
        shown.chop(1);
    return shown;
}

QString hostOf(const QString& source)
{
    const QString host = QUrl(source).host();
    return host.isEmpty() ? source : host;
}
}

LinkWidget::LinkWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
{
    for (const char* freedom : {"movable", "rotatable", "scalable"})
        setDefault(*this, freedom, "true");
    m_title = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_title->addCSSClass(QByteArrayLiteral("link-title"));
    m_address = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_address->addCSSClass(QByteArrayLiteral("link-address"));
    // A finger on the words moves the card.
    for (const auto& text : {m_title, m_address})
        text->setInputEnabled(false);
    setCSSType(QByteArrayLiteral("LinkWidget"));
}

LinkWidget::~LinkWidget() = default;

void LinkWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (!m_address || (&attribute != &m_source && &attribute != &m_displayName))
        return;
    const QString& source = m_source.value();
    const QString& name = m_displayName.value();
    m_title->setText(name.isEmpty() ? hostOf(source) : name);
    m_address->setText(shownAddress(source));
}
}
