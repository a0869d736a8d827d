#pragma once

#include "Scene.hpp"

#include <Lantern/RenderContext.hpp>
#include <Trellis/TextWidget.hpp>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace TrellisTest
{
using Trellis::Widget;

inline constexpr Vecta::Vector2f kTable{140.f, 120.f};
/// Shows fine stripes, which a sampler that begins elsewhere shows differently.
class Stripes final : public Widget
{
public:
    Stripes(Widget* parent, unsigned seed) : Widget(parent) { setSeed(seed); }
    void setSeed(unsigned seed)
    {
        m_image = QImage(40, 30, QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < m_image.height(); ++y)
            for (int x = 0; x < m_image.width(); ++x)
                m_image.setPixel(x, y, (x + y * int(seed % 5)) % 3 == 0 ? qRgb(255, int(seed) % 255, 40) : qRgba(0, 20, 90, 128));
        requestRedraw();
    }
    void renderContent(Lantern::RenderContext& context) const override
    {
        Widget::renderContent(context);
        context.drawImage(m_image, {0.f, 0.f, width(), height()}, {3.f, 2.f, 30.f, 25.f});
    }

private:
    QImage m_image;
};

/// A table on which everything happens that changes pictures.
class Edits
{
public:
    enum class Kept { Nothing, Children };
    Edits(unsigned seed, Kept kept) : m_random(seed)
    {
        Cascara::StyleEngine::instance().addStyleSheet(
            QStringLiteral(".round { border-radius: 9px; }"
                           ".framed { border-width: 3px; border-color: #fff8; }"
                           ".cut { overflow: hidden; }"
                           ".graded { background-image: linear-gradient(to top right, red, transparent 70%);"
                           " background-size: 23px 17px; }"
                           ".sided { border-left: 5px solid #08f8; border-top-right-radius: 14px; }"
                           ".deep { box-shadow: 3px 6px 8px 2px #a0fc, inset 0 3px 5px #fff9; }"
                           ".faint { opacity: 0.6; }"
                           ".large { font-size: 21px; }"
                           ".strong { font-weight: bold; }"
                           ".gone { display: none; }"
                           ".grid { padding: 3px; }"
                           ".grid > Widget { display: inline; width: 9px; height: 7px; background-color: #f80b; }"
                           ".grid > :nth-child(5n) { width: 13px; background-color: #08f; }"
                           ".glass { background-color: rgba(90, 200, 10, 0.4); }"),
            QStringLiteral("edits.css"));
        auto* main = new Widget(&scene.root());
        place(*main, {0, 0, kTable.x, kTable.y});
        m_main = main;
        if (kept == Kept::Children)
            scene.app.keepPicturesOf(*main);
        for (int i = 0; i < 10; ++i)
            add();
    }

    void step()
    {
        if (m_widgets.empty() || (m_widgets.size() < 16 && chance(12))) {
            add();
            return;
        }
        const std::size_t index = m_random() % m_widgets.size();
        Widget& widget = *m_widgets[index];
        switch (m_random() % 12) {
        case 0: widget.setLocation({number(120) - 10, number(100) - 10}); break;
        case 1: widget.setLocation(widget.location() + Vecta::Vector2f{number(8) - 4, number(8) - 4}); break;
        case 2: widget.setRotation(chance(4) ? 0.f : number(6)); break;
        case 3: widget.setScale(chance(2) ? 1.f : 0.4f + number(1)); break;
        case 4: widget.setOpacity(std::min(1.f, float(m_random() % 5) / 3.f)); break;
        case 5: widget.setSize({5 + number(60), 5 + number(60)}); break;
        case 6: toggleClass(widget); break;
        case 7:
        case 8: changeContent(widget); break;
        case 9: chance(2) ? widget.raiseToTop() : widget.lowerToBottom(); break;
        case 10: moveElsewhere(index); break;
        case 11:
            if (m_widgets.size() > 8)
                remove(index);
            break;
        }
    }

    Scene scene{kTable};

private:
    float number(int limit) { return float(m_random() % 10000) / 10000.f * float(limit); }
    bool chance(int in) { return m_random() % unsigned(in) == 0; }
    Bedrock::Color color() { return {number(1), number(1), number(1), chance(3) ? 0.5f : 1.f}; }

    void add()
    {
        Widget& parent = m_widgets.empty() || chance(3) ? *m_main : *m_widgets[m_random() % m_widgets.size()];
        Widget* widget = nullptr;
        const unsigned kind = m_random() % 5;
        if (kind == 4) {
            // Most of them move when it takes another width.
            widget = new Widget(&parent);
            widget->addCSSClass("grid");
            for (int i = 0; i < 20; ++i)
                new Widget(widget);
        } else if (kind == 0) {
            widget = new Stripes(&parent, unsigned(m_random() % 200));
        } else if (kind == 1) {
            auto* text = new Trellis::TextWidget(&parent);
            text->setText(QStringLiteral("Ann %1").arg(m_random() % 100));
            set(*text, "color", kWhite);
            // Letters stand a little beyond their line.
            const Trellis::Length pad = Trellis::Length::pixels(8.f);
            set(*text, "padding", Trellis::Edges{pad, pad, pad, pad});
            widget = text;
        } else {
            widget = new Widget(&parent);
            set(*widget, "background-color", color());
        }
        place(*widget, {number(100), number(80), 10 + number(60), 10 + number(50)});
        m_widgets.push_back(widget);
    }
    void toggleClass(Widget& widget)
    {
        constexpr std::array<const char*, 11> kClasses{"round", "framed", "cut",   "deep",  "graded", "sided",
                                                       "faint", "gone",   "glass", "large", "strong"};
        const QByteArray name = kClasses[m_random() % kClasses.size()];
        if (widget.hasCSSClass(name))
            widget.removeCSSClass(name);
        else
            widget.addCSSClass(name);
    }
    void changeContent(Widget& widget)
    {
        if (auto* stripes = dynamic_cast<Stripes*>(&widget))
            stripes->setSeed(unsigned(m_random() % 200));
        else if (auto* text = dynamic_cast<Trellis::TextWidget*>(&widget))
            text->setText(QStringLiteral("Bea %1").arg(m_random() % 1000));
        else if (widget.hasCSSClass("grid") && chance(2))
            changeTile(widget);
        else
            set(widget, "background-color", color());
    }
    void changeTile(Widget& grid)
    {
        Widget& tile = *grid.children()[m_random() % grid.children().size()];
        switch (m_random() % 4) {
        case 0: set(tile, "width", Trellis::Length::pixels(5 + number(12))); break;
        case 1: tile.setOpacity(float(m_random() % 3) / 2.f); break;
        case 2: tile.setScale(0.5f + number(1)); break;
        case 3: tile.setRotation(number(1)); break;
        }
        // Another width of all of it, in the same frame.
        if (chance(2))
            grid.setSize({20 + number(60), 20 + number(40)});
    }
    void moveElsewhere(std::size_t index)
    {
        Widget& widget = *m_widgets[index];
        Widget& parent = chance(2) ? *m_main : *m_widgets[m_random() % m_widgets.size()];
        if (!widget.isAncestorOf(parent))
            parent.addChild(widget);
    }
    void remove(std::size_t index)
    {
        Widget& gone = *m_widgets[index];
        m_widgets.erase(std::remove_if(m_widgets.begin(), m_widgets.end(),
                                       [&gone](const Widget* widget) { return gone.isAncestorOf(*widget); }),
                        m_widgets.end());
        gone.removeFromParent();
    }

    std::mt19937 m_random;
    Widget* m_main = nullptr;
    std::vector<Widget*> m_widgets;
};
}
