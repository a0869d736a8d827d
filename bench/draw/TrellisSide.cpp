#include "draw/DrawSide.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <QRegion>
#include <QTemporaryDir>

namespace Bench
{
namespace
{
Bedrock::Color toColor(const QColor& color)
{
    return {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
}

template <class T>
void set(Trellis::Widget& widget, const char* name, T value)
{
    dynamic_cast<Facet::AttributeT<T>&>(*widget.attribute(name)).setValue(std::move(value));
}

class TrellisSide final : public DrawSide
{
public:
    TrellisSide(const DrawScene& scene, std::unique_ptr<Lantern::PaintTarget> target, double screenScale)
        : m_scale(screenScale), m_application({onTable(scene.size.width()), onTable(scene.size.height())}),
          m_target(std::move(target)), m_image(dynamic_cast<const Lantern::ImageTarget*>(m_target.get()))
    {
        m_application.setScreenScale({float(m_scale), float(m_scale)});
        Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral("ImageWidget { fit: stretch; }"),
                                                       QStringLiteral("bench.css"));
        auto* main = new Trellis::Widget(m_application.mainLayer().get());
        main->setLocation({0.f, 0.f});
        main->setSize(m_application.size());
        m_application.keepPicturesOf(*main);
        for (const DrawItem& item : scene.items)
            m_items.push_back(make(item, *main));
        draw();
    }

    void move(int item, int tile, QPointF by) override
    {
        Trellis::Widget& widget = find(item, tile);
        widget.setLocation(widget.location() + Vecta::Vector2f{onTable(by.x()), onTable(by.y())});
    }
    void turn(int item, int tile, double byRadians) override
    {
        Trellis::Widget& widget = find(item, tile);
        widget.setRotation(widget.rotation() + float(byRadians));
    }
    void setScale(int item, double scale) override { find(item, -1).setScale(float(scale)); }
    void setOpacity(int item, double opacity) override { find(item, -1).setOpacity(float(opacity)); }
    void damageAll() override { m_everything = true; }
    void clear() override
    {
        if (auto* target = dynamic_cast<Lantern::ImageTarget*>(m_target.get()))
            target->resize(target->size());
    }
    void draw() override
    {
        m_application.frame(0.016);
        QRegion damage;
        for (const QRect& rect : m_application.collectDamage())
            damage +=
                QRectF(rect.x() * m_scale, rect.y() * m_scale, rect.width() * m_scale, rect.height() * m_scale).toAlignedRect();
        if (m_everything)
            damage = QRect(QPoint(), m_target->size());
        m_everything = false;
        m_target->paint(damage, [this](Lantern::RenderContext& context) {
            context.pushTransform(Vecta::Transform::scaling(float(m_scale)));
            m_application.render(context);
            context.pop();
        });
    }
    [[nodiscard]] const QImage& picture() const override
    {
        static const QImage none;
        return m_image ? m_image->image() : none;
    }

private:
    Trellis::Widget* make(const DrawItem& item, Trellis::Widget& parent)
    {
        Trellis::Widget* widget = nullptr;
        if (!item.picture.isNull()) {
            auto* image = new Trellis::ImageWidget(&parent);
            const QString path = m_folder.filePath(QStringLiteral("%1.png").arg(++m_pictures));
            item.picture.save(path, "PNG", 100);
            widget = image;
            place(*widget, item);
            image->load(path, Trellis::ImageWidget::kBlocking);
        } else if (!item.text.isEmpty()) {
            auto* text = new Trellis::TextWidget(&parent);
            text->setText(item.text);
            set(*text, "font-family", QStringList{QString::fromLatin1(kTextFamily)});
            set(*text, "font-size", onTable(kTextPx));
            set(*text, "color", Bedrock::Color{1.f, 1.f, 1.f, 1.f});
            widget = text;
            place(*widget, item);
        } else {
            widget = new Trellis::Widget(&parent);
            place(*widget, item);
        }
        if (item.ground.isValid())
            set(*widget, "background-color", toColor(item.ground));
        if (item.border.isValid())
            set(*widget, "border-color", toColor(item.border));
        set(*widget, "border-width", onTable(item.borderWidth));
        set(*widget, "border-radius", onTable(item.borderRadius));
        for (const DrawItem& inner : item.items)
            make(inner, *widget);
        return widget;
    }
    [[nodiscard]] float onTable(double pixels) const { return float(pixels / m_scale); }
    void place(Trellis::Widget& widget, const DrawItem& item) const
    {
        widget.setLocation({onTable(item.rect.x()), onTable(item.rect.y())});
        widget.setSize({onTable(item.rect.width()), onTable(item.rect.height())});
        widget.setRotation(float(item.angleRadians));
    }
    [[nodiscard]] Trellis::Widget& find(int item, int tile) const
    {
        Trellis::Widget& widget = *m_items[std::size_t(item)];
        return tile < 0 ? widget : *widget.children()[std::size_t(tile)];
    }

    QTemporaryDir m_folder;
    int m_pictures = 0;
    double m_scale;
    Trellis::Application m_application;
    std::unique_ptr<Lantern::PaintTarget> m_target;
    const Lantern::ImageTarget* m_image; ///< the target, where it is one
    std::vector<Trellis::Widget*> m_items;
    bool m_everything = false;
};
}

std::unique_ptr<DrawSide> makeTrellisSide(const DrawScene& scene, double screenScale)
{
    return std::make_unique<TrellisSide>(scene, std::make_unique<Lantern::ImageTarget>(scene.size), screenScale);
}

std::unique_ptr<DrawSide> makeTrellisSide(const DrawScene& scene, std::unique_ptr<Lantern::PaintTarget> target)
{
    return std::make_unique<TrellisSide>(scene, std::move(target), 1.0);
}
}
