#pragma once

#include <Facet/Attribute.hpp>
#include <Facet/ValueNotation.hpp>

#include <array>
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
class AttributeT : public Attribute, private ValueNotation<T>
{
    using Notation = ValueNotation<T>;

public:
    using Names = typename Notation::Names;

    AttributeT(Node* host, AttributeName name, T defaultValue = T()) : Attribute(host, name)
    {
        static_assert(!std::is_enum_v<T>, "an enumeration takes a table of its names");
        m_values[kDefaultLayer] = std::move(defaultValue);
    }
    /// For an enumeration. Names are compared in lower case.
    AttributeT(Node* host, AttributeName name, Names names, T defaultValue) : Attribute(host, name), Notation(std::move(names))
    {
        m_values[kDefaultLayer] = std::move(defaultValue);
    }

    /// The visible value.
    [[nodiscard]] const T& value() const noexcept { return m_values[visibleLayer()]; }
    const T& operator*() const noexcept { return value(); }
    const T* operator->() const noexcept { return &value(); }
    operator const T&() const noexcept { return value(); }
    /// The value of one layer; meaningful only where `hasValue(layer)`.
    [[nodiscard]] const T& value(int layer) const noexcept { return m_values[layer]; }

    void setValue(T newValue, int layer = kUserLayer)
    {
        if (hasValue(layer) && m_values[layer] == newValue)
            return;
        const int before = visibleLayer();
        const bool shows = layer >= before;
        const bool changes = shows && !(m_values[before] == newValue);
        m_values[layer] = std::move(newValue);
        markSet(layer);
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
        markCleared(layer);
        const T old = std::exchange(m_values[layer], T());
        if (showed && !(value() == old))
            notifyChanged();
    }

    bool setStyleValue(const StyleValue& styleValue, int layer, QString* error) override
    {
        T converted{};
        if (!Notation::read(styleValue, converted, error))
            return false;
        setValue(std::move(converted), layer);
        return true;
    }
    [[nodiscard]] QString toText() const override { return Notation::write(value()); }

private:
    std::array<T, kLayerCount> m_values{};
};
}
