#pragma once

#include "EmailSupport.hpp"
#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceContents.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"

#include <Bedrock/BGThread.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <QJsonObject>

#include <vector>

namespace PluginTest
{
/// A personal space on the table, opened for a card of its own, and the actions of visitors on it.
struct OpenSpace
{
    using Space = Tavola::PersonalSpaceWidget;
    using Mode = Space::CollectionMode;
    using ItemStatus = Tavola::PersonalSpaceContents::ItemStatus;

    TestSupport::TestHost host;
    unsigned long code = newCode();
    std::shared_ptr<Tavola::PersonalSpaceContents> contents = Tavola::PersonalSpaceContents::personalContent(code);
    Bedrock::IntrusivePtr<Space> widget = Bedrock::makeIntrusive<Space>();

    /// Without a code the space waits for its first setCode.
    explicit OpenSpace(bool withCode = true)
    {
        widget->postConstruct();
        host.mainWidget().addChild(widget);
        if (withCode)
            widget->setCode(code);
    }
    /// Answers the requests that are open, so that none ends in the log.
    ~OpenSpace()
    {
        for (const auto index : host.mediaServer().waiting())
            host.mediaServer().answer(index, {{"success", true}});
    }

    template <class Type>
    Facet::AttributeT<Type>& attribute(const char* name) const
    {
        return dynamic_cast<Facet::AttributeT<Type>&>(*widget->attribute(name));
    }
    Facet::AttributeT<QString>& text(const char* name) const { return attribute<QString>(name); }
    Facet::AttributeT<Mode>& mode() const { return attribute<Mode>("collection-mode"); }
    bool hasClass(const char* name) const { return widget->hasCSSClass(name); }
    Trellis::Widget& child(const char* cssClass) const { return childOfClass(*widget, cssClass); }
    Trellis::TextWidget& textChild(const char* cssClass) const { return childOfClass<Trellis::TextWidget>(*widget, cssClass); }
    Tavola::InputFieldWidget& field() const
    {
        return dynamic_cast<Tavola::InputFieldWidget&>(*widget->findByType("InputFieldWidget"));
    }
    Trellis::ImageWidget& qrIcon() const { return childOfClass<Trellis::ImageWidget>(*widget, "qr-icon"); }
    /// The text that a child shows.
    QString shown(const char* cssClass) const { return textChild(cssClass).text(); }
    /// Null before the first code.
    Tavola::PersonalSpaceContentWidget* contentWidget() const
    {
        return dynamic_cast<Tavola::PersonalSpaceContentWidget*>(widget->findByType("PersonalSpaceContentWidget"));
    }

    long addItem(const QString& source, long widgetId = 55, ItemStatus status = ItemStatus::Ready)
    {
        Tavola::PersonalSpaceContents::Item item;
        item.files.sources = QList<QString>{source};
        item.status = status;
        item.widgetId = widgetId;
        return contents->addItem(item);
    }
    long addItem(ItemStatus status = ItemStatus::Ready, const char* source = "http://a") { return addItem(source, 55, status); }

    /// The names of the commands to the media server, in order.
    Strings commands()
    {
        Strings names;
        for (const auto& command : host.mediaServer().commands())
            names.push_back(command.value("command").toString().toStdString());
        return names;
    }
    /// The media server's answer to a command, and the frame that delivers it.
    void answer(std::size_t index, const QJsonObject& reply)
    {
        host.mediaServer().answer(index, reply);
        host.frame();
    }

    static void waitForRegistration() { Bedrock::BGThread::instance()->waitUntilIdle(); }
    /// The background thread's answer, and the frame that delivers it.
    void registrationAnswered()
    {
        waitForRegistration();
        host.frame();
    }
    auto registrations() { return host.tesselService().registrations(); }
    void saveName(const QString& name)
    {
        write(name);
        tapSave();
    }
    /// Whether the input field accepts a text, which it holds from then on.
    bool accepts(const QString& words)
    {
        write(words);
        field().validate();
        return field().isValid();
    }
    /// Puts the space at (100, 100) with a size of 400 by 300, where it shows its content and the children of a selector.
    void showOnly(const QString& selector, const QString& place)
    {
        host.style(QStringLiteral("PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
                                  "PersonalSpaceWidget > * { position: absolute; display: none }"
                                  "PersonalSpaceWidget > PersonalSpaceContentWidget { display: block; left: 0; top: 0; "
                                  "width: 400px; height: 300px }"
                                  "PersonalSpaceWidget > %1 { display: block; %2 }")
                       .arg(selector, place));
        widget->setLocation({100.f, 100.f});
        host.frame();
    }
    /// Time in steps of a hundredth of a second.
    void pass(double seconds)
    {
        for (int i = 0; i < int(seconds * 100 + 0.5); ++i)
            host.frame(0.01);
    }

    void tapEnvelope() { child("envelope").eventSend("single-tap"); }
    void tapSave() { child("save-button").eventSend("single-tap"); }
    void tapCancel() { child("cancel-button").eventSend("single-tap"); }
    void tapHelp() { child("help-button").eventSend("single-tap"); }
    void tapInfo(Vecta::Vector2f point = {0.f, 0.f})
    {
        Bedrock::BinaryData payload;
        payload.writeFloat32(point.x);
        payload.writeFloat32(point.y);
        child("info").eventSend("single-tap", payload);
    }
    void write(const QString& words) { field().editor()->setText(words); }
    /// Sends what the editor sends when a visitor ends writing.
    void finishEditing(const QString& reason = "enter")
    {
        Bedrock::BinaryData payload;
        payload.writeString(field().text());
        payload.writeString(reason);
        field().editor()->eventSend("editing-finished", payload);
    }

    /// The open tooltips, also those that are fading out.
    std::vector<Tavola::TooltipWidget*> tooltips() const
    {
        std::vector<Tavola::TooltipWidget*> found;
        for (const auto& one : widget->children())
            if (auto* tooltip = dynamic_cast<Tavola::TooltipWidget*>(one.get()))
                found.push_back(tooltip);
        return found;
    }
    /// Removes the space from the table and releases it: it is destroyed in this call.
    void close()
    {
        widget->removeFromParent();
        widget.reset();
        host.app().destroyRemovedWidgets();
    }
};
}
