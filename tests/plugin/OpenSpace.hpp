#pragma once

#include "EmailSupport.hpp"
#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceContents.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"

#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <vector>

namespace PluginTest
{
/// A personal space on the table, opened for a card of its own, and what visitors do with it.
struct OpenSpace
{
    using Space = Tavola::PersonalSpaceWidget;
    using Mode = Space::CollectionMode;

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
    /// Answers what still waits, so that no request of a test ends in the log.
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
    long addItem(const QString& source, long widgetId = 55)
    {
        Tavola::PersonalSpaceContents::Item item;
        item.files.sources = QList<QString>{source};
        item.status = Tavola::PersonalSpaceContents::ItemStatus::Ready;
        item.widgetId = widgetId;
        return contents->addItem(item);
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
    /// What the editor sends when somebody ends writing.
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
    /// Takes the space from the table and lets go of it: it is destroyed with the next frame at the latest.
    void close()
    {
        widget->removeFromParent();
        widget.reset();
        host.app().destroyRemovedWidgets();
    }
};
}
