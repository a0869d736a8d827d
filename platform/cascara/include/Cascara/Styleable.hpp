#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QList>

#include <memory>
#include <vector>

namespace Facet
{
class Attribute;
class Node;
}

namespace Cascara
{
struct StyleNode;

/// What a node is among the children of its parent: one of the siblings that `:first-child`, `+` and the like count, or
/// something attached that is not counted.
enum class StylePlace { Sibling, Attached };

/// A node that style sheets reach: it has a type, an id, classes and pseudo-classes, and a place in the style tree.
/// The style engine writes layer 1 of the node's attributes. Main thread only.
///
/// Every change is applied before the call returns: code that adds a class and then reads a styled value reads the new one.
/// Only what a change of an attribute's value reaches, by attribute selectors, waits for `StyleEngine::finishStyling`.
class TAVOLA_EXPORT Styleable
{
public:
    /// `node` is the object's own node part, constructed before and destroyed after this one; its attributes receive the
    /// styled values.
    explicit Styleable(Facet::Node& node, StylePlace place = StylePlace::Sibling);
    Styleable(const Styleable&) = delete;
    Styleable& operator=(const Styleable&) = delete;
    virtual ~Styleable();

    [[nodiscard]] Facet::Node& node() const noexcept { return m_node; }

    /// The type selector that matches. Restyles.
    void setCSSType(const QByteArray& type);
    [[nodiscard]] QByteArray cssType() const;
    /// The #id that matches. Restyles.
    void setCSSId(const QByteArray& id);
    [[nodiscard]] QByteArray cssId() const;

    /// Adding a class twice keeps one, removing an absent one is silent; each real change restyles what it can reach.
    void addCSSClass(const QByteArray& name);
    void removeCSSClass(const QByteArray& name);
    /// All in one change.
    void removeCSSClasses(const QList<QByteArray>& names);
    [[nodiscard]] bool hasCSSClass(const QByteArray& name) const;
    /// In the order they were added.
    [[nodiscard]] QList<QByteArray> cssClasses() const;

    /// A state that the code sets and selectors test with ":name". Restyles when it changes.
    void setPseudoClass(const QByteArray& name, bool on);
    [[nodiscard]] bool hasPseudoClass(const QByteArray& name) const;
    [[nodiscard]] QList<QByteArray> pseudoClasses() const;

    /// Computes the styles of this node and everything below it anew. Also says that the node is complete: a declaration that
    /// names no attribute is a warning from then on.
    void updateStyle();

    /// The style tree, which the owner of the objects keeps in step with its own. Setting a parent makes this node its last
    /// child and restyles this node, everything below it, and the siblings that selectors let it reach.
    void setStyleParent(Styleable* parent);
    [[nodiscard]] Styleable* styleParent() const noexcept { return m_parent; }
    [[nodiscard]] const std::vector<Styleable*>& styleChildren() const noexcept { return m_children; }

protected:
    /// For the destructor of a class whose children end with it: when they go, those that remain are not restyled.
    void beginStyleEnd() noexcept;
    /// A keyframe animation writes the style value of the attribute from now on; the value that it has in this call is the one at
    /// rest. Called again when that changes. Must not change styles.
    virtual void animationCovers(Facet::Attribute& attribute);
    /// The value at rest is the style value again.
    virtual void animationUncovers(Facet::Attribute& attribute);

private:
    friend struct StyleNode;

    void leaveStyleParent();

    Facet::Node& m_node;
    Styleable* m_parent = nullptr;
    std::vector<Styleable*> m_children;
    std::shared_ptr<StyleNode> d;
};
}
