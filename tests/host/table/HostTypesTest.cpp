#include "table/HostTypes.hpp"

#include "DeclaredTypes.hpp"
#include "TablePlace.hpp"
#include "care/CloseHandle.hpp"
#include "care/DragShadow.hpp"
#include "care/FlyingPicture.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Facet/AttributeT.hpp>
#include <LogCapture.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Operator.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

using Cascara::StyleVocabulary;

namespace
{
void add(TestSupport::DeclaredTypes& types, Trellis::Widget& widget)
{
    types.add(widget);
    for (const auto& running : widget.operators())
        types.add(*running);
    for (const auto& child : widget.children())
        add(types, *child);
}

/// A table with the plug-in and nothing on it.
struct OpenTable
{
    OpenTable()
    {
        place.presentation(R"({"widgets": []})");
        place.options.plugin = QStringLiteral(TAVOLA_PLUGIN);
        place.options.showInput = true;
        table = place.open();
    }
    [[nodiscard]] static Trellis::Widget& main() { return *Tavola::Tavola::instance()->ui()->mainWidget(); }

    TablePlace place;
    std::unique_ptr<Host::Table> table;
};

/// The same with a widget of every component, and with all attributes that style sheets may ask for.
struct FullTable : OpenTable
{
    FullTable()
    {
        Trellis::Widget& main = OpenTable::main();
        for (const char* component :
             {"picture", "document", "link", "text", "image", "invitation", "switch", "panel", "personal-space-widget",
              "email-widget-popup", "personal-folder", "tavola-personal-tessel-detector"}) {
            CAPTURE(component);
            const auto made = Tavola::Tavola::instance()->createComponent(QLatin1String(component));
            REQUIRE(bool(made));
            main.addChild(made->createContentWidget());
        }
        field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(&main, false);
        const auto keyboard = Tavola::KeyboardWidget::open(*field);
        REQUIRE(keyboard);
        menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(&main);
        place.folder.write(QStringLiteral("menu.json"), R"({"entries": [{"text": "Map", "content": {"component": "text"}}]})");
        Facet::findAttribute<QString>(*menu, "menu")->setValue(place.folder.path(QStringLiteral("menu.json")));
        CHECK(menu->nodeWidget(menu->prepare({900.f, 540.f})));
        (void)Host::CloseHandle::addTo(main);
        main.addChild(Host::DragShadow::make());
        (void)Host::FlyingPicture::addTo(main, QImage(2, 2, QImage::Format_RGB32), {}, *field);
        main.addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vecta::Vector2f{}, 1.f));

        for (const char* made : {"track-tessels-on-widget", "placement", "keep-clear", "in-use", "stays", "opened-classes"})
            CHECK(Cascara::LazyAttributeManager::create(main, made));
        CHECK(Cascara::LazyAttributeManager::create(*field, "takes-focus"));
    }

    Bedrock::IntrusivePtr<Tavola::InputFieldWidget> field;
    Bedrock::IntrusivePtr<Tavola::ContentMenuWidget> menu;
};

/// The names in backticks in the first column of tables of attributes.
std::set<std::string> documentedAttributes(const QString& text)
{
    std::set<std::string> names;
    static const QRegularExpression kName(QStringLiteral("`([a-z-]+)`"));
    bool isTable = false;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        isTable = line.startsWith(QLatin1String("| attribute")) || (isTable && line.startsWith(QLatin1Char('|')));
        const bool isShorthand = line.section(QLatin1Char('|'), 2, 2).trimmed().isEmpty();
        if (!isTable || isShorthand)
            continue;
        for (auto match = kName.globalMatch(line.section(QLatin1Char('|'), 1, 1)); match.hasNext();)
            names.insert(match.next().captured(1).toStdString());
    }
    return names;
}

/// The names and defaults in tables of attributes, as far as these are values.
std::vector<std::pair<QString, QString>> documentedDefaults(const QString& text)
{
    const auto inBackticks = [](const QString& cell) {
        static const QRegularExpression kCode(QStringLiteral("`([^`]+)`"));
        QStringList found;
        for (auto match = kCode.globalMatch(cell); match.hasNext();)
            found << match.next().captured(1);
        return found;
    };
    std::vector<std::pair<QString, QString>> result;
    bool isTable = false;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        isTable = line.startsWith(QLatin1String("| attribute")) || (isTable && line.startsWith(QLatin1Char('|')));
        const QStringList names = isTable ? inBackticks(line.section(QLatin1Char('|'), 1, 1)) : QStringList();
        const QString cell = line.section(QLatin1Char('|'), 3, 3).trimmed();
        const QStringList values = inBackticks(cell);
        if (!cell.startsWith(QLatin1Char('`')))
            continue; // said in words, or none
        for (int i = 0; i < names.size(); ++i)
            result.emplace_back(names.at(i), values.at(std::min(i, values.size() - 1)));
    }
    return result;
}

/// Whether some widget or operator below `widget` has from its style sheet what is its default as well.
bool isDefaultSomewhere(Trellis::Widget& widget, const QByteArray& attribute)
{
    const auto isDefault = [&attribute](const Facet::Node& node) {
        const Facet::Attribute* const found = node.attribute(attribute);
        return found && found->hasValue(Facet::kStyleLayer)
            && found->layerText(Facet::kStyleLayer) == found->layerText(Facet::kDefaultLayer);
    };
    if (isDefault(widget))
        return true;
    for (const auto& running : widget.operators())
        if (isDefault(*running))
            return true;
    const auto& children = widget.children();
    return std::any_of(children.begin(), children.end(),
                       [&attribute](const auto& child) { return isDefaultSomewhere(*child, attribute); });
}
}

TEST_CASE("host types: what libraries, host and plug-in declare for style sheets is what their widgets have")
{
    const FullTable open;
    TestSupport::DeclaredTypes types;
    add(types, *open.table->application().mainLayer());
    types.check();
    for (const char* made : {"track-tessels-on-widget", "placement", "takes-focus", "opened-classes", "menu-style", "card-color"})
        CHECK_MESSAGE(types.hasCompared(made), made);
    for (const QString& type : StyleVocabulary::types()) {
        // Made when cards or fingers come: those of the host declare nothing of their own; the plug-in's own tests have the
        // others.
        static const QStringList kOthers{"CardSign",
                                         "InputArea",
                                         "InputMark",
                                         "PersonalSpaceContentWidget",
                                         "WidgetTesselDetectorOperator",
                                         "drag-and-drop",
                                         "marker-tracker-operator"};
        CHECK_MESSAGE(types.hasSeen(type) != kOthers.contains(type), type.toStdString());
    }
}

TEST_CASE("host types: the states that switches set are states of the root")
{
    Host::Presentation presentation;
    Tavola::ComponentUse use;
    use.properties = {{"attributes", QJsonObject{{"state", "large-text"}}}};
    Tavola::ComponentUse around;
    around.slotContents = {{"content", {use}}};
    presentation.widgets = {around};
    use.properties = {{"attributes", QJsonObject{{"state", "bright"}}}};
    presentation.shelf = {use};
    const StyleVocabulary::Registrant types(Host::hostTypes(presentation));
    CHECK(StyleVocabulary::statesOf("Widget").contains("large-text"));
    CHECK(StyleVocabulary::statesOf("Widget").contains("bright"));
    CHECK(StyleVocabulary::statesOf("SwitchWidget").contains("idle"));
}

TEST_CASE("host types: each attribute that is declared is documented, and each documented one is declared")
{
    const OpenTable open;
    QFile page(QStringLiteral(TAVOLA_GALLERY "/../../docs/style-attributes.md"));
    REQUIRE(page.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(page.readAll());
    for (const QString& attribute : StyleVocabulary::attributes())
        CHECK_MESSAGE(text.contains(QLatin1Char('`') + attribute + QLatin1Char('`')),
                      "not documented: " << attribute.toStdString());
    const QStringList declared = StyleVocabulary::attributes();
    for (const std::string& name : documentedAttributes(text))
        CHECK_MESSAGE(declared.contains(QString::fromStdString(name)), "not declared: " << name);
}

TEST_CASE("host types: the defaults that are documented are those of widgets")
{
    const FullTable open;
    QFile page(QStringLiteral(TAVOLA_GALLERY "/../../docs/style-attributes.md"));
    REQUIRE(page.open(QIODevice::ReadOnly));
    const auto defaults = documentedDefaults(QString::fromUtf8(page.readAll()));
    CHECK(defaults.size() >= 90);
    auto& styles = Cascara::StyleEngine::instance();
    for (const auto& [name, value] : defaults) {
        if (name == "accept-drops") // of a widget that comes with a card
            continue;
        CAPTURE(name.toStdString());
        CAPTURE(value.toStdString());
        if (name == "collection-mode") // two types have one of their own
            TestSupport::expectWarningStartingWith("StyleEngine # default.css:1:5: collection-mode: expected one of ");
        styles.clearStyleSheets();
        styles.addStyleSheet(QStringLiteral("* { %1: %2 !important }").arg(name, value), QStringLiteral("default.css"));
        CHECK(isDefaultSomewhere(*open.table->application().mainLayer(), name.toUtf8()));
    }
}

TEST_CASE("host types: the style sheets of all presentations name nothing that there is not")
{
    const OpenTable open;
    const QDir presentations(QStringLiteral(TAVOLA_GALLERY "/.."));
    int sheets = 0;
    for (const QString& name : presentations.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        for (const QString& sheet : QDir(presentations.filePath(name)).entryList({QStringLiteral("*.css")}))
            sheets +=
                Cascara::StyleEngine::instance().loadStyleSheet(presentations.filePath(name + QLatin1Char('/') + sheet)) ? 1 : 0;
    CHECK(sheets >= 5);
}

TEST_CASE("host types: a table compares its style sheets with them when it opens")
{
    TablePlace place;
    place.folder.write(QStringLiteral("a.css"),
                       "TextWidget { fit: cover }\nPersonalSpaceWidget:no-emial { opacity: 0 }\n"
                       "PersonalSpaceWidget { colection-mode: upload; width: wide }");
    place.presentation(R"({"styleSheets": ["a.css"], "widgets": []})");
    place.options.plugin = QStringLiteral(TAVOLA_PLUGIN);
    const std::string file = "StyleEngine # " + place.folder.path(QStringLiteral("a.css")).toStdString();
    TestSupport::expectWarning(file + ":1:14: fit: a TextWidget has no 'fit'; ImageWidget has; the declaration is skipped");
    TestSupport::expectWarning(
        file + ":2:21: a PersonalSpaceWidget has no state ':no-emial' (did you mean 'no-email'?); the selector matches nothing");
    TestSupport::expectWarning(file
                               + ":3:23: colection-mode: no attribute has this name (did you mean 'collection-mode'?); the "
                                 "declaration is skipped");
    TestSupport::expectWarning(
        file + ":3:47: width: expected a length in px, a percentage or auto, got 'wide'; the declaration is skipped");
    (void)place.open();
}
