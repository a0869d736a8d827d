#include "menu/ContentMenuNode.hpp"

#include "shared/AttributeDefaults.hpp"
#include "shared/TableGeometry.hpp"

#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextWidget.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>

namespace Tavola
{
namespace
{
constexpr float kPi = Vecta::kPiOf<float>;
constexpr float kRingPadding = 12.f;
constexpr float kBesideGap = 16.f;

constexpr AttributeDefault kNode[] = {
    {"position", "absolute"}, {"background-color", "#1c2733"}, {"border-color", "#3f5368"}, {"border-width", "2"}};
constexpr AttributeDefault kListNode[] = {{"width", "320"}, {"padding", "10"}, {"gap", "6"}, {"border-radius", "20"}};
constexpr const char* kEntryColor = "#30445a";
constexpr const char* kCloseColor = "#3f5368";
constexpr const char* kPressedColor = "#4a6d8f";
constexpr const char* kOpenColor = "#8a5a2b";
constexpr AttributeDefault kListEntry[] = {{"width", "100%"}, {"min-height", "60"}, {"border-radius", "12"}};
constexpr AttributeDefault kRingEntry[] = {
    {"position", "absolute"}, {"width", "116"}, {"height", "116"}, {"border-radius", "58"}};
constexpr AttributeDefault kIcon[] = {{"position", "absolute"}, {"fit", "contain"}};
constexpr AttributeDefault kListIcon[] = {{"left", "10"}, {"top", "8"}, {"width", "44"}, {"height", "44"}};
constexpr AttributeDefault kRingIcon[] = {{"left", "36"}, {"top", "18"}, {"width", "44"}, {"height", "44"}};
constexpr AttributeDefault kRingIconAlone[] = {{"left", "26"}, {"top", "26"}, {"width", "64"}, {"height", "64"}};
constexpr AttributeDefault kText[] = {{"color", "#f4f7fa"}, {"position", "absolute"}};
constexpr AttributeDefault kListText[] = {
    {"left", "18"}, {"right", "18"}, {"top", "17"}, {"max-lines", "1"}, {"font-size", "19"}};
constexpr AttributeDefault kRingText[] = {{"left", "8"},       {"width", "100"},         {"max-lines", "2"},
                                          {"font-size", "15"}, {"text-align", "center"}, {"line-height", "1.15"}};
constexpr AttributeDefault kMore[] = {{"position", "absolute"}, {"color", "#f2a65a"}};
constexpr AttributeDefault kListMore[] = {{"right", "16"}, {"top", "12"}, {"font-size", "26"}};
constexpr AttributeDefault kRingMore[] = {
    {"left", "8"}, {"width", "100"}, {"bottom", "2"}, {"font-size", "22"}, {"text-align", "center"}};
constexpr AttributeDefault kListClose[] = {
    {"right", "-18"}, {"top", "-18"}, {"width", "44"}, {"height", "44"}, {"border-radius", "22"}};
constexpr AttributeDefault kRingClose[] = {{"width", "64"}, {"height", "64"}, {"border-radius", "32"}};
constexpr AttributeDefault kCloseText[] = {
    {"position", "absolute"}, {"left", "0"}, {"width", "100%"}, {"color", "#f4f7fa"}, {"text-align", "center"}};

/// A text of up to that many letters fits into one line of a ring's entry.
constexpr int kShortText = 12;

/// A button that shows when a finger presses it; cards pass through.
class MenuButton final : public Trellis::Widget
{
public:
    explicit MenuButton(Trellis::Widget* parent) : Trellis::Widget(parent)
    {
        setHoldsFingers(true);
        eventAddListener("finger-down", [this] {
            addCSSClass("pressed");
            setDefault(*this, "background-color", kPressedColor);
        });
        eventAddListener("finger-up", [this] {
            if (isHeld())
                return;
            removeCSSClass("pressed");
            setDefault(*this, "background-color", m_color);
        });
    }

    /// Sets the colour while no finger presses it, where no style sets another one.
    void rest(const char* color)
    {
        m_color = color;
        if (!isHeld())
            setDefault(*this, "background-color", color);
    }
    bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override
    {
        return object.isFinger() && Widget::shouldGrab(grabManager, object);
    }

private:
    const char* m_color = kEntryColor;
};

Bedrock::IntrusivePtr<Trellis::TextWidget> addText(Trellis::Widget& parent, const QString& text, const char* cssClass)
{
    const auto widget = Bedrock::makeIntrusive<Trellis::TextWidget>(&parent);
    widget->addCSSClass(cssClass);
    widget->setInputEnabled(false);
    widget->textAttribute().setValue(text, Facet::kDefaultLayer); // so that style sheets can say it in other languages
    return widget;
}
}

ContentMenuNode::ContentMenuNode(Trellis::Widget* parent, MenuStyle style, std::shared_ptr<const Menu> menu,
                                 const std::vector<MenuEntry>& entries, Handlers handlers)
    : Trellis::Widget(parent), m_style(style), m_menu(std::move(menu)), m_entries(entries), m_handlers(std::move(handlers))
{
    setDefaults(*this, kNode);
    if (style == MenuStyle::List)
        setDefaults(*this, kListNode);
    addCSSClass(style == MenuStyle::Ring ? "ring" : "list");
    setCSSType("ContentMenuNode");
    for (const MenuEntry& entry : m_entries)
        addEntry(entry);
    addCloseButton();
}

ContentMenuNode::~ContentMenuNode() = default;

void ContentMenuNode::addEntry(const MenuEntry& entry)
{
    const bool isRing = m_style == MenuStyle::Ring;
    const bool hasIcon = !entry.icon.isEmpty();
    const std::size_t index = m_entryWidgets.size();
    const Bedrock::IntrusivePtr<MenuButton> widget(new MenuButton(this));
    widget->rest(kEntryColor);
    isRing ? setDefaults(*widget, kRingEntry) : setDefaults(*widget, kListEntry);
    widget->addCSSClass("menu-entry");
    widget->setCSSId(entry.id.toUtf8());
    if (!entry.entries.empty())
        widget->addCSSClass("has-entries");
    if (hasIcon) {
        const auto icon = Bedrock::makeIntrusive<Trellis::ImageWidget>(widget.get());
        setDefaults(*icon, kIcon);
        if (!isRing)
            setDefaults(*icon, kListIcon);
        else if (entry.text.isEmpty())
            setDefaults(*icon, kRingIconAlone);
        else
            setDefaults(*icon, kRingIcon);
        icon->addCSSClass("menu-icon");
        icon->setInputEnabled(false);
        icon->load(entry.icon);
    }
    if (!entry.text.isEmpty()) {
        const auto text = addText(*widget, entry.text, "menu-text");
        setDefaults(*text, kText);
        isRing ? setDefaults(*text, kRingText) : setDefaults(*text, kListText);
        if (hasIcon)
            setDefault(*text, isRing ? "top" : "left", "66");
        else if (isRing)
            setDefault(*text, "top", entry.text.size() > kShortText ? "40" : "48");
    }
    if (!entry.entries.empty()) {
        const auto more = addText(*widget, QStringLiteral("›"), "menu-more");
        setDefaults(*more, kMore);
        isRing ? setDefaults(*more, kRingMore) : setDefaults(*more, kListMore);
    }
    widget->eventAddListener("single-tap", [this, index] {
        if (const auto tapped = m_handlers.entryTapped)
            tapped(*this, index);
    });
    m_entryWidgets.push_back(widget);
}

void ContentMenuNode::addCloseButton()
{
    const Bedrock::IntrusivePtr<MenuButton> button(new MenuButton(this));
    button->rest(kCloseColor);
    m_closeButton = button;
    setDefault(*m_closeButton, "position", "absolute");
    const bool isRing = m_style == MenuStyle::Ring;
    isRing ? setDefaults(*m_closeButton, kRingClose) : setDefaults(*m_closeButton, kListClose);
    m_closeButton->addCSSClass("menu-close");
    const auto cross = addText(*m_closeButton, QStringLiteral("×"), "menu-close-text");
    setDefaults(*cross, kCloseText);
    setDefault(*cross, "font-size", isRing ? "38" : "28");
    setDefault(*cross, "top", isRing ? "8" : "5");
    m_closeButton->eventAddListener("single-tap", [this] {
        if (const auto tapped = m_handlers.closeTapped)
            tapped(*this);
    });
}

void ContentMenuNode::arrange()
{
    if (m_style == MenuStyle::Ring)
        arrangeRing();
}

void ContentMenuNode::arrangeRing()
{
    float entrySide = 0.f;
    for (const WidgetPtr& entry : m_entryWidgets)
        entrySide = std::max({entrySide, entry->width(), entry->height()});
    const auto count = static_cast<float>(m_entryWidgets.size());
    // As far out as neighbours need to stand free of one another.
    const float apart = count > 1.f ? (entrySide + m_gap.value()) / (2.f * std::sin(kPi / count)) : 0.f;
    const float radius = std::max(m_innerRadius.value() + entrySide / 2.f, apart);
    const float side = 2.f * (radius + entrySide / 2.f + kRingPadding);
    const QByteArray sidePx = QByteArray::number(double(side));
    setDefault(*this, "width", sidePx.constData());
    setDefault(*this, "height", sidePx.constData());
    setDefault(*this, "border-radius", QByteArray::number(double(side / 2.f)).constData());

    const Vecta::Vector2f middle = size() * 0.5f;
    m_closeButton->setCenterLocation(middle);
    for (std::size_t i = 0; i < m_entryWidgets.size(); ++i) {
        const float angle = 2.f * kPi * float(i) / count - kPi / 2.f; // the first one stands at the top
        m_entryWidgets[i]->setCenterLocation(middle + Vecta::Vector2f(std::cos(angle), std::sin(angle)) * radius);
    }
}

void ContentMenuNode::setOpen(std::size_t entry, bool open)
{
    auto& button = static_cast<MenuButton&>(*m_entryWidgets[entry]);
    if (open)
        button.addCSSClass("open");
    else
        button.removeCSSClass("open");
    button.rest(open ? kOpenColor : kEntryColor);
}

Vecta::Vector2f ContentMenuNode::placeBeside(std::size_t entry, Vecta::Vector2f besideSize) const
{
    const Vecta::Vector2f middle = size() * 0.5f;
    const Vecta::Vector2f entryCenter = m_entryWidgets[entry]->centerLocation();
    if (m_style == MenuStyle::List) {
        // To the right, beginning level with the entry; to the left where the table ends.
        const Vecta::Vector2f offset((size().x + besideSize.x) / 2.f + kBesideGap, 0.f);
        const float y = entryCenter.y - m_entryWidgets[entry]->height() / 2.f + besideSize.y / 2.f;
        const Vecta::Vector2f right(middle.x + offset.x, y);
        const Vecta::Vector2f left(middle.x - offset.x, y);
        const auto kept = [&](Vecta::Vector2f center) {
            const auto* const toolkit = Trellis::Application::instance();
            const Vecta::Vector2f farEdge =
                mapToScene(center + Vecta::Vector2f(center.x > middle.x ? besideSize.x / 2.f : -besideSize.x / 2.f, 0.f));
            return !toolkit
                || (farEdge.x >= 0.f && farEdge.y >= 0.f && farEdge.x <= toolkit->size().x && farEdge.y <= toolkit->size().y);
        };
        return kept(right) || !kept(left) ? right : left;
    }
    Vecta::Vector2f outward = entryCenter - middle;
    const float length = outward.length();
    outward = length > 0.f ? outward / length : Vecta::Vector2f(0.f, -1.f);
    const float besideRadius = std::max(besideSize.x, besideSize.y) / 2.f;
    return middle + outward * (size().x / 2.f + besideRadius + kBesideGap);
}

void ContentMenuNode::open(Vecta::Vector2f center, float seconds, bool keepOnTable)
{
    addOperator(Bedrock::makeIntrusive<LaunchedContentOperator>(false, center, seconds));
    setUpdating(keepOnTable);
}

bool ContentMenuNode::shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const
{
    return object.isFinger() && Widget::shouldGrab(grabManager, object);
}

void ContentMenuNode::update(const Trellis::FrameInfo& /*frame*/)
{
    setUpdating(false);
    for (const auto& op : operators())
        if (auto* opening = dynamic_cast<LaunchedContentOperator*>(op.get()))
            opening->endAt(centerOnTable(*this, opening->scaleAtEnd(), *parent(), opening->point()));
}
}
