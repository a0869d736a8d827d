#include <Facet/AttributeDeclaration.hpp>
#include <Facet/NameTable.hpp>

#include <cstddef>
#include <vector>

namespace Facet
{
/// All declarations by number, and for each name the newest of its declarations.
class AttributeDeclarationTable
{
public:
    [[nodiscard]] static AttributeDeclarationTable& instance()
    {
        // Never destroyed: attributes of static objects are made and destroyed late.
        static AttributeDeclarationTable& table = *new AttributeDeclarationTable;
        return table;
    }

    /// Each attribute that is made asks several times: there is one of them by then, and the table exists.
    [[nodiscard]] static AttributeDeclaration& numbered(unsigned number) noexcept { return *s_declarations[number]; }
    [[nodiscard]] unsigned newest(AttributeName name) const noexcept
    {
        const auto number = std::size_t(name.number());
        return number < m_names.size() ? m_names[number].newest : 0;
    }
    [[nodiscard]] bool isKnown(AttributeName name) const noexcept
    {
        const auto number = std::size_t(name.number());
        return number < m_names.size() && m_names[number].isKnown;
    }
    [[nodiscard]] static unsigned after(const AttributeDeclaration& declaration) noexcept { return declaration.m_next; }
    [[nodiscard]] static long& uses(AttributeDeclaration& declaration) noexcept { return declaration.m_uses; }

    unsigned add(std::unique_ptr<AttributeDeclaration> declaration)
    {
        const auto name = std::size_t(declaration->name().number());
        if (name >= m_names.size())
            m_names.resize(name + 1);
        unsigned number = 0;
        if (m_unused.empty()) {
            number = unsigned(m_declarations.size());
            m_declarations.emplace_back();
            s_declarations = m_declarations.data();
        } else {
            number = m_unused.back();
            m_unused.pop_back();
        }
        declaration->m_next = std::exchange(m_names[name].newest, number);
        declaration->m_uses = 1;
        m_names[name].isKnown = true;
        m_declarations[number] = std::move(declaration);
        return number;
    }

    [[nodiscard]] QStringList knownNames() const
    {
        QStringList result;
        for (std::size_t name = 0; name < m_names.size(); ++name)
            if (m_names[name].isKnown)
                result.append(QString::fromUtf8(NameTable::instance().name(int(name))));
        return result;
    }

    void remove(unsigned number)
    {
        const std::unique_ptr<AttributeDeclaration> removed = std::move(m_declarations[number]);
        unsigned* link = &m_names[std::size_t(removed->name().number())].newest;
        while (*link != number)
            link = &m_declarations[*link]->m_next;
        *link = removed->m_next;
        m_unused.push_back(number);
    }

private:
    struct Name
    {
        unsigned newest = 0;
        bool isKnown = false;
    };
    static inline const std::unique_ptr<AttributeDeclaration>* s_declarations = nullptr; ///< those of the one table
    std::vector<std::unique_ptr<AttributeDeclaration>> m_declarations{1};                ///< number 0 is none
    std::vector<unsigned> m_unused;
    std::vector<Name> m_names; ///< by number of the name
};

AttributeDeclaration::~AttributeDeclaration() = default;

AttributeDeclaration& AttributeDeclaration::numbered(unsigned number) noexcept
{
    return AttributeDeclarationTable::numbered(number);
}

unsigned AttributeDeclaration::next(AttributeName name, unsigned number) noexcept
{
    using Table = AttributeDeclarationTable;
    return number == 0 ? Table::instance().newest(name) : Table::after(Table::numbered(number));
}

bool AttributeDeclaration::anyAccepts(AttributeName name, const StyleValue& value, QString* error)
{
    unsigned number = next(name, 0);
    const bool isUnknown = number == 0;
    for (; number != 0; number = next(name, number))
        if (numbered(number).accepts(value, error))
            return true;
    return isUnknown;
}

unsigned AttributeDeclaration::add(std::unique_ptr<AttributeDeclaration> declaration)
{
    return AttributeDeclarationTable::instance().add(std::move(declaration));
}

void AttributeDeclaration::addUse(unsigned number) noexcept
{
    using Table = AttributeDeclarationTable;
    ++Table::uses(Table::numbered(number));
}

void AttributeDeclaration::removeUse(unsigned number) noexcept
{
    using Table = AttributeDeclarationTable;
    if (--Table::uses(Table::numbered(number)) == 0)
        Table::instance().remove(number);
}

QStringList AttributeDeclaration::knownNames()
{
    return AttributeDeclarationTable::instance().knownNames();
}

bool AttributeDeclaration::isKnownName(AttributeName name) noexcept
{
    return AttributeDeclarationTable::instance().isKnown(name);
}
}
