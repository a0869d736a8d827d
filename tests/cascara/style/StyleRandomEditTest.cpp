#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <functional>
#include <random>
#include <vector>

using CascaraTest::StyleFixture;
using CascaraTest::TestNode;

namespace
{
const char* const kTypes[] = {"Panel", "Button", "Text", "Image"};
const char* const kIds[] = {"", "", "", "one", "two", "three"};
const char* const kClasses[] = {"a", "b", "c", "d", "e", "f"};
const char* const kPseudoClasses[] = {"hover", "drop", "off", "lang(de)", "lang(fi)"};

const char* const kCombinators[] = {" ", " ", " > ", " > ", " + ", " ~ "};
const char* const kPositions[] = {":first-child", ":last-child", ":nth-child(2n+1)", ":nth-child(3)", ":nth-child(-n+2)"};
const char* const kVariables[] = {"--a", "--b", "--c", "--d"};
const char* const kTexts[] = {"", "x", "x y", "X-y"};
const char* const kAttributeTests[] = {"[text]", "[text=\"\"]", "[text|=x i]", "[text~=y]", "[id]", "[id^=t]", "[list*=none]"};

/// A tree that is edited at random. The expectation is a copy of it, built from nothing.
class Editor
{
public:
    explicit Editor(unsigned seed) : m_random(seed)
    {
        for (int i = 0; i < 40; ++i)
            addNode();
    }

    void edit(Cascara::StyleEngine& engine)
    {
        TestNode& node = *m_nodes[std::size_t(number(int(m_nodes.size())))];
        switch (number(14)) {
        case 0:
        case 1:
        case 2: node.addCSSClass(pick(kClasses)); break;
        case 3:
        case 4: node.removeCSSClass(pick(kClasses)); break;
        case 5: node.removeCSSClasses({pick(kClasses), pick(kClasses), pick(kClasses)}); break;
        case 6:
        case 7: node.setPseudoClass(pick(kPseudoClasses), number(2) == 0); break;
        case 8: node.setCSSId(pick(kIds)); break;
        case 9: moveNode(node); break;
        case 10: node.setCSSType(pick(kTypes)); break;
        case 12: node.text = QString::fromUtf8(pick(kTexts)); break;
        case 13:
            if (number(2) == 0)
                node.text.clearValue(Facet::kUserLayer);
            else
                moveNode(node);
            break;
        case 11:
            if (number(2) == 0)
                addNode();
            else if (m_nodes.size() > 20)
                m_nodes.erase(m_nodes.begin() + number(int(m_nodes.size())));
            break;
        }
        if (number(150) == 0) {
            if (number(4) == 0)
                engine.clearStyleSheets();
            engine.addStyleSheet(randomSheet(), QStringLiteral("random.css"));
        }
    }

    QString reference() { return QStringLiteral("var(%1, %2)").arg(QString::fromUtf8(pick(kVariables))).arg(number(1000)); }

    QString randomVariable()
    {
        switch (number(4)) {
        case 0: return reference();
        case 1: return QStringLiteral("var(%1)").arg(QString::fromUtf8(pick(kVariables)));
        default: return QString::number(number(1000));
        }
    }

    QString randomFontSize()
    {
        switch (number(5)) {
        case 0: return QStringLiteral("inherit");
        case 1: return QStringLiteral("initial");
        case 2: return reference();
        default: return QString::number(number(1000));
        }
    }

    QString randomSheet()
    {
        QString sheet;
        for (int i = 0; i < 25; ++i) {
            sheet += randomSelector();
            if (number(4) == 0)
                sheet += QStringLiteral(", ") + randomSelector();
            sheet += QStringLiteral(" { ");
            for (int j = number(3); j >= 0; --j)
                sheet += QStringLiteral("%1: %2%3; ")
                             .arg(QString::fromUtf8(number(2) == 0 ? "width" : "height"))
                             .arg(number(1000))
                             .arg(QString::fromUtf8(number(8) == 0 ? " !important" : ""));
            if (number(6) == 0)
                sheet += QStringLiteral("%1: %2; ").arg(QString::fromUtf8(pick(kVariables))).arg(randomVariable());
            if (number(5) == 0)
                sheet += QStringLiteral("width: %1; ").arg(reference());
            if (number(4) == 0)
                sheet += QStringLiteral("font-size: %1; ").arg(randomFontSize());
            if (number(12) == 0)
                sheet += QStringLiteral("%1: inherit; ").arg(QString::fromUtf8(number(2) == 0 ? "width" : "height"));
            sheet += QStringLiteral("}\n");
        }
        return sheet;
    }

    /// Compares each node with one of the same features and place that was never changed.
    void check(Cascara::StyleEngine& engine) const
    {
        engine.finishStyling();
        Copies fresh;
        for (const auto& node : m_nodes) {
            auto& copy = fresh[node.get()];
            copy = std::make_unique<TestNode>(node->cssType().constData(), node->cssId().constData());
            for (const QByteArray& name : node->cssClasses())
                copy->addCSSClass(name);
            for (const QByteArray& name : node->pseudoClasses())
                copy->setPseudoClass(name, true);
            if (node->text.hasValue(Facet::kUserLayer))
                copy->text = node->text.value();
        }
        for (const auto& node : m_nodes)
            if (!node->styleParent())
                addCopies(*node, fresh);
        int differences = 0;
        for (const auto& node : m_nodes) {
            TestNode& copy = *fresh[node.get()];
            // Nothing of what came before may be left: all values anew.
            copy.updateStyle();
            differences += node->width.hasValue(1) != copy.width.hasValue(1) || node->width != *copy.width;
            differences += node->fontSize.hasValue(1) != copy.fontSize.hasValue(1) || node->fontSize != *copy.fontSize;
            differences += node->height.hasValue(1) != copy.height.hasValue(1) || node->height != *copy.height;
        }
        REQUIRE(differences == 0);
        m_styled = 0;
        for (const auto& node : m_nodes)
            m_styled += node->width.hasValue(1);
    }
    /// Of the nodes at the last check.
    [[nodiscard]] int styledNodes() const { return m_styled; }

private:
    using Copies = std::map<const Cascara::Styleable*, std::unique_ptr<TestNode>>;

    static void addCopies(const Cascara::Styleable& parent, const Copies& fresh)
    {
        for (const Cascara::Styleable* child : parent.styleChildren()) {
            fresh.at(child)->setStyleParent(fresh.at(&parent).get());
            addCopies(*child, fresh);
        }
    }

    int number(int below) { return int(m_random() % unsigned(below)); }
    template <std::size_t N>
    const char* pick(const char* const (&names)[N])
    {
        return names[number(int(N))];
    }

    void addNode()
    {
        m_nodes.push_back(std::make_unique<TestNode>(pick(kTypes), pick(kIds)));
        for (int i = number(3); i > 0; --i)
            m_nodes.back()->addCSSClass(pick(kClasses));
        moveNode(*m_nodes.back());
    }

    void moveNode(TestNode& node)
    {
        if (number(10) == 0) {
            node.setStyleParent(nullptr);
            return;
        }
        TestNode& parent = *m_nodes[std::size_t(number(int(m_nodes.size())))];
        for (const Cascara::Styleable* above = &parent; above; above = above->styleParent())
            if (above == &node)
                return;
        node.setStyleParent(&parent);
    }

    /// `depth` is how deep lists may stand in it.
    QString randomCompound(int depth)
    {
        QString compound;
        if (number(3) == 0)
            compound += QString::fromUtf8(pick(kTypes));
        if (number(8) == 0)
            compound += QStringLiteral("#one");
        for (int i = number(3); i > 0; --i)
            compound += QLatin1Char('.') + QString::fromUtf8(pick(kClasses));
        if (number(4) == 0)
            compound += QLatin1Char(':') + QString::fromUtf8(pick(kPseudoClasses));
        if (number(6) == 0)
            compound += QString::fromUtf8(pick(kPositions));
        if (number(8) == 0)
            compound += QString::fromUtf8(pick(kAttributeTests));
        if (depth > 0 && number(4) == 0)
            compound +=
                QStringLiteral(":%1(%2, %3)")
                    .arg(QString::fromUtf8(number(2) == 0 ? "not" : "is"), randomSelector(depth - 1), randomSelector(depth - 1));
        return compound.isEmpty() ? QStringLiteral("*.") + QString::fromUtf8(pick(kClasses)) : compound;
    }

    QString randomSelector(int depth = 2)
    {
        QString selector = randomCompound(depth);
        for (int i = number(3); i > 0; --i)
            selector += QString::fromUtf8(pick(kCombinators)) + randomCompound(depth);
        return selector;
    }

    std::mt19937 m_random;
    std::vector<std::unique_ptr<TestNode>> m_nodes;
    mutable int m_styled = 0;
};
}

TEST_CASE("style engine: after random edits the styles are those of a fresh computation")
{
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        CAPTURE(seed);
        StyleFixture fixture;
        Editor editor(seed);
        fixture.engine.addStyleSheet(editor.randomSheet(), QStringLiteral("random.css"));
        int styled = 0;
        for (int i = 1; i <= 1500; ++i) {
            editor.edit(fixture.engine);
            if (i % 10 == 0) {
                editor.check(fixture.engine);
                styled += editor.styledNodes();
            }
        }
        CHECK(styled > 1000); // the sheets do something
    }
}
