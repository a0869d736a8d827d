#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QString>
#include <QWidget>

#include <memory>
#include <vector>

namespace Bench
{
/// A sheet of `rules` rules of the kinds that presentations have; of each three, one matches nothing. `shade` makes sheets that
/// differ in their values. The first rule styles what is lit, the second what stands in an open panel.
[[nodiscard]] QString styleSheet(int rules, int shade = 0);
/// The same rules with the values of variables, which the root (class "all") defines together with the look of all texts.
[[nodiscard]] QString styleSheetWithVariables(int rules);
/// How Qt's sheet names what it styles. A widget there has no classes.
enum class Notation {
    ClassProperty, ///< by a dynamic property "class": the same selectors
    TypesAndIds    ///< by C++ class and object name: other selectors for the same widgets, which Qt matches fastest
};
/// The same rules in the notation of Qt.
[[nodiscard]] QString qtStyleSheet(int rules, Notation notation, int shade = 0);

/// Panels of ten tiles with a sign each: 21 widgets a panel.
struct StyleScene
{
    enum class Leaves { Plain, Texts };
    /// The panels have numbers from `firstPanel` on, by which rules name them.
    explicit StyleScene(int widgets, Leaves leaves = Leaves::Plain, int firstPanel = 0);
    ~StyleScene();
    StyleScene(const StyleScene&) = delete;
    StyleScene& operator=(const StyleScene&) = delete;

    /// In no application: several scenes exist at once.
    Bedrock::IntrusivePtr<Trellis::Widget> root;
    std::vector<Trellis::Widget*> panels;
    std::vector<Trellis::Widget*> signs; ///< the leaves
};

/// The same tree of Qt's widgets, on no screen.
[[nodiscard]] std::unique_ptr<QWidget> makeQtTree(int widgets);
}
