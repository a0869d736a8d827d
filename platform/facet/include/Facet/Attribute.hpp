#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/AttributeDeclaration.hpp>

#include <QByteArray>
#include <QString>

#include <functional>

namespace Facet
{
class AttributeExtras;
class Node;
struct StyleValue;

/// Layers of an attribute's value; the highest one that is set shows.
enum Layer : int {
    kDefaultLayer = 0, ///< given by the constructor, always set
    kStyleLayer = 1,   ///< written by the style engine only
    kUserLayer = 2,    ///< values set at run time
    kLayerCount = 3
};

/// A named, layered value of a node. This is the face without the type; see AttributeT. Main thread only.
/// The attribute is a member of (or owned by) its node's class. One that is destroyed after its node has no host any more.
///
/// Kept small, since a widget has dozens: only the visible value is inside. The default is in the declaration that attributes
/// of the same name share; listeners, and a style value that a run-time value hides, are in a side table of the node.
class TAVOLA_EXPORT Attribute
{
public:
    using ListenerId = long;
    /// The only listener role there is: the visible value changed.
    static constexpr int kValueChanged = 2;

    /// A `host` receives the attribute at once, before the typed part is constructed. May be null.
    /// Takes over one use of the declaration.
    Attribute(Node* host, unsigned declaration);
    Attribute(const Attribute&) = delete;
    Attribute& operator=(const Attribute&) = delete;
    virtual ~Attribute();

    [[nodiscard]] Node* host() const noexcept { return m_host; }
    [[nodiscard]] const QByteArray& name() const { return declaration().name().text(); }
    /// The name's number in NameTable::instance(): what the style engine compares.
    [[nodiscard]] int nameNumber() const noexcept { return declaration().name().number(); }

    /// Calls `listener` inside the change, whenever the visible value has become another one, whichever layer caused it.
    /// Listeners may read, set and clear attributes, add and remove listeners, and destroy the attribute.
    ListenerId addListener(std::function<void()> listener, int role = kValueChanged);
    void removeListener(ListenerId id);

    [[nodiscard]] bool hasValue(int layer) const noexcept { return (m_layersSet & (1u << layer)) != 0; }
    /// The layer whose value shows.
    [[nodiscard]] int visibleLayer() const noexcept
    {
        return hasValue(kUserLayer) ? kUserLayer : hasValue(kStyleLayer) ? kStyleLayer : kDefaultLayer;
    }
    /// Takes the value of `layer` away (layer 0 cannot be cleared), so that the one below shows again.
    virtual void clearValue(int layer) = 0;

    /// Makes this attribute's type of a style sheet's value and sets it on `layer`. False, with the reason in `error`
    /// ("expected a number"), and nothing changed, when the value does not fit.
    virtual bool setStyleValue(const StyleValue& value, int layer, QString* error) = 0;
    /// Whether `setStyleValue` would succeed. If not, `error` says what was expected.
    [[nodiscard]] bool accepts(const StyleValue& value, QString* error) const { return declaration().accepts(value, error); }
    /// What that value would become, as `toText` writes it. False, as above, when it does not fit.
    [[nodiscard]] bool textOf(const StyleValue& value, QString& text, QString* error) const
    {
        return declaration().textOf(value, text, error);
    }
    /// Whether values of the one can become values of the other.
    [[nodiscard]] bool isOfSameType(const Attribute& other) const { return declaration().type() == other.declaration().type(); }
    /// Sets on the style layer the value that style sheets or its default give `source`, which has the same type.
    virtual void takeStyledValue(const Attribute& source) = 0;
    /// The visible value as text, for tools: what a style sheet says, but texts without quotes.
    [[nodiscard]] virtual QString toText() const = 0;
    /// As above of the value of one layer, or of the one below it that is set.
    [[nodiscard]] virtual QString layerText(int layer) const = 0;
    /// As above of the value that was given at run time, or else the default, whatever style sheets say.
    [[nodiscard]] virtual QString givenText() const = 0;

    /// Whether any attribute anywhere ever had this name. Lets the style engine tell a misspelt name from one that the
    /// widget at hand merely does not have.
    [[nodiscard]] static bool isKnownName(AttributeName name) { return AttributeDeclaration::isKnownName(name); }

protected:
    [[nodiscard]] const AttributeDeclaration& declaration() const noexcept
    {
        return AttributeDeclaration::numbered(m_declaration);
    }
    [[nodiscard]] unsigned declarationNumber() const noexcept { return m_declaration; }
    /// Of a declaration of the same name; the uses are counted by the typed part.
    void setDeclarationNumber(unsigned number) noexcept { m_declaration = number; }
    /// Whether the default that shows is not the declared one.
    [[nodiscard]] bool hasOwnDefault() const noexcept { return m_hasOwnDefault; }
    void setHasOwnDefault(bool own) noexcept { m_hasOwnDefault = own ? 1 : 0; }
    void markSet(int layer) noexcept { m_layersSet |= 1u << layer; }
    void markCleared(int layer) noexcept { m_layersSet &= ~(1u << layer); }
    /// The style value while a run-time value hides it, else null. Owned by the typed part.
    [[nodiscard]] void* hiddenValue() const noexcept;
    void setHiddenValue(void* value);
    void notifyChanged();
    /// To be called after the value of a layer was set or cleared, before `notifyChanged`.
    void layerChanged(int layer)
    {
        if (s_observersReceiveValues && layer != kStyleLayer)
            reportToObserver();
    }

private:
    friend class AttributeObserver;
    friend class Node;

    /// Where listeners and the hidden value are.
    [[nodiscard]] AttributeExtras& extras() const;
    void reportToObserver();

    static bool s_observersReceiveValues;

    Node* m_host;
    unsigned m_declaration : 24; ///< number
    unsigned m_layersSet : kLayerCount;
    unsigned m_hasListeners : 1;
    unsigned m_hidesValue : 1;
    unsigned m_hasOwnDefault : 1;
};
}
