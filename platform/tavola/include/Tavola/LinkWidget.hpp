#pragma once

#include <Trellis/Widget.hpp>

#include <QString>

namespace Trellis
{
class TextWidget;
}

namespace Tavola
{
/// A web address as a small card: its title, the address, and the address as a QR code. CSS type "LinkWidget"; children have the
/// classes "link-title", "link-address" and "link-qr" (which is there for http and https addresses only). Attributes "source"
/// (the address) and "display-name" (the title; the address's host where there is none). May be moved, turned and scaled unless a
/// style says otherwise.
class TAVOLA_EXPORT LinkWidget : public Trellis::Widget
{
public:
    explicit LinkWidget(Trellis::Widget* parent = nullptr);
    ~LinkWidget() override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    class QrWidget;

    Facet::AttributeT<QString> m_source{this, "source"};
    Facet::AttributeT<QString> m_displayName{this, "display-name"};
    Bedrock::IntrusivePtr<Trellis::TextWidget> m_title;
    Bedrock::IntrusivePtr<Trellis::TextWidget> m_address;
    Bedrock::IntrusivePtr<QrWidget> m_qr;
};
}
