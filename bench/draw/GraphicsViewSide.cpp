#include "draw/DrawSide.hpp"

#include <QCoreApplication>
#include <QEvent>
#include <QGraphicsEffect>
#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QTextLayout>

#include <cmath>

namespace Bench
{
namespace
{
constexpr int kMostRects = 50;
constexpr int kCacheKibibytes = 256 * 1024; ///< as the table may use for pictures
constexpr double kDegrees = 180.0 / 3.14159265358979323846;

/// Draws its item, with what is in it, as one picture, which Qt keeps until something in it or its transform changes.
class KeptEffect final : public QGraphicsEffect
{
    void draw(QPainter* painter) override
    {
        QPoint place;
        const QPixmap picture = sourcePixmap(Qt::DeviceCoordinates, &place, NoPad);
        painter->save();
        painter->setWorldTransform({});
        painter->drawPixmap(place, picture);
        painter->restore();
    }
};

class Item final : public QGraphicsObject
{
public:
    Item(const DrawItem& item, QGraphicsItem* parent, RivalCache cache) : QGraphicsObject(parent), m_item(item)
    {
        if (cache == RivalCache::Items)
            setCacheMode(DeviceCoordinateCache);
        if (cache == RivalCache::Groups && !parent)
            setGraphicsEffect(new KeptEffect);
        setPos(item.rect.topLeft());
        setRotation(item.angleRadians * kDegrees);
        if (!item.text.isEmpty()) {
            QFont font(QString::fromLatin1(kTextFamily));
            font.setPixelSize(kTextPx);
            font.setHintingPreference(QFont::PreferNoHinting);
            m_text.setFont(font);
            m_text.setText(item.text);
            m_text.setCacheEnabled(true);
            m_text.beginLayout();
            m_text.createLine().setLineWidth(item.rect.width());
            m_text.endLayout();
        }
        for (const DrawItem& inner : item.items)
            new Item(inner, this, cache);
    }
    [[nodiscard]] QRectF boundingRect() const override { return {QPointF(), m_item.rect.size()}; }
    void paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) override
    {
        const QRectF box = boundingRect();
        if (m_item.ground.isValid()) {
            const double half = m_item.borderWidth / 2;
            painter->setBrush(m_item.ground);
            painter->setPen(m_item.borderWidth > 0 ? QPen(m_item.border, m_item.borderWidth) : QPen(Qt::NoPen));
            if (m_item.borderRadius > 0)
                painter->drawRoundedRect(box.adjusted(half, half, -half, -half), m_item.borderRadius - half,
                                         m_item.borderRadius - half);
            else
                painter->fillRect(box, m_item.ground);
        }
        if (!m_item.picture.isNull())
            painter->drawImage(box, m_item.picture);
        if (!m_item.text.isEmpty()) {
            painter->setPen(Qt::white);
            m_text.draw(painter, QPointF());
        }
    }

private:
    const DrawItem& m_item;
    QTextLayout m_text;
};

class GraphicsViewSide final : public DrawSide
{
public:
    GraphicsViewSide(const DrawScene& scene, RivalCache cache) : m_cache(cache), m_image(scene.size, QImage::Format_RGB32)
    {
        QPixmapCache::setCacheLimit(kCacheKibibytes);
        m_scene.setSceneRect(QRectF(QPointF(), scene.size));
        m_scene.setBackgroundBrush(Qt::black);
        for (const DrawItem& item : scene.items) {
            m_items.push_back(new Item(item, nullptr, cache));
            m_scene.addItem(m_items.back());
        }
        m_view.setScene(&m_scene);
        m_view.setFrameShape(QFrame::NoFrame);
        m_view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_view.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
        m_view.setAlignment(Qt::AlignLeft | Qt::AlignTop);
        m_view.resize(scene.size);
        QObject::connect(&m_scene, &QGraphicsScene::changed, [this](const QList<QRectF>& areas) {
            for (const QRectF& area : areas)
                m_damage += area.toAlignedRect();
        });
        damageAll();
        draw();
    }

    void move(int item, int tile, QPointF by) override { find(item, tile).setPos(find(item, tile).pos() + by); }
    void turn(int item, int tile, double byRadians) override
    {
        find(item, tile).setRotation(find(item, tile).rotation() + byRadians * kDegrees);
    }
    void setScale(int item, double scale) override { find(item, -1).setScale(scale); }
    void setOpacity(int item, double opacity) override
    {
        QGraphicsItem& which = find(item, -1);
        if (opacity >= 1.0) {
            which.setGraphicsEffect(m_cache == RivalCache::Groups ? new KeptEffect : nullptr);
            return;
        }
        auto* effect = dynamic_cast<QGraphicsOpacityEffect*>(which.graphicsEffect());
        if (!effect)
            which.setGraphicsEffect(effect = new QGraphicsOpacityEffect);
        effect->setOpacity(opacity);
    }
    void damageAll() override { m_damage = m_image.rect(); }
    void clear() override { m_image.fill(Qt::black); }
    void draw() override
    {
        QCoreApplication::sendPostedEvents(&m_scene, QEvent::MetaCall);
        // As QGraphicsView::SmartViewportUpdate does.
        const QRegion areas = m_damage.intersected(m_image.rect());
        const QRegion damage = areas.rectCount() < kMostRects ? areas : QRegion(areas.boundingRect());
        m_damage = {};
        if (!damage.isEmpty())
            m_view.viewport()->render(&m_image, damage.boundingRect().topLeft(), damage, {});
    }
    [[nodiscard]] const QImage& picture() const override { return m_image; }

private:
    [[nodiscard]] QGraphicsItem& find(int item, int tile) const
    {
        QGraphicsItem* const whole = m_items[std::size_t(item)];
        return tile < 0 ? *whole : *whole->childItems().at(tile);
    }

    RivalCache m_cache;
    QGraphicsScene m_scene;
    QGraphicsView m_view;
    std::vector<QGraphicsItem*> m_items;
    QRegion m_damage;
    QImage m_image;
};
}

std::unique_ptr<DrawSide> makeGraphicsViewSide(const DrawScene& scene, RivalCache cache)
{
    return std::make_unique<GraphicsViewSide>(scene, cache);
}
}
