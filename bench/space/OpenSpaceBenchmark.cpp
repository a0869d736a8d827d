// Row 12: from the card on the table to its space, complete in the tree, against the same children as Qt's widgets.

#include "SpaceTable.hpp"
#include "support/Compare.hpp"

#include "personalspace/PersonalSpaceWidget.hpp"

#include <Trellis/TextInterfaceWidget.hpp>

#include <QCoreApplication>
#include <QLabel>
#include <QVariant>
#include <QWidget>

#include <vector>

namespace
{
/// What Qt's side needs to know of a widget.
struct Outline
{
    QString classes; ///< the type among them
    QString text;
    bool isText = false;
    QRect place;
    std::vector<Outline> children;
};

Outline outlineOf(const Trellis::Widget& widget)
{
    Outline outline;
    outline.classes = QString::fromLatin1(widget.cssType());
    for (const QByteArray& name : widget.cssClasses())
        outline.classes += QLatin1Char(' ') + QString::fromLatin1(name);
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

QWidget* makeRival(const Outline& outline, QWidget* parent)
{
    QWidget* widget = nullptr;
    if (outline.isText) {
        auto* label = new QLabel(parent);
        label->setText(outline.text);
        widget = label;
    } else {
        widget = new QWidget(parent);
    }
    widget->setProperty("class", outline.classes);
    widget->setGeometry(outline.place);
    for (const Outline& child : outline.children)
        makeRival(child, widget);
    return widget;
}

void cardDown(benchmark::State& state)
{
    Bench::SpaceTable table;
    table.putDown(table.newCard());
    const Outline outline = outlineOf(*table.spaces().front());

    QWidget desk;
    desk.resize(1920, 1080);
    desk.setStyleSheet(Bench::qtSpaceSheet());
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
                        makeRival(outline, &desk)->show();
                        QCoreApplication::processEvents();
                    },
                    clearDesk, 1});
    state.counters["widgets"] = countOf(outline);
}

const Bench::Row kRow([] { Bench::add("row12/space", cardDown); });
}
