#pragma once

#include <Facet/Attribute.hpp>
#include <Facet/Node.hpp>
#include <Facet/ValueNotation.hpp>

#include <typeinfo>
#include <utility>

namespace Facet
{
/// An attribute of type T. `StyleConversion<T>` says how style sheets write a T; an enumeration is written by name and
/// takes a table of its names.
///
///     Facet::AttributeT<float> m_timeout{this, "tooltip-timeout", 5.f};
///     m_timeout.setValue(3.f);             // run-time layer
///     m_timeout.clearValue(Facet::kUserLayer);
///
///     Facet::AttributeT<Mode> m_mode{this, "collection-mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email};
template <class T>
class AttributeT : public Attribute
{
    using Notation = ValueNotation<T>;
    using Declaration = AttributeDeclarationT<T>;

public:
    using Names = typename Notation::Names;

    AttributeT(Node* host, AttributeName name, T defaultValue = T())
        : Attribute(host, Declaration::acquire(name, std::move(defaultValue), {})), m_value(declared().defaultValue())
    {
        static_assert(!std::is_enum_v<T>, "an enumeration takes a table of its names");
    }
    /// For an enumeration. Names are compared in lower case.
    AttributeT(Node* host, AttributeName name, Names names, T defaultValue)
        : Attribute(host, Declaration::acquire(name, std::move(defaultValue), std::move(names))),
          m_value(declared().defaultValue())
    {
    }
    ~AttributeT() override { delete static_cast<T*>(hiddenValue()); }

    /// The visible value. The reference holds until the value changes.
    [[nodiscard]] const T& value() const noexcept { return m_value; }
    const T& operator*() const noexcept { return m_value; }
    const T* operator->() const noexcept { return &m_value; }
    operator const T&() const noexcept { return m_value; }
    /// The value of one layer; meaningful only where `hasValue(layer)`.
    [[nodiscard]] const T& value(int layer) const noexcept
    {
        if (layer == visibleLayer())
            return m_value;
        const void* hidden = layer == kStyleLayer ? hiddenValue() : nullptr;
        return hidden ? *static_cast<const T*>(hidden) : declared().defaultValue();
    }

    void setValue(T newValue, int layer = kUserLayer)
    {
        const int before = visibleLayer();
        if (layer < before) {
            setBelow(std::move(newValue), layer);
            return;
        }
        const bool changes = !(m_value == newValue);
        if (layer != before) {
            hideValue(before);
            markSet(layer);
        } else if (!changes) {
            return;
        } else if (layer == kDefaultLayer) {
            setHasOwnDefault(true); // the layout gives widgets their places as defaults: one that shows is kept like any value
        }
        m_value = std::move(newValue);
        layerChanged(layer);
        if (changes)
            notifyChanged();
    }
    AttributeT& operator=(T newValue)
    {
        setValue(std::move(newValue));
        return *this;
    }

    void clearValue(int layer) override
    {
        if (layer == kDefaultLayer || !hasValue(layer))
            return;
        const bool showed = visibleLayer() == layer;
        T* const hidden = static_cast<T*>(hiddenValue());
        if (hidden)
            setHiddenValue(nullptr);
        markCleared(layer);
        if (!showed) {
            delete hidden;
            return;
        }
        const T old = std::exchange(m_value, hidden ? std::move(*hidden) : declared().defaultValue());
        delete hidden;
        layerChanged(layer);
        if (!(m_value == old))
            notifyChanged();
    }

    bool setStyleValue(const StyleValue& styleValue, int layer, QString* error) override
    {
        T converted{};
        if (!Notation::read(declared().names(), styleValue, converted, error))
            return false;
        setValue(std::move(converted), layer);
        return true;
    }
    void takeStyledValue(const Attribute& source) override
    {
        const auto& same = static_cast<const AttributeT&>(source);
        setValue(T(same.value(same.hasValue(kStyleLayer) ? kStyleLayer : kDefaultLayer)), kStyleLayer);
    }
    [[nodiscard]] QString toText() const override { return Notation::write(declared().names(), m_value); }
    [[nodiscard]] QString layerText(int layer) const override
    {
        while (layer > kDefaultLayer && !hasValue(layer))
            --layer;
        return Notation::write(declared().names(), value(layer));
    }
    [[nodiscard]] QString givenText() const override
    {
        return Notation::write(declared().names(), value(hasValue(kUserLayer) ? kUserLayer : kDefaultLayer));
    }

private:
    [[nodiscard]] const Declaration& declared() const noexcept { return static_cast<const Declaration&>(declaration()); }

    /// The visible value, of that layer, makes room for one of a higher layer.
    void hideValue(int layer)
    {
        if (layer == kStyleLayer)
            setHiddenValue(new T(std::move(m_value)));
        else if (hasOwnDefault())
            setDeclarationNumber(Declaration::withDefault(declarationNumber(), m_value));
        setHasOwnDefault(false);
    }
    /// A value that does not show.
    void setBelow(T newValue, int layer)
    {
        if (layer == kDefaultLayer) {
            setDeclarationNumber(Declaration::withDefault(declarationNumber(), newValue));
            layerChanged(layer);
        } else if (void* hidden = hiddenValue()) {
            *static_cast<T*>(hidden) = std::move(newValue);
        } else {
            setHiddenValue(new T(std::move(newValue)));
            markSet(layer);
        }
    }

    T m_value;
};

/// The node's attribute of that name, or null if it has none or one of another type. Cheaper than a `dynamic_cast` of
/// `Node::attribute`.
///
///     if (auto* gap = Facet::findAttribute<float>(*widget, "gap"))
///         gap->setValue(3.f);
template <class T>
[[nodiscard]] AttributeT<T>* findAttribute(const Node& node, const QByteArray& name)
{
    Attribute* const found = node.attribute(name);
    if (found && typeid(*found) == typeid(AttributeT<T>))
        return static_cast<AttributeT<T>*>(found);
    return dynamic_cast<AttributeT<T>*>(found); // of a class derived from it
}
}
