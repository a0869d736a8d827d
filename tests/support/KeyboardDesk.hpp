#pragma once

#include "TestHost.hpp"

#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/KeyboardRequest.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <doctest/doctest.h>

#include <memory>

namespace KeyboardTests
{
using Action = Tavola::KeyboardKey::Action;
using TestSupport::TestHost;

/// Centres of a sheet at which its keyboard would stick out of the table, or would without another side.
inline constexpr Vecta::Vector2f kEdgePlaces[] = {{600.f, 700.f},  {600.f, 1000.f}, {-200.f, 300.f},
                                                  {1500.f, 300.f}, {1100.f, 900.f}, {600.f, -100.f}};

/// A space of 600 by 300 with a field of 500 by 40 in it, and a keyboard of 500 by 200, on a table of 1920 by 1080.
inline Tavola::KeyboardRequest keyboardRequest(Vecta::Vector2f origin, float angleRadians = 0.f, float fieldTop = 120.f)
{
    Tavola::KeyboardRequest made;
    made.origin = origin;
    made.angleRadians = angleRadians;
    made.anchor = {600.f, 300.f};
    made.field = {50.f, fieldTop, 500.f, 40.f};
    made.keyboard = {500.f, 200.f};
    made.table = {1920.f, 1080.f};
    made.gap = 14.f;
    return made;
}

/// A sheet that a visitor moves about, with one field in it.
struct Desk
{
    explicit Desk(TestHost& table, Vecta::Vector2f location = {600.f, 200.f}, float angle = 0.f) : host(table)
    {
        space = Bedrock::makeIntrusive<Trellis::Widget>(&host.mainWidget());
        space->addCSSClass("sheet");
        space->setSize({600.f, 300.f});
        space->setLocation(location);
        space->setRotation(angle);
        set(*space, "movable");
        set(*space, "rotatable");
        set(*space, "scalable");
        field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(space.get(), false);
        field->setLocation({50.f, 120.f});
        field->setSize({500.f, 40.f});
        field->editor()->eventAddListenerBd("editing-finished", [log = finished](Bedrock::BinaryData& payload) {
            const QString text = payload.readString();
            log->append(text + ":" + payload.readString());
        });
        host.frame();
    }
    static void set(Trellis::Widget& widget, const char* attribute)
    {
        static_cast<Facet::AttributeT<bool>*>(widget.attribute(attribute))->setValue(true);
    }
    void layout(const char* name) const { field->keyboardLayout().setValue(QString::fromLatin1(name)); }
    Desk& open()
    {
        const auto editor = field->editor();
        host.tap(editor->mapToScene(editor->size() * 0.5f));
        REQUIRE(field->keyboard());
        return *this;
    }
    [[nodiscard]] Bedrock::IntrusivePtr<Tavola::KeyboardWidget> keyboard() const { return field->keyboard(); }
    [[nodiscard]] Vecta::Vector2f at(Trellis::Widget* key) const
    {
        REQUIRE(key);
        return key->mapToScene(key->size() * 0.5f);
    }
    [[nodiscard]] Vecta::Vector2f at(const QString& text) const
    {
        INFO("key ", text.toStdString());
        return at(keyboard()->findKey(text));
    }
    [[nodiscard]] Vecta::Vector2f at(Action action) const { return at(keyboard()->findKey(action)); }
    template <class What>
    void press(const What& what) const
    {
        host.tap(at(what));
    }
    void type(const QString& text) const
    {
        for (const QChar c : text)
            press(QString(c));
    }
    [[nodiscard]] QString text() const { return field->text(); }

    TestHost& host;
    Bedrock::IntrusivePtr<Trellis::Widget> space;
    Bedrock::IntrusivePtr<Tavola::InputFieldWidget> field;
    std::shared_ptr<QStringList> finished = std::make_shared<QStringList>();
};

inline QString u(const char* utf8)
{
    return QString::fromUtf8(utf8);
}
}
