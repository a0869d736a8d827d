#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <functional>
#include <memory>

namespace Facet
{
class Attribute;
}

namespace Cascara
{
class Styleable;

/// Attributes that a node gets only when a style sheet first names them for it. The style engine asks here when a
/// declaration names an attribute that the node does not have; the attribute that is made belongs to the node and then
/// gets the declaration's value. Main thread only.
class TAVOLA_EXPORT LazyAttributeManager
{
public:
    using Creator = std::function<std::unique_ptr<Facet::Attribute>(Styleable&, const QByteArray& name)>;

    /// Enters a creator in its constructor. Takes it out in its destructor, and destroys the attributes it made: their code
    /// may lie in a library that is about to go. Their values are cleared first, so that listeners undo what they did for
    /// them. Nodes styled before the registration get theirs when next restyled.
    class TAVOLA_EXPORT Registrant
    {
    public:
        Registrant(const QByteArray& name, Creator creator);
        /// For nodes that are a `Target`; other nodes do not get the attribute.
        template <class Target>
        Registrant(const QByteArray& name, std::unique_ptr<Facet::Attribute> (*creator)(Target&, const QByteArray&))
            : Registrant(name, Creator([creator](Styleable& styleable, const QByteArray& attributeName) {
                             auto* target = dynamic_cast<Target*>(&styleable);
                             return target ? creator(*target, attributeName) : std::unique_ptr<Facet::Attribute>();
                         }))
        {
        }
        Registrant(const Registrant&) = delete;
        Registrant& operator=(const Registrant&) = delete;
        ~Registrant();

    private:
        QByteArray m_name;
        long m_entry;
    };

    /// Makes the attribute of that name for `styleable` when a creator is registered and makes one; null otherwise.
    /// Called by the style engine.
    static Facet::Attribute* create(Styleable& styleable, const QByteArray& name);
    [[nodiscard]] static bool isRegistered(const QByteArray& name);
};
}
