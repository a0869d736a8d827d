#include "keyboard/KeyIcon.hpp"

#include "RecordingContext.hpp"

#include <doctest/doctest.h>

using Action = Tavola::KeyboardKey::Action;
using TestSupport::RecordingContext;

TEST_CASE("key icon: the keys that type nothing have a sign of strokes in the middle of the key, the others have none")
{
    const std::pair<Action, int> rows[] = {
        {Action::Shift, 7}, {Action::Backspace, 7}, {Action::Enter, 4}, {Action::Left, 2},
        {Action::Right, 2}, {Action::Hide, 10},     {Action::Text, 0},  {Action::Dead, 0},
        {Action::Space, 0}, {Action::Symbols, 0},   {Action::Gap, 0},   {Action::Language, 0},
    };
    const Vecta::Rect box{100.f, 50.f, 60.f, 40.f};
    for (const auto& [action, strokes] : rows) {
        CAPTURE(int(action));
        CHECK(Tavola::KeyIcon::has(action) == (strokes > 0));
        RecordingContext context;
        Tavola::KeyIcon::draw(context, action, box, 20.f, Bedrock::Color{1.f, 0.f, 0.f, 1.f}, false);
        CHECK(context.calls().size() == std::size_t(strokes));
        CHECK(context.depth() == 0);
        Vecta::Rect all;
        for (const auto& call : context.calls())
            all = all.united(call.sceneBounds);
        if (strokes == 0)
            continue;
        CHECK(all.width <= 30.f);
        CHECK(all.height <= 30.f);
        CHECK((all.center() - box.center()).length() < 3.f);
    }
}

TEST_CASE("key icon: a locked shift has one stroke more")
{
    RecordingContext context;
    Tavola::KeyIcon::draw(context, Action::Shift, {0.f, 0.f, 40.f, 40.f}, 20.f, Bedrock::Color{1.f, 1.f, 1.f, 1.f}, true);
    CHECK(context.calls().size() == 8);
}
