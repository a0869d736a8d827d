// Row 12: from the card on the table to its space, complete in the tree, against the same children as Qt's widgets.

#include "SpaceTable.hpp"
#include "support/Compare.hpp"

#include "personalspace/PersonalSpaceWidget.hpp"

#include <Trellis/TextInterfaceWidget.hpp>

#include <QCoreApplication>
#include <QLabel>
#include <QVariant>
#include <QWidget>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace
{
/// What Qt's side needs to know of a widget.
struct Outline
{
    QString joinedClasses; ///< the first is the type
    QString name;          ///< the one of these that the sheet names
    QString text;
    bool isText = false;
    QRect place;
    std::vector<Outline> children;
};

Outline outlineOf(const Trellis::Widget& widget)
{
    Outline outline;
    QStringList classes{QString::fromLatin1(widget.cssType())};
    for (const QByteArray& name : widget.cssClasses())
        classes << QString::fromLatin1(name);
    outline.joinedClasses = classes.join(QLatin1Char(' '));
    outline.name = Bench::styledName(classes);
    if (const auto* text = dynamic_cast<const Trellis::TextInterfaceWidget*>(&widget)) {
        outline.isText = true;
        outline.text = text->text();
    }
    outline.place = QRect(int(widget.location().x), int(widget.location().y), int(widget.width()), int(widget.height()));
    for (const auto& child : widget.children())
        outline.children.push_back(outlineOf(*child));
    return outline;
}

int countOf(const Outline& outline)
{
    int count = 1;
    for (const Outline& child : outline.children)
        count += countOf(child);
    return count;
}

QWidget* makeRival(const Outline& outline, QWidget* parent, Bench::QtNames names)
{
    QWidget* widget = nullptr;
    if (outline.isText) {
        auto* label = new QLabel(parent);
        label->setText(outline.text);
        widget = label;
    } else {
        widget = new QWidget(parent);
    }
    if (names == Bench::QtNames::ObjectName)
        widget->setObjectName(outline.name);
    else
        widget->setProperty("class", outline.joinedClasses);
    widget->setGeometry(outline.place);
    for (const Outline& child : outline.children)
        makeRival(child, widget, names);
    return widget;
}

/// A rival whose sheet names nothing would be no rival.
void requireStyled(const QWidget& desk)
{
    constexpr int kTitlePx = 38;
    const auto labels = desk.findChildren<QLabel*>();
    if (std::none_of(labels.begin(), labels.end(), [](const QLabel* label) { return label->font().pixelSize() == kTitlePx; }))
        throw std::runtime_error("the rival's title is not styled");
}

void cardDown(benchmark::State& state, Bench::QtNames names)
{
    Bench::SpaceTable table;
    table.putDown(table.newCard());
    const Outline outline = outlineOf(*table.spaces().front());

    QWidget desk;
    desk.resize(1920, 1080);
    desk.setStyleSheet(Bench::qtSpaceSheet(names));
    desk.show();
    desk.setUpdatesEnabled(false); // neither side paints
    unsigned long card = 0;
    const auto clearDesk = [&desk] {
        qDeleteAll(desk.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
        QCoreApplication::processEvents();
    };

    Bench::compare(state,
                   {[&](long) { table.putDown(card); },
                    [&] {
                        table.clear();
                        card = table.newCard();
                    },
                    1},
                   {[&](long) {
                        // A child that is shown is polished, and so are those inside it. Our frame pumps Qt's events, so this
                        // side does, too: what is left over would be done in our turn.
                        makeRival(outline, &desk, names)->show();
                        QCoreApplication::processEvents();
                    },
                    clearDesk, 1});
    requireStyled(desk);
    state.counters["widgets"] = countOf(outline);
}

const Bench::Row kRow([] {
    Bench::add("row12/space", [](benchmark::State& state) { cardDown(state, Bench::QtNames::ClassProperty); });
    Bench::add("row12/names", [](benchmark::State& state) { cardDown(state, Bench::QtNames::ObjectName); });
});
}
