#include "style/StyleNode.hpp"

#include "style/StyleEnginePrivate.hpp"
#include "values/CurrentColor.hpp"
#include "values/FontSize.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/StyleConversion.hpp>

#include <algorithm>

namespace Cascara
{
int idAttribute()
{
    static const int number = Facet::NameTable::instance().number(std::string_view("id"));
    return number;
}

double StyleNode::fontSize() const
{
    constexpr double kDefault = 16.0;
    if (const auto styled = inheritance ? inheritance->fontSize() : std::nullopt)
        return *styled;
    const Facet::Attribute* const attribute = owner ? owner->node().attributeNumbered(fontSizeAttribute()) : nullptr;
    bool isNumber = false;
    const double given = attribute ? attribute->givenText().toDouble(&isNumber) : kDefault;
    return isNumber ? given : kDefault;
}

double StyleNode::parentFontSize() const
{
    return parent ? static_cast<const StyleNode*>(parent)->fontSize() : 16.0;
}

Bedrock::Color StyleNode::color() const
{
    Bedrock::Color result{0.f, 0.f, 0.f, 1.f};
    if (const Facet::StyleValue* const styled = inheritance ? inheritance->color() : nullptr) {
        (void)Facet::StyleConversion<Bedrock::Color>::read(*styled, result, nullptr);
        return result;
    }
    const Facet::Attribute* const attribute = owner ? owner->node().attributeNumbered(colorAttribute()) : nullptr;
    return attribute ? Bedrock::Color::parse(attribute->givenText()).value_or(result) : result;
}

void StyleNode::link(const Styleable& parentNode)
{
    parent = &of(parentNode);
    if (place == 0)
        return;
    for (auto child = parentNode.styleChildren().rbegin(); child != parentNode.styleChildren().rend(); ++child) {
        StyleNode& sibling = of(**child);
        if (&sibling == this || sibling.place == 0)
            continue;
        previous = &sibling;
        sibling.next = this;
        place = sibling.place + 1;
        return;
    }
}

void StyleNode::unlink()
{
    parent = nullptr;
    if (place == 0)
        return;
    if (previous)
        previous->next = next;
    if (next)
        next->previous = previous;
    for (NodeFeatures* later = next; later; later = later->next)
        --later->place;
    previous = next = nullptr;
    place = 1;
}

bool StyleNode::isInTree() const
{
    static const int root = Facet::NameTable::instance().number(QByteArrayLiteral("root"));
    const NodeFeatures* top = this;
    while (top->parent)
        top = top->parent;
    return contains(top->pseudoClasses, root);
}

void StyleNode::attributeAdded(Facet::Attribute& attribute)
{
    if (!owner)
        return;
    const int name = attribute.nameNumber();
    if (inheritance)
        inheritance->applied = nullptr;
    if ((missing && std::binary_search(missing->begin(), missing->end(), name))
        || (inheritance && inheritance->values() && inheritance->values()->find(name)))
        restyler().finishLater(*this);
    restyler().attributeChanged(*this, name);
}

void StyleNode::attributeValueGiven(Facet::Attribute& attribute)
{
    if (owner)
        restyler().attributeChanged(*this, attribute.nameNumber());
}

bool StyleNode::readAttribute(int name, QString& text) const
{
    if (name == idAttribute()) {
        text = QString::fromUtf8(Facet::NameTable::instance().name(id));
        return id != 0;
    }
    const Facet::Attribute* attribute = owner ? owner->node().attributeNumbered(name) : nullptr;
    if (attribute)
        text = attribute->givenText();
    return attribute != nullptr;
}
}
