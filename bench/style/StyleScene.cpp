#include "StyleScene.hpp"

#include "QtTree.hpp"

#include <Cascara/StyleEngine.hpp>

#include <Trellis/TextWidget.hpp>

#include <QVariant>

namespace Bench
{
namespace
{
constexpr int kTilesInPanel = 10;
constexpr int kWidgetsInPanel = 1 + 2 * kTilesInPanel;

/// Calls `add(i)` for each rule after the first two: one for tiles, one for signs, one that nothing matches, and so on.
template <class Add>
void forEachRule(int rules, Add add)
{
    for (int i = 0; i < rules - 2; ++i)
        add(i % 3, i / 3);
}
}

QString styleSheet(int rules, int shade)
{
    QString text = QStringLiteral(".sign.lit { width: 3px; }\n.open .sign { width: 2px; }\n");
    forEachRule(rules, [&](int kind, int i) {
        switch (kind) {
        case 0: text += QStringLiteral(".panel%1 > .tile { padding: %2px; }\n").arg(i).arg(1 + (i + shade) % 5); break;
        case 1: text += QStringLiteral("#panel%1 .sign { width: %2px; }\n").arg(i).arg(1 + (i + shade) % 3); break;
        default: text += QStringLiteral(".gone%1 > .tile { padding: %2px; }\n").arg(i).arg(1 + shade); break;
        }
    });
    return text;
}

QString styleSheetWithVariables(int rules)
{
    QString text = QStringLiteral(".all { color: navy; font-size: 20px; line-height: 1.4; --lit: 3px; --open: 2px;");
    for (int i = 1; i <= 5; ++i)
        text += QStringLiteral(" --step%1: %1px;").arg(i);
    text += QStringLiteral(" }\n.sign.lit { width: var(--lit); }\n.open .sign { width: var(--open); }\n");
    forEachRule(rules, [&](int kind, int i) {
        switch (kind) {
        case 0: text += QStringLiteral(".panel%1 > .tile { padding: var(--step%2); }\n").arg(i).arg(1 + i % 5); break;
        case 1: text += QStringLiteral("#panel%1 .sign { width: var(--step%2, 9px); }\n").arg(i).arg(1 + i % 3); break;
        default: text += QStringLiteral(".gone%1 > .tile { padding: var(--step1); }\n").arg(i); break;
        }
    });
    return text;
}

QString qtStyleSheet(int rules, Notation notation, int shade)
{
    const bool isTypes = notation == Notation::TypesAndIds;
    const auto named = [](const QByteArray& name) { return QStringLiteral("*[class~=\"%1\"]").arg(QString::fromLatin1(name)); };
    const QString tile = isTypes ? QStringLiteral("Bench--Tile") : named("tile");
    const QString sign = isTypes ? QStringLiteral("Bench--Sign") : named("sign");
    const auto panel = [&](const char* name, int i) {
        return isTypes ? QStringLiteral("#%1%2").arg(QLatin1String(name)).arg(i) : named(name + QByteArray::number(i));
    };
    QString text = QStringLiteral("%1:disabled { min-width: 3px; }\n%2 %1 { min-width: 2px; }\n").arg(sign, panel("open", 0));
    forEachRule(rules, [&](int kind, int i) {
        switch (kind) {
        case 0:
            text += QStringLiteral("%1 > %2 { padding: %3px; }\n").arg(panel("panel", i), tile).arg(1 + (i + shade) % 5);
            break;
        case 1: text += QStringLiteral("#panel%1 %2 { min-width: %3px; }\n").arg(i).arg(sign).arg(1 + (i + shade) % 3); break;
        default: text += QStringLiteral("%1 > %2 { padding: %3px; }\n").arg(panel("gone", i), tile).arg(1 + shade); break;
        }
    });
    return text;
}

StyleScene::StyleScene(int widgets, Leaves leaves, int firstPanel) : root(Bedrock::makeIntrusive<Trellis::Widget>())
{
    for (int made = 0; made < widgets; made += kWidgetsInPanel) {
        auto* panel = new Trellis::Widget(root.get());
        const QByteArray name = "panel" + QByteArray::number(firstPanel + int(panels.size()));
        panel->addCSSClass(name);
        panel->setCSSId(name);
        panels.push_back(panel);
        for (int i = 0; i < kTilesInPanel; ++i) {
            auto* tile = new Trellis::Widget(panel);
            tile->addCSSClass("tile");
            signs.push_back(leaves == Leaves::Texts ? new Trellis::TextWidget(tile) : new Trellis::Widget(tile));
            signs.back()->addCSSClass("sign");
        }
    }
    root->updateStyle();
}

StyleScene::~StyleScene()
{
    Cascara::StyleEngine::instance().clearStyleSheets();
}

std::unique_ptr<QWidget> makeQtTree(int widgets)
{
    auto root = std::make_unique<QWidget>();
    int panels = 0;
    for (int made = 0; made < widgets; made += kWidgetsInPanel) {
        auto* panel = new QWidget(root.get());
        const QString name = QStringLiteral("panel%1").arg(panels++);
        panel->setObjectName(name);
        panel->setProperty("class", name);
        for (int i = 0; i < kTilesInPanel; ++i) {
            auto* tile = new Tile(panel);
            tile->setProperty("class", QStringLiteral("tile"));
            (new Sign(tile))->setProperty("class", QStringLiteral("sign"));
        }
    }
    root->ensurePolished();
    for (QWidget* widget : root->findChildren<QWidget*>())
        widget->ensurePolished();
    return root;
}
}
