#include <doctest/doctest.h>

#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <Trellis/TextEditWidget.hpp>

#include <QKeyEvent>

#include <functional>
#include <string>

using namespace TestSupport;
using namespace TrellisTest;
using Call = RecordingContext::Call;
using Trellis::TextEditWidget;

namespace
{
struct EditScene : Scene
{
    EditScene() : Scene(kSmall), editor(add({10, 10, 150, 30})) { listen(editor, ""); }
    ~EditScene()
    {
        // The listeners to the end of the editing go before the application.
        app.setFocusWidget(nullptr);
    }

    TextEditWidget& add(const Vecta::Rect& rect)
    {
        auto made = Bedrock::makeIntrusive<TextEditWidget>();
        root().addChild(made);
        set(*made, "color", kWhite);
        return place(*made, rect);
    }
    void listen(TextEditWidget& widget, const std::string& name)
    {
        widget.eventAddListener("text-changed",
                                [this, name, &widget] { heard += name + "changed:" + widget.text().toStdString() + ";"; });
        widget.eventAddListenerBd("editing-finished", [this, name](Bedrock::BinaryData& payload) {
            const std::string text = payload.readString().toStdString();
            heard += name + "finished:" + text + ":" + payload.readString().toStdString() + ";";
            CHECK(payload.isAtEnd());
        });
    }
    bool key(int key, const QString& text = QString(), Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        event.ignore();
        app.keyPressed(event);
        return event.isAccepted();
    }
    void type(const QString& text)
    {
        for (const QChar c : text)
            key(Qt::Key_unknown, QString(c));
    }
    void tap(Vecta::Vector2f point)
    {
        input.tap(1, point);
        frame();
        frame();
    }
    std::string readEvents()
    {
        std::string taken;
        taken.swap(heard);
        return taken;
    }

    std::string heard;
    TextEditWidget& editor;
};

const Call* caret(const RecordingContext& context)
{
    for (const Call& call : context.calls())
        if (call.kind == Call::Kind::Rect && call.rect.width == 2.f)
            return &call;
    return nullptr;
}
}

TEST_CASE("text edit: a tap gives it the keyboard, and what is typed stands in it")
{
    EditScene scene;
    scene.type(QStringLiteral("lost"));
    CHECK(scene.editor.text().isEmpty());
    scene.tap({20, 20});
    CHECK(scene.editor.hasFocus());
    CHECK(scene.app.focusWidget() == &scene.editor);
    CHECK(scene.editor.hasPseudoClass("focus"));
    scene.type(QStringLiteral("Ann"));
    CHECK(scene.editor.text() == QStringLiteral("Ann"));
    CHECK(scene.readEvents() == "changed:A;changed:An;changed:Ann;");
}

TEST_CASE("text edit: enter finishes once, with the text, and gives the keyboard back; so do other ends")
{
    struct Row
    {
        const char* what;
        std::function<void(EditScene&)> end;
        const char* reason;
    };
    const Row rows[] = {
        {"enter", [](EditScene& scene) { scene.key(Qt::Key_Return, QStringLiteral("\r")); }, "enter"},
        {"enter of the number pad", [](EditScene& scene) { scene.key(Qt::Key_Enter, QStringLiteral("\r"), Qt::KeypadModifier); },
         "enter"},
        {"escape", [](EditScene& scene) { scene.key(Qt::Key_Escape, QStringLiteral("\x1b")); }, "escape"},
        {"an end from the code", [](EditScene& scene) { scene.editor.endEditing(); }, "focus-lost"},
        {"another editor",
         [](EditScene& scene) {
             scene.app.setFocusWidget(&scene.add({10, 100, 100, 30}));
         },
         "focus-lost"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        EditScene scene;
        scene.app.setFocusWidget(&scene.editor);
        scene.type(QStringLiteral("Bo"));
        scene.readEvents();
        row.end(scene);
        CHECK(scene.readEvents() == std::string("finished:Bo:") + row.reason + ";");
        CHECK_FALSE(scene.editor.hasFocus());
        CHECK_FALSE(scene.editor.hasPseudoClass("focus"));
        scene.editor.endEditing();
        CHECK(scene.readEvents().empty());
    }
}

TEST_CASE("text edit: clearing sends the change only")
{
    EditScene scene;
    scene.editor.setText(QStringLiteral("Ann"));
    scene.readEvents();
    scene.editor.clear();
    CHECK(scene.readEvents() == "changed:;");
    CHECK(scene.editor.cursorPosition() == 0);
    scene.editor.clear();
    CHECK(scene.readEvents().empty());
}

TEST_CASE("text edit: arrows, home, end, backspace and delete")
{
    struct Row
    {
        const char* name;
        int cursor;
        std::vector<int> keys;
        const char* text;
        int cursorAfter;
    };
    using K = Qt::Key;
    const std::vector<Row> rows{
        {"left", 3, {K::Key_Left}, "abcdef", 2},
        {"left at the start", 0, {K::Key_Left}, "abcdef", 0},
        {"right", 3, {K::Key_Right}, "abcdef", 4},
        {"right at the end", 6, {K::Key_Right}, "abcdef", 6},
        {"home", 3, {K::Key_Home}, "abcdef", 0},
        {"end", 3, {K::Key_End}, "abcdef", 6},
        {"backspace", 3, {K::Key_Backspace}, "abdef", 2},
        {"backspace at the start", 0, {K::Key_Backspace}, "abcdef", 0},
        {"delete", 3, {K::Key_Delete}, "abcef", 3},
        {"delete at the end", 6, {K::Key_Delete}, "abcdef", 6},
        {"delete twice and back", 1, {K::Key_Delete, K::Key_Delete, K::Key_Backspace}, "def", 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        EditScene scene;
        scene.editor.setText(QStringLiteral("abcdef"));
        scene.app.setFocusWidget(&scene.editor);
        scene.key(K::Key_Home);
        for (int i = 0; i < row.cursor; ++i)
            scene.key(K::Key_Right);
        REQUIRE(scene.editor.cursorPosition() == row.cursor);
        for (const int key : row.keys)
            scene.key(key);
        CHECK(scene.editor.text() == QString::fromLatin1(row.text));
        CHECK(scene.editor.cursorPosition() == row.cursorAfter);
    }
}

TEST_CASE("text edit: the cursor passes what is seen as one character in one step, and deletes it as a whole")
{
    struct Row
    {
        const char* name;
        const char* character;
    };
    const Row rows[] = {{"a letter with a combining accent", "e\xCC\x81"},
                        {"a character outside the basic plane", "\xF0\x9F\x98\x80"},
                        {"a syllable of joined parts", "\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"}};
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const QString character = QString::fromUtf8(row.character);
        EditScene scene;
        scene.editor.setText(QStringLiteral("a") + character + QStringLiteral("b"));
        scene.app.setFocusWidget(&scene.editor);
        scene.key(Qt::Key_Home);
        scene.key(Qt::Key_Right);
        scene.key(Qt::Key_Right);
        CHECK(scene.editor.cursorPosition() == 1 + character.size());
        scene.key(Qt::Key_Left);
        CHECK(scene.editor.cursorPosition() == 1);
        SUBCASE("delete")
        {
            scene.key(Qt::Key_Delete);
        }
        SUBCASE("backspace")
        {
            scene.key(Qt::Key_Right);
            scene.key(Qt::Key_Backspace);
        }
        CHECK(scene.editor.text() == QStringLiteral("ab"));
        CHECK(scene.editor.cursorPosition() == 1);
    }
}

TEST_CASE("text edit: an accent that is typed after its letter joins it")
{
    EditScene scene;
    scene.app.setFocusWidget(&scene.editor);
    scene.key(Qt::Key_E, QStringLiteral("e"));
    scene.key(Qt::Key_unknown, QString(QChar(0x301)));
    CHECK(scene.editor.cursorPosition() == 2);
    scene.key(Qt::Key_Backspace);
    CHECK(scene.editor.text().isEmpty());
}

TEST_CASE("text edit: in a text from right to left the arrows go where they point")
{
    EditScene scene;
    scene.editor.setText(QString::fromUtf8("שלום"));
    scene.app.setFocusWidget(&scene.editor);
    scene.key(Qt::Key_Home);
    scene.key(Qt::Key_Left);
    CHECK(scene.editor.cursorPosition() == 1);
    scene.key(Qt::Key_Right);
    CHECK(scene.editor.cursorPosition() == 0);
}

TEST_CASE("text edit: text is inserted at the cursor in one line, several characters at once too")
{
    EditScene scene;
    scene.editor.setText(QStringLiteral("ad"));
    scene.app.setFocusWidget(&scene.editor);
    scene.key(Qt::Key_Left);
    scene.key(Qt::Key_unknown, QString::fromUtf8("日本")); // composed by an input method
    CHECK(scene.editor.text() == QString::fromUtf8("a日本d"));
    CHECK(scene.editor.cursorPosition() == 3);
    scene.editor.insertText(QStringLiteral("1\r\n2\n3\t4\a"));
    CHECK(scene.editor.text() == QString::fromUtf8("a日本1 2 3 4d"));
}

TEST_CASE("text edit: keys that write nothing are left to others")
{
    EditScene scene;
    scene.app.setFocusWidget(&scene.editor);
    CHECK_FALSE(scene.key(Qt::Key_F5));
    CHECK_FALSE(scene.key(Qt::Key_A, QStringLiteral("a"), Qt::ControlModifier));
    CHECK_FALSE(scene.key(Qt::Key_A, QStringLiteral("\x01"), Qt::ControlModifier));
    CHECK_FALSE(scene.key(Qt::Key_A, QStringLiteral("a"), Qt::MetaModifier));
    CHECK(scene.editor.text().isEmpty());
    // Some keyboards reach letters by Ctrl and Alt together.
    CHECK(scene.key(Qt::Key_Q, QStringLiteral("@"), Qt::ControlModifier | Qt::AltModifier));
    CHECK(scene.key(Qt::Key_A, QStringLiteral("A"), Qt::ShiftModifier));
    CHECK(scene.editor.text() == QStringLiteral("@A"));
}

TEST_CASE("text edit: a text longer than the field is scrolled so that the cursor is in sight")
{
    EditScene scene;
    scene.editor.setText(QStringLiteral("a text that is much longer than the field in which it is written"));
    scene.app.setFocusWidget(&scene.editor);
    const auto caretX = [&] {
        RecordingContext context;
        scene.app.render(context);
        const Call* found = caret(context);
        REQUIRE(found);
        return found->sceneBounds.x;
    };
    CHECK(caretX() == doctest::Approx(158).epsilon(0.02)); // at the right end
    scene.key(Qt::Key_Home);
    CHECK(caretX() == doctest::Approx(10).epsilon(0.1));
    for (int i = 0; i < 40; ++i) {
        scene.key(Qt::Key_Right);
        CHECK(caretX() >= 10.f);
        CHECK(caretX() <= 158.1f);
    }
    CHECK(QRect(10, 10, 150, 30).contains(litBounds(scene.picture())));
}

TEST_CASE("text edit: a tap puts the cursor where the finger was")
{
    EditScene scene;
    scene.editor.setText(QStringLiteral("iiiiiiii"));
    scene.tap({11, 20});
    CHECK(scene.editor.cursorPosition() == 0);
    scene.tap({150, 20});
    CHECK(scene.editor.cursorPosition() == 8);
}

TEST_CASE("text edit: the caret blinks by frame time, only while the keyboard is here")
{
    EditScene scene;
    const auto caretShows = [&] {
        RecordingContext context;
        scene.app.render(context);
        return caret(context) != nullptr;
    };
    CHECK_FALSE(caretShows());
    CHECK_FALSE(scene.editor.isUpdating());
    scene.app.setFocusWidget(&scene.editor);
    scene.frame(0.0);
    CHECK(caretShows());
    scene.frame(0.6);
    CHECK_FALSE(caretShows());
    scene.frame(0.5);
    CHECK(caretShows());
    scene.frame(0.45);
    scene.key(Qt::Key_A, QStringLiteral("a"));
    scene.frame(0.4);
    CHECK(caretShows()); // begins anew with each key
    scene.frame(0.0);
    (void)scene.app.collectDamage();
    scene.frame(0.01);
    CHECK(scene.app.damage().empty()); // damaged only when it comes and goes
    scene.editor.endEditing();
    CHECK_FALSE(caretShows());
    CHECK_FALSE(scene.editor.isUpdating());
}

TEST_CASE("text edit: an empty field is as high as one with a text")
{
    EditScene scene;
    auto made = Bedrock::makeIntrusive<TextEditWidget>();
    scene.root().addChild(made);
    const float empty = made->height();
    made->setText(QStringLiteral("Ag"));
    CHECK(empty > 10.f);
    CHECK(made->height() == empty);
}

TEST_CASE("text edit: a listener may remove the editor, or go on to the next one")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        EditScene scene;
        TextEditWidget& next = scene.add({10, 60, 100, 30});
        scene.app.setFocusWidget(&scene.editor);
        SUBCASE("remove at enter")
        {
            scene.editor.eventAddListener("editing-finished", [&] { scene.editor.removeFromParent(); });
            scene.key(Qt::Key_Return);
            CHECK(scene.app.focusWidget() == nullptr);
        }
        SUBCASE("remove at a change")
        {
            scene.editor.eventAddListener("text-changed", [&] { scene.editor.removeFromParent(); });
            scene.key(Qt::Key_A, QStringLiteral("a"));
            CHECK(scene.app.focusWidget() == nullptr);
        }
        SUBCASE("go on at enter")
        {
            scene.editor.eventAddListener("editing-finished", [&] { scene.app.setFocusWidget(&next); });
            scene.key(Qt::Key_Return);
            CHECK(scene.app.focusWidget() == &next);
            CHECK(next.hasFocus());
        }
        scene.frame();
        scene.frame();
    }
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("text edit: an editor with a keyboard of its own goes on when the focus goes elsewhere")
{
    EditScene scene;
    TextEditWidget& next = scene.add({10, 60, 100, 30});
    int begun = 0;
    scene.editor.eventAddListener("editing-began", [&] { ++begun; });
    scene.tap({20, 20});
    CHECK(begun == 1);
    scene.editor.setOwnKeyboard(true);
    CHECK(begun == 1);
    scene.tap({20, 70});
    CHECK(scene.readEvents().empty());
    CHECK_FALSE(scene.editor.hasFocus());
    CHECK(scene.editor.isEditing());
    CHECK(scene.editor.hasPseudoClass("focus"));
    CHECK(next.isEditing());
    scene.type(QStringLiteral("n"));
    scene.editor.insertText(QStringLiteral("e"));
    CHECK(next.text() == QStringLiteral("n"));
    CHECK(scene.readEvents() == "changed:e;");
    SUBCASE("an end from the code is told")
    {
        scene.editor.endEditing();
        CHECK(scene.readEvents() == "finished:e:focus-lost;");
    }
    SUBCASE("so is its enter key, once")
    {
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        scene.editor.keyPressed(enter);
        CHECK(scene.readEvents() == "finished:e:enter;");
    }
    SUBCASE("a keyboard that is taken away is not")
    {
        scene.editor.setOwnKeyboard(false);
        CHECK(scene.readEvents().empty());
    }
    CHECK_FALSE(scene.editor.isEditing());
    CHECK_FALSE(scene.editor.hasPseudoClass("focus"));
    CHECK_FALSE(scene.editor.isUpdating());
    CHECK(next.hasFocus());
}
