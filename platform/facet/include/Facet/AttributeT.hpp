#pragma once

#include <Facet/Attribute.hpp>
#include <Facet/StyleConversion.hpp>

#include <QPair>
#include <QVector>

#include <array>
#include <type_traits>
#include <utility>

namespace Facet
{
/// An attribute of type T. `StyleConversion<T>` says how style sheets write a T; enumerations take a name table instead.
///
///     Facet::AttributeT<float> m_timeout{this, "tooltip-timeout", 5.f};
///     m_timeout.setValue(3.f);             // run-time layer
///     m_timeout.clearValue(Facet::kUserLayer);
template <class T, class = void>
class AttributeT : public Attribute
{
public:
    AttributeT(Node* host, const QByteArray& name, T defaultValue = T()) : Attribute(host, name)
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
        T old = std::exchange(m_values[layer], T());
        if (showed && !(value() == old))
            notifyChanged();
    }

    bool setStyleValue(const StyleValue& styleValue, int layer, QString* error) override
    {
        T converted{};
        if (!StyleConversion<T>::read(styleValue, converted, error))
            return false;
        setValue(std::move(converted), layer);
        return true;
    }
    [[nodiscard]] QString toText() const override { return StyleConversion<T>::write(value()); }

private:
    std::array<T, kLayerCount> m_values{};
};

/// An attribute of an enumeration, written in style sheets by name. Names are compared in lower case.
///
///     Facet::AttributeT<Mode> m_mode{this, "collection-mode", {{"email", Mode::Email}, {"upload", Mode::Upload}}, Mode::Email};
template <class E>
class AttributeT<E, std::enable_if_t<std::is_enum_v<E>>> : public Attribute
{
public:
    using Names = QVector<QPair<QString, E>>;

    AttributeT(Node* host, const QByteArray& name, Names names, E defaultValue) : Attribute(host, name), m_names(std::move(names))
    {
        m_values[kDefaultLayer] = defaultValue;
    }

    [[nodiscard]] E value() const noexcept { return m_values[visibleLayer()]; }
    E operator*() const noexcept { return value(); }
    operator E() const noexcept { return value(); }

    void setValue(E newValue, int layer = kUserLayer)
    {
        const E before = value();
        m_values[layer] = newValue;
        markSet(layer);
        if (value() != before)
            notifyChanged();
    }
    AttributeT& operator=(E newValue)
    {
        setValue(newValue);
        return *this;
    }
    void clearValue(int layer) override
    {
        if (layer == kDefaultLayer || !hasValue(layer))
            return;
        const E before = value();
        markCleared(layer);
        if (value() != before)
            notifyChanged();
    }
    bool setStyleValue(const StyleValue& styleValue, int layer, QString* error) override
    {
        const QString written = singleWord(styleValue).toLower();
        QString expected;
        for (const auto& entry : m_names) {
            if (entry.first.toLower() == written) {
                setValue(entry.second, layer);
                return true;
            }
            expected += (expected.isEmpty() ? QString() : QStringLiteral(", ")) + entry.first;
        }
        if (error)
            *error = QStringLiteral("expected one of ") + expected;
        return false;
    }
    [[nodiscard]] QString toText() const override
    {
        for (const auto& entry : m_names)
            if (entry.second == value())
                return entry.first;
        return {};
    }

private:
    Names m_names;
    std::array<E, kLayerCount> m_values{};
};
}
