#include "tree/RareAttributes.hpp"

#include <doctest/doctest.h>

#include <Cascara/StyleEngine.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

#include <QString>

namespace
{
struct Shades
{
    explicit Shades(Trellis::Widget* host) : light(host, "rare-light", 0.75f), dark(host, "rare-dark", 0.25f) {}
    Facet::AttributeT<float> light, dark;
    [[nodiscard]] static bool isNamed(int nameNumber) { return Trellis::isOneOf(nameNumber, {"rare-light", "rare-dark"}); }
};

class ShadedWidget : public Trellis::Widget
{
public:
    Trellis::RareAttributes<Shades> shades;
    int made = 0;

protected:
    bool makeRareAttributes(int nameNumber) override
    {
        const bool base = Widget::makeRareAttributes(nameNumber);
        if (nameNumber == kAllAttributes)
            shades.make(*this);
        else if (shades.makeNamed(*this, nameNumber))
            ++made;
        else
            return base;
        return true;
    }
};

int countNamed(const Trellis::Widget& widget, const QByteArray& name)
{
    int count = 0;
    for (const Facet::Attribute* attribute : widget.attributes())
        count += attribute->name() == name ? 1 : 0;
    return count;
}
}

TEST_CASE("rare attributes: read as their defaults until one is asked for by name, which makes the group once")
{
    ShadedWidget widget;
    const Shades* const before = &*widget.shades;
    CHECK(widget.shades->light == 0.75f);
    CHECK(before->light.host() == nullptr);
    CHECK(widget.attribute("rare-unknown") == nullptr);
    CHECK(widget.made == 0);

    static_cast<Facet::AttributeT<float>&>(*widget.attribute("rare-light")).setValue(1.f);
    CHECK(widget.attribute("rare-dark") == &widget.shades->dark);
    CHECK(widget.made == 1);
    CHECK(widget.shades->light == 1.f);
    CHECK(widget.shades->light.host() == &widget);
    CHECK(before->light == 0.75f);
}

TEST_CASE("rare attributes: a list of all attributes has them, those of the base among them")
{
    ShadedWidget widget;
    for (const char* name : {"rare-dark", "min-width", "left", "padding", "gap", "border-radius", "max-scale", "opacity"}) {
        CAPTURE(name);
        CHECK(countNamed(widget, name) == 1);
    }
}

TEST_CASE("rare attributes: a style sheet sets and withdraws them like any other")
{
    ShadedWidget widget;
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".lit { rare-light: 0.5; margin: 3px }"),
                                                   QStringLiteral("test"));
    CHECK(widget.made == 0);
    widget.addCSSClass("lit");
    CHECK(widget.shades->light == 0.5f);
    CHECK(widget.attribute("margin")->toText() == QStringLiteral("3px"));
    widget.removeCSSClass("lit");
    CHECK(widget.shades->light == 0.75f);
    Cascara::StyleEngine::instance().clearStyleSheets();
}
