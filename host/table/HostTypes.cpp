#include "table/HostTypes.hpp"

#include "presentation/Presentation.hpp"

namespace Host
{
namespace
{
/// The states that switches of the presentation set on the root.
void addStates(const std::vector<Tavola::ComponentUse>& uses, QStringList& states)
{
    for (const Tavola::ComponentUse& use : uses) {
        const QString state =
            use.properties.value(QLatin1String("attributes")).toObject().value(QLatin1String("state")).toString();
        if (!state.isEmpty())
            states.append(state);
        for (const auto& slot : use.slotContents)
            addStates(slot.second, states);
    }
}
}

std::vector<Cascara::StyleType> hostTypes(const Presentation& presentation)
{
    QStringList states{"dragging", "outside", "closing", "idle", "mail-delayed", "media-server-away", "people-away", "no-words"};
    addStates(presentation.widgets, states);
    addStates(presentation.shelf, states);
    return {
        {"Widget",
         "",
         {{"placement", {"at", "beside", "below", "above"}},
          {"keep-clear", "yes/no"},
          {"in-use", "yes/no"},
          {"stays", "yes/no"},
          {"opened-classes", "list"}},
         {"would-take", "shelf"},
         states},
        {"InputFieldWidget", "Widget", {{"takes-focus", "yes/no"}}},
        {"InvitationWidget",
         "Widget",
         {{"text", "text"}, {"moving", "yes/no"}, {"card-size", "number"}, {"card-color", "colour"}, {"period", "number"}}},
        {"SwitchWidget", "TextWidget", {{"state", "text"}}},
        {"InputOverlay", "Widget", {}},
        {"InputArea", "Widget", {}},
        {"InputMark", "Widget", {}},
        {"CardSign", "Widget", {}, {"unknown", "refused", "covered", "other-space", "again", "twice"}},
        {"CloseHandle", "Widget", {{"cross-color", "colour"}, {"ring-color", "colour"}}},
        {"DragShadow", "Widget", {{"shadow-color", "colour"}, {"spread", "number"}, {"drop", "number"}}},
        {"FlyingPicture", "Widget", {}},
    };
}
}
