#pragma once

#include "Components.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// A table with menus from files of its own.
struct MenuHost
{
    MenuHost()
    {
        addComponentOf<Trellis::Widget>(host, "panel");
        addComponentOf<Tavola::ContentMenuWidget>(host, "content-menu");
        host.style("Widget.content { width: 200px; height: 100px } ");
    }

    [[nodiscard]] QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    QString write(const QString& name, const QByteArray& text) const
    {
        QFile file(path(name));
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(text) == text.size());
        return file.fileName();
    }
    /// A menu on the table that shows that file.
    Bedrock::IntrusivePtr<Tavola::ContentMenuWidget> menu(const QByteArray& json, const char* style = "ring")
    {
        const auto widget = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(&host.mainWidget());
        static_cast<Facet::AttributeT<QString>&>(*widget->attribute("menu")).setValue(write(QStringLiteral("menu.json"), json));
        Facet::StyleValue value;
        value.terms.append({Facet::StyleTerm::Kind::Ident, QLatin1String(style), 0.0, {}});
        QString error;
        REQUIRE(widget->attribute("menu-style")->setStyleValue(value, Facet::kUserLayer, &error));
        return widget;
    }
    /// A menu with these entries of content.
    static QByteArray entriesOf(int count)
    {
        QByteArray json = R"({"entries": [)";
        for (int i = 0; i < count; ++i)
            json += QByteArray(i > 0 ? "," : "") + R"({"text": "Entry )" + QByteArray::number(i)
                + R"(", "content": {"component": "panel", "classes": ["content"]}})";
        return json + "]}";
    }
    static std::vector<Trellis::Widget*> withClass(const Trellis::Widget& widget, const char* cssClass)
    {
        std::vector<Trellis::Widget*> found;
        for (const auto& child : widget.children())
            if (child->hasCSSClass(cssClass))
                found.push_back(child.get());
        return found;
    }
    static Trellis::Widget& entry(const Trellis::Widget& node, std::size_t index)
    {
        return *withClass(node, "menu-entry").at(index);
    }
    static Vecta::Vector2f sceneCenter(const Trellis::Widget& widget) { return widget.mapToScene(widget.size() * 0.5f); }
    void tap(const Trellis::Widget& widget) { host.tap(sceneCenter(widget)); }
    /// What menus have launched.
    [[nodiscard]] std::vector<Trellis::Widget*> launched() { return withClass(host.mainWidget(), "content"); }

    TestSupport::TestHost host;
    QTemporaryDir folder;
};
