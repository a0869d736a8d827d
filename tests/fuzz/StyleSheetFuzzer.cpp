// One input is a style sheet. It is put on a small tree, whose classes, states, places and frames change then as the last bytes
// say.

#include "FuzzSupport.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{
const QString kName = QStringLiteral("fuzz.css");
constexpr double kLongTime = 1e15;

/// A node with an attribute of each type that conversions are written for.
class FuzzNode final : public Facet::Node, public Cascara::Styleable
{
public:
    FuzzNode(const char* type, const char* id, FuzzNode* parent) : Cascara::Styleable(static_cast<Facet::Node&>(*this))
    {
        setStyleParent(parent);
        setCSSType(type);
        setCSSId(id);
        updateStyle();
    }

    Facet::AttributeT<float> width{this, "width"};
    Facet::AttributeT<float> opacity{this, "opacity", 1.f};
    Facet::AttributeT<int> lines{this, "max-lines"};
    Facet::AttributeT<bool> movable{this, "movable"};
    Facet::AttributeT<QString> text{this, "text"};
    Facet::AttributeT<QStringList> family{this, "font-family"};
    Facet::AttributeT<Bedrock::Color> color{this, "color"};
    Facet::AttributeT<Bedrock::Color> background{this, "background-color"};
    Facet::AttributeT<float> border{this, "border-width"};
    Facet::AttributeT<float> fontSize{this, "font-size", 16.f};
    Facet::AttributeT<float> lineHeight{this, "line-height"};
};

/// What half of the sheets are compared with when they are read.
std::vector<Cascara::StyleType> types()
{
    return {
        {"Widget",
         "",
         {"width", "opacity", "background-color", "border-width", "text", {"movable", "yes/no"}, {"max-lines", "whole number"}},
         {},
         {"on", "root"},
         [] { return std::make_shared<FuzzNode>("Widget", "sample", nullptr); }},
        {"Panel", "Widget", {{"mode", {"email", "upload"}}}},
        {"TextWidget", "Widget", {{"mode", {"off", "on"}}}, {}, {"empty"}},
        {"Button", "", {{"seconds", "number"}}}};
}

const std::array<const char*, 3> kClasses{"a", "b", "c"};
const std::array<const char*, 3> kStates{"on", "root", "empty"};

/// main > (panel > (title, send), tray > note)
class Tree
{
public:
    Tree()
    {
        FuzzNode* const main = add("Widget", "main", nullptr);
        FuzzNode* const panel = add("Panel", "panel", main);
        add("TextWidget", "title", panel);
        add("Button", "send", panel);
        FuzzNode* const tray = add("Panel", "tray", main);
        add("TextWidget", "note", tray);
        main->setPseudoClass("root", true);
    }
    [[nodiscard]] FuzzNode& node(unsigned number) { return *m_nodes[number % m_nodes.size()]; }
    [[nodiscard]] std::vector<std::string> values() const
    {
        std::vector<std::string> result;
        for (const auto& node : m_nodes)
            for (const Facet::Attribute* attribute : node->attributes())
                result.push_back(node->cssId().toStdString() + " " + attribute->name().toStdString() + " "
                                 + attribute->toText().toStdString());
        return result;
    }
    void restyle() { m_nodes.front()->updateStyle(); }
    void checkUnstyled() const
    {
        for (const auto& node : m_nodes)
            for (const Facet::Attribute* attribute : node->attributes())
                Fuzz::require(!attribute->hasValue(Facet::kStyleLayer),
                              "nothing is left of a sheet that was taken away: " + node->cssId() + ' ' + attribute->name());
    }

private:
    FuzzNode* add(const char* type, const char* id, FuzzNode* parent)
    {
        m_nodes.push_back(std::make_unique<FuzzNode>(type, id, parent));
        return m_nodes.back().get();
    }

    std::vector<std::unique_ptr<FuzzNode>> m_nodes;
};

void change(Tree& tree, unsigned byte)
{
    FuzzNode& node = tree.node(byte >> 5);
    const char* const name = kClasses[byte % kClasses.size()];
    switch ((byte >> 2) & 7u) {
    case 0:
    case 1: node.hasCSSClass(name) ? node.removeCSSClass(name) : node.addCSSClass(name); break;
    case 2: node.setPseudoClass(kStates[byte % kStates.size()], !node.hasPseudoClass(kStates[byte % kStates.size()])); break;
    case 3: node.text.setValue(QString::number(byte % 4)); break;
    case 4:
        if (node.cssId() != "main" && node.cssId() != "panel") // the trunk stays where it is
            node.setStyleParent(node.styleParent() == &tree.node(0) ? &tree.node(1) : &tree.node(0));
        break;
    case 5: node.text.clearValue(Facet::kUserLayer); break;
    default:
        Cascara::StyleEngine::instance().finishStyling();
        Cascara::StyleEngine::instance().beginAnimations();
        Cascara::StyleEngine::instance().advance(double(byte & 3u) * 0.1);
        break;
    }
}

void changeTree(Tree& tree, const std::uint8_t* data, std::size_t size)
{
    auto& engine = Cascara::StyleEngine::instance();
    for (std::size_t i = 0; i < size; ++i)
        change(tree, data[i]);
    engine.finishStyling();
}

/// The end of a frame, and of everything that begins in it.
void settle()
{
    auto& engine = Cascara::StyleEngine::instance();
    engine.finishStyling();
    engine.beginAnimations();
    engine.advance(kLongTime);
}

void checkMatches(Tree& tree)
{
    for (unsigned i = 0; i < 6; ++i)
        for (const auto& declaration : Cascara::StyleEngine::instance().matchedDeclarations(tree.node(i)))
            Fuzz::require(declaration.line >= 1 && declaration.column >= 1 && !declaration.attribute.isEmpty(),
                          "a declaration has a name and a place");
}

/// The place of a warning about the sheet lies in it, and its text says something.
void checkWarning(const std::string& warning, int lines)
{
    const std::string prefix = "StyleEngine # " + kName.toStdString() + ":";
    if (warning.compare(0, prefix.size(), prefix) != 0)
        return;
    if (warning.compare(prefix.size(), 15, " there are more") == 0) // so many that the rest is not told
        return;
    int line = 0;
    int column = 0;
    int read = 0;
    const int found = std::sscanf(warning.c_str() + prefix.size(), "%d:%d: %n", &line, &column, &read);
    Fuzz::require(found == 2 && read > 0, "a warning has a place");
    Fuzz::require(line >= 1 && line <= lines && column >= 1, "the place lies in the sheet");
    Fuzz::require(warning.size() > prefix.size() + std::size_t(read), "a warning says what is wrong");
}
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kChanges = 8;
    const std::size_t sheetSize = size > kChanges ? size - kChanges : size;
    const QString sheet = QString::fromUtf8(reinterpret_cast<const char*>(data), int(sheetSize));
    QString lineEnds = sheet;
    lineEnds.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const int lines = 1 + lineEnds.count(QLatin1Char('\n')) + lineEnds.count(QLatin1Char('\f'));
    (void)Bedrock::Trace::setSink([lines](Bedrock::Trace::Level, const std::string& text) { checkWarning(text, lines); });

    static const Cascara::StyleVocabulary::Registrant declared(types());
    Tree tree;
    auto& engine = Cascara::StyleEngine::instance();
    engine.setChecksNames(size % 2 == 1);
    engine.advance(1.0); // what was made in this frame does not move
    engine.addStyleSheet(sheet, kName, QStringLiteral("/nowhere"));
    checkMatches(tree);
    changeTree(tree, data + sheetSize, size - sheetSize);
    const Cascara::Media media = engine.media();
    engine.setMedia({media.widthPx, media.heightPx, true}); // some animations would go on for ever
    settle();
    Fuzz::require(!engine.isMoving(), "what moves comes to its end");
    const auto values = tree.values();
    tree.restyle();
    settle();
    Fuzz::require(tree.values() == values, "changes lead to what restyling everything gives");
    engine.clearStyleSheets();
    Fuzz::require(!engine.isMoving(), "nothing moves without a sheet");
    tree.checkUnstyled();
    engine.setMedia(media);
    return 0;
}
