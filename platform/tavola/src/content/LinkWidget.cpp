#include <Tavola/LinkWidget.hpp>

#include "shared/AttributeDefaults.hpp"

#include <Lantern/RenderContext.hpp>
#include <Qr/QrPicture.hpp>
#include <Trellis/TextWidget.hpp>

#include <QUrl>

namespace Tavola
{
namespace
{
/// The address as people write it: without scheme, name and password, fragment and trailing slash. Port and query stay, so
/// that typing it leads to the same page.
QString shownAddress(const QString& source)
{
    const QUrl url(source);
    if (!url.isValid() || url.host().isEmpty())
        return source;
    QString shown = url.toString(QUrl::RemoveScheme | QUrl::RemoveUserInfo | QUrl::RemoveFragment);
    if (shown.startsWith(QLatin1String("//")))
        shown.remove(0, 2);
    if (shown.endsWith(QLatin1Char('/')))
        shown.chop(1);
    return shown;
}

bool isWebAddress(const QString& source)
{
    const QUrl url(source, QUrl::StrictMode);
    const QString scheme = url.scheme();
    return !url.host().isEmpty() && (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

QString hostOf(const QString& source)
{
    const QString host = QUrl(source).host();
    return host.isEmpty() ? source : host;
}
}

/// Shows a QR code, as large as the widget's shorter side; hidden without one.
class LinkWidget::QrWidget final : public Trellis::Widget
{
public:
    explicit QrWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
    {
        setDefaults(*this, {{"width", "96"}, {"height", "96"}, {"display", "none"}});
        setInputEnabled(false);
        addCSSClass("link-qr");
    }

    void show(const QString& address)
    {
        m_picture = Qr::picture(address.toUtf8()).convertToFormat(QImage::Format_RGB32); // which is drawn as it is
        setDefault(*this, "display", m_picture.isNull() ? "none" : "block");
        requestRedraw();
    }

    void renderContent(Lantern::RenderContext& context) const override
    {
        Widget::renderContent(context);
        const Vecta::Rect box{0.f, 0.f, width(), height()};
        if (!m_picture.isNull() && !box.isEmpty())
            context.drawImage(m_picture, box.fitting({1.f, 1.f}));
    }

private:
    QImage m_picture;
};

LinkWidget::LinkWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
{
    setFreeByDefault(*this);
    m_title = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_title->addCSSClass(QByteArrayLiteral("link-title"));
    m_address = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_address->addCSSClass(QByteArrayLiteral("link-address"));
    m_qr = Bedrock::makeIntrusive<QrWidget>(this);
    // A finger on the words moves the card.
    for (const auto& text : {m_title, m_address})
        text->setInputEnabled(false);
    setCSSType(QByteArrayLiteral("LinkWidget"));
}

LinkWidget::~LinkWidget() = default;

void LinkWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (!m_qr || (&attribute != &m_source && &attribute != &m_displayName))
        return;
    const QString& source = m_source.value();
    const QString& name = m_displayName.value();
    m_title->setText(name.isEmpty() ? hostOf(source) : name);
    m_address->setText(shownAddress(source));
    if (&attribute == &m_source)
        m_qr->show(isWebAddress(source) ? source : QString());
}
}
