#include "Scene.hpp"

#include <algorithm>
#include <random>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;
using Trellis::Alignment;
using Trellis::Display;
using Trellis::Edges;
using Trellis::Length;
using Trellis::Position;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

namespace
{
/// The declarations of a widget, apart from the widget.
struct Box
{
    Length width, height, left, right, maxWidth;
    Edges padding, margin;
    Display display = Display::Block;
    Position position = Position::Flow;
    Alignment align = Alignment::Left;
    const char* direction = "ltr";
    float gap = 0.f;
    float scale = 1.f;
    bool hasLocation = false;
    Vector2f location;
    int parent = -1;
};

template <class T>
void set(Widget& widget, const char* name, T value)
{
    static_cast<Facet::AttributeT<T>&>(*widget.attribute(name)).setValue(value);
}

void setDirection(Widget& widget, const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QString::fromLatin1(word), 0.0, {}});
    QString error;
    REQUIRE(widget.attribute("direction")->setStyleValue(value, Facet::kUserLayer, &error));
}

void apply(const Box& box, Widget& widget)
{
    set(widget, "width", box.width);
    set(widget, "height", box.height);
    set(widget, "left", box.left);
    set(widget, "right", box.right);
    set(widget, "max-width", box.maxWidth);
    set(widget, "padding", box.padding);
    set(widget, "margin", box.margin);
    set(widget, "display", box.display);
    set(widget, "position", box.position);
    set(widget, "align", box.align);
    setDirection(widget, box.direction);
    set(widget, "gap", box.gap);
    set(widget, "scale", box.scale);
    if (box.hasLocation)
        widget.setLocation(box.location);
    else
        widget.attribute("location")->clearValue(Facet::kUserLayer);
}

class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    int below(int limit) { return int(m_engine() % unsigned(limit)); }
    float px(int limit) { return float(below(limit)); }
    Length length()
    {
        const int kind = below(3);
        return kind == 0 ? Length() : kind == 1 ? Length::pixels(px(120)) : Length::percent(px(120));
    }
    Edges edges()
    {
        Edges e;
        e.top = Length::pixels(px(10));
        e.left = Length::pixels(px(10));
        e.right = below(4) == 0 ? Length::percent(5) : Length::pixels(px(10));
        return e;
    }
    void change(Box& box)
    {
        switch (below(13)) {
        case 0: box.width = length(); break;
        case 1: box.height = length(); break;
        case 2: box.left = length(); break;
        case 3: box.right = length(); break;
        case 4: box.maxWidth = length(); break;
        case 5: box.padding = edges(); break;
        case 6: box.margin = edges(); break;
        case 7: box.display = below(8) == 0 ? Display::None : below(2) ? Display::Block : Display::Inline; break;
        case 8: box.position = below(4) == 0 ? Position::Absolute : Position::Flow; break;
        case 9: box.align = Alignment(below(3)); break;
        case 10: box.scale = 0.25f * float(1 + below(6)); break;
        case 11:
            box.hasLocation = below(2) == 0;
            box.location = {px(300), px(300)};
            break;
        case 12: box.direction = below(2) == 0 ? "ltr" : "rtl"; break;
        }
    }

private:
    std::mt19937 m_engine;
};
}

TEST_CASE("layout: after any changes the places and sizes are those of a tree made anew")
{
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        CAPTURE(seed);
        Random random(seed);
        std::vector<Box> boxes(24);
        std::vector<IntrusivePtr<Widget>> live;
        std::vector<int> order; ///< of adding
        const auto root = makeIntrusive<Widget>();
        root->setSize({400, 300});
        for (int i = 0; i < int(boxes.size()); ++i) {
            live.push_back(makeIntrusive<Widget>());
            boxes[std::size_t(i)].parent = random.below(i + 1) - 1;
            random.change(boxes[std::size_t(i)]);
            apply(boxes[std::size_t(i)], *live.back());
            const int parent = boxes[std::size_t(i)].parent;
            (parent < 0 ? root : live[std::size_t(parent)])->addChild(live.back());
            order.push_back(i);
        }

        for (int step = 0; step < 200; ++step) {
            CAPTURE(step);
            const auto edited = std::size_t(random.below(int(boxes.size())));
            if (random.below(10) == 0) {
                // Another parent: one that was made before, so that no ring comes about.
                boxes[edited].parent = random.below(int(edited) + 1) - 1;
                const int parent = boxes[edited].parent;
                (parent < 0 ? root : live[std::size_t(parent)])->addChild(live[edited]);
                order.erase(std::find(order.begin(), order.end(), int(edited)));
                order.push_back(int(edited));
            } else {
                random.change(boxes[edited]);
                apply(boxes[edited], *live[edited]);
            }
            if (random.below(3) == 0)
                continue; // several changes between two looks

            const auto freshRoot = makeIntrusive<Widget>();
            freshRoot->setSize({400, 300});
            std::vector<IntrusivePtr<Widget>> fresh;
            for (const Box& box : boxes) {
                fresh.push_back(makeIntrusive<Widget>());
                apply(box, *fresh.back());
            }
            for (const int i : order) {
                const int parent = boxes[std::size_t(i)].parent;
                (parent < 0 ? freshRoot : fresh[std::size_t(parent)])->addChild(fresh[std::size_t(i)]);
            }
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                CAPTURE(i);
                // What is not displayed stays where it was.
                if (boxes[i].display != Display::None)
                    REQUIRE(live[i]->location() == fresh[i]->location());
                REQUIRE(live[i]->size() == fresh[i]->size());
            }
        }
    }
}
