#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/AttributeName.hpp>
#include <Facet/ValueNotation.hpp>

#include <QStringList>

#include <memory>
#include <utility>

namespace Facet
{
/// What attributes of one name, type and default value have in common, kept once for all of them in a table and referred to by
/// number. Lives as long as an attribute uses it: its code may lie in a library that is unloaded later. Main thread only.
class TAVOLA_EXPORT AttributeDeclaration
{
public:
    /// `type` is the same for declarations of one class only.
    AttributeDeclaration(AttributeName name, const void* type) noexcept : m_name(name), m_type(type) {}
    AttributeDeclaration(const AttributeDeclaration&) = delete;
    AttributeDeclaration& operator=(const AttributeDeclaration&) = delete;
    virtual ~AttributeDeclaration();

    [[nodiscard]] AttributeName name() const noexcept { return m_name; }
    [[nodiscard]] const void* type() const noexcept { return m_type; }
    /// Whether a style sheet's value can become one of this type. If not, `error` (may be null) says what was expected.
    [[nodiscard]] virtual bool accepts(const StyleValue& value, QString* error) const = 0;
    /// What a style sheet's value becomes, as `Attribute::toText` writes it. False, as above, where it cannot become one.
    [[nodiscard]] virtual bool textOf(const StyleValue& value, QString& text, QString* error) const = 0;
    /// Whether some declaration of that name accepts the value, or there is none. If not, `error` (may be null) is what one says.
    [[nodiscard]] static bool anyAccepts(AttributeName name, const StyleValue& value, QString* error);
    /// Whether several attributes use it.
    [[nodiscard]] bool isShared() const noexcept { return m_uses > 1; }

    /// The declaration of a number that is in use.
    [[nodiscard]] static AttributeDeclaration& numbered(unsigned number) noexcept;
    /// The declaration of that name that follows `number` (0 for the first), the newest first; 0 for none.
    [[nodiscard]] static unsigned next(AttributeName name, unsigned number) noexcept;
    /// Enters a declaration with one use. Numbers fit into 24 bits.
    [[nodiscard]] static unsigned add(std::unique_ptr<AttributeDeclaration> declaration);
    static void addUse(unsigned number) noexcept;
    /// Destroys a declaration with its last use.
    static void removeUse(unsigned number) noexcept;
    /// Whether there ever was a declaration of that name.
    [[nodiscard]] static bool isKnownName(AttributeName name) noexcept;
    /// All names of which there ever was a declaration.
    [[nodiscard]] static QStringList knownNames();

private:
    AttributeName m_name;
    const void* m_type;
    unsigned m_next = 0; ///< of the same name, or of the unused numbers
    long m_uses = 0;
    friend class AttributeDeclarationTable;
};

template <class T>
class AttributeDeclarationT final : public AttributeDeclaration
{
public:
    using Names = typename ValueNotation<T>::Names;

    AttributeDeclarationT(AttributeName name, T value, Names namesOfValues)
        : AttributeDeclaration(name, &s_type), m_defaultValue(std::move(value)), m_names(std::move(namesOfValues))
    {
    }

    [[nodiscard]] bool accepts(const StyleValue& value, QString* error) const override
    {
        T ignored{};
        return ValueNotation<T>::read(m_names, value, ignored, error);
    }
    [[nodiscard]] bool textOf(const StyleValue& value, QString& text, QString* error) const override
    {
        T converted{};
        if (!ValueNotation<T>::read(m_names, value, converted, error))
            return false;
        text = ValueNotation<T>::write(m_names, converted);
        return true;
    }
    [[nodiscard]] const T& defaultValue() const noexcept { return m_defaultValue; }
    [[nodiscard]] const Names& names() const noexcept { return m_names; }

    /// The number of a declaration like this with one more use; made if there is none.
    [[nodiscard]] static unsigned acquire(AttributeName name, T defaultValue, Names names)
    {
        // Of a default that differs from node to node each attribute may have one of its own.
        constexpr int kMostCompared = 16;
        int compared = 0;
        for (unsigned number = next(name, 0); number != 0 && compared < kMostCompared; number = next(name, number), ++compared) {
            const AttributeDeclaration& declaration = numbered(number);
            if (declaration.type() != &s_type)
                continue;
            const auto& same = static_cast<const AttributeDeclarationT&>(declaration);
            if (same.m_defaultValue == defaultValue && same.m_names == names) {
                addUse(number);
                return number;
            }
        }
        return add(std::make_unique<AttributeDeclarationT>(name, std::move(defaultValue), std::move(names)));
    }
    /// The number of a declaration with another default and all else the same, for the attribute that used the one of `number`.
    [[nodiscard]] static unsigned withDefault(unsigned number, const T& defaultValue)
    {
        auto& declaration = static_cast<AttributeDeclarationT&>(numbered(number));
        if (declaration.m_defaultValue == defaultValue)
            return number;
        if (!declaration.isShared()) {
            declaration.m_defaultValue = defaultValue;
            return number;
        }
        const unsigned other = acquire(declaration.name(), defaultValue, declaration.m_names);
        removeUse(number);
        return other;
    }

private:
    /// Each library has one of its own, so that none uses a declaration that another one made.
    static inline const char s_type = 0;

    T m_defaultValue;
    Names m_names;
};
}
