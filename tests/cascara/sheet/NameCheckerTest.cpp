#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Cascara/StyleVocabulary.hpp>

#include <doctest/doctest.h>

#include <string>
#include <vector>

using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using TestSupport::expectWarning;

namespace
{
/// Boxes, among them labels and pictures, and a tracker that is none; style sheets are compared with them.
struct VocabularyFixture : StyleFixture
{
    VocabularyFixture() { engine.setChecksNames(true); }
    ~VocabularyFixture() { engine.setChecksNames(false); }

    const Cascara::StyleVocabulary::Registrant types{
        {{"Widget", "", {"width", "height"}, {}, {"root", "dragging"}, [] { return std::make_shared<TestNode>(); }},
         {"Label", "Widget", {"text", "color"}, {}, {"focus"}},
         {"ImageBox", "Widget", {"source", "fit"}, {}, {"failed"}},
         {"PageBox", "ImageBox", {"page"}},
         {"tracker", "", {"distance"}},
         {"Space", "Widget", {{"mode", {"email", "upload"}}, {"seconds", "number"}}},
         {"Detector", "Widget", {{"mode", {"off", "on"}}}}}};
};

struct Row
{
    const char* css;
    const char* warning; ///< null for none
};

void check(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        VocabularyFixture fixture;
        fixture.add("", "Widget", "w");
        if (row.warning)
            expectWarning("StyleEngine # test.css:" + std::string(row.warning));
        fixture.sheet(row.css);
        fixture.add("", "Label", "l", "on"); // what was told when the sheet was read is not told again
    }
}
}

TEST_CASE("name checker: types are those that are declared")
{
    check({{"Label { width: 1px }", nullptr},
           {"* { width: 1px } .Lable { width: 1px } #Lable { width: 1px }", nullptr},
           {"Lable { width: 1px }", "1:1: there is no type 'Lable' (did you mean 'Label'?); the selector matches nothing"},
           {"Label, .a > ImgeBox:not(.b) { width: 1px }",
            "1:13: there is no type 'ImgeBox' (did you mean 'ImageBox'?); the selector matches nothing"},
           {".a:not(Window, .b) { width: 1px }", "1:8: there is no type 'Window'; the selector matches nothing"},
           {"\n :is(Label,\n  Lable) { width: 1px }",
            "3:3: there is no type 'Lable' (did you mean 'Label'?); the selector matches nothing"}});
}

TEST_CASE("name checker: states are those of the type, and without a type nothing that is nearly one")
{
    check({{"Label:focus { width: 1px }", nullptr},
           {"Label:dragging, PageBox:failed { width: 1px }", nullptr},
           {":focus, :large-text { width: 1px }", nullptr}, // a switch of the presentation may set any state of the root
           {"Widget:large-text { width: 1px }", nullptr},
           {"Label:focsu { width: 1px }",
            "1:7: a Label has no state ':focsu' (did you mean 'focus'?); the selector matches nothing"},
           {"ImageBox:focus { width: 1px }", "1:10: an ImageBox has no state ':focus'; Label has; the selector matches nothing"},
           {"Label:hover { width: 1px }", "1:7: a Label has no state ':hover'; the selector matches nothing"},
           {".a :draging { width: 1px }",
            "1:5: there is no state ':draging' (did you mean 'dragging'?); the selector matches nothing"},
           {":frist-child { width: 1px }",
            "1:2: there is no state ':frist-child' (did you mean 'first-child'?); the selector matches nothing"},
           {"Label:lsat-child { width: 1px }",
            "1:7: a Label has no state ':lsat-child' (did you mean 'last-child'?); the selector matches nothing"},
           {".a:first-child, Label:last-child, :root { width: 1px }", nullptr},
           {".a:hover { width: 1px }", "1:4: there is no state ':hover'; the selector matches nothing"},
           {":not(Label.a:fokus) { width: 1px }",
            "1:14: a Label has no state ':fokus' (did you mean 'focus'?); the selector matches nothing"}});
}

TEST_CASE("name checker: an attribute is right when a type that the selector can match has it")
{
    check(
        {{"PageBox { page: 1; fit: cover; width: 1px }", nullptr},
         {".a { fit: cover } #b { distance: 1 }", nullptr},
         {":is(Label, ImageBox) { fit: cover; text: \"x\" }", nullptr},
         {"ImageBox { color: red; font-size: 12px } tracker { letter-spacing: 1px }", nullptr}, // children inherit them
         {"Label { --own: 1; transition: width 1s }", nullptr},
         {"Label > ImageBox { fit: cover }", nullptr},
         {"Label { fit: cover }", "1:9: fit: a Label has no 'fit'; ImageBox has; the declaration is skipped"},
         {"ImageBox { page: 1 }", "1:12: page: an ImageBox has no 'page'; PageBox has; the declaration is skipped"},
         {"ImageBox, Label { fit: cover }",
          "1:19: fit: a Label has no 'fit'; ImageBox has; the declaration is skipped for Label"},
         {"Label, .a, :is(tracker, Space) { fit: cover }",
          "1:34: fit: a Label has no 'fit'; ImageBox has; the declaration is skipped for Label, tracker, Space"},
         {"Label, tracker, Label.b { fit: cover }", "1:27: fit: a Label has no 'fit'; ImageBox has; the declaration is skipped"},
         {".a :is(Label.b, tracker) {\n fit: cover }",
          "2:2: fit: a Label has no 'fit'; ImageBox has; the declaration is skipped"},
         {"tracker { width: 1px }", "1:11: width: a tracker has no 'width'; Widget has; the declaration is skipped"},
         {"Label { widht: 1px }", "1:9: widht: no attribute has this name (did you mean 'width'?); the declaration is skipped"},
         {".none:not(Label) { nosuch-name: 1px }", "1:20: nosuch-name: no attribute has this name; the declaration is skipped"}});
}

TEST_CASE("name checker: of the types that have an attribute three are named")
{
    VocabularyFixture fixture;
    const Cascara::StyleVocabulary::Registrant types(
        {{"A", "", {"three", "four"}}, {"B", "", {"three", "four"}}, {"C", "", {"three", "four"}}, {"D", "", {"four"}}});
    expectWarning("StyleEngine # test.css:1:9: three: a Label has no 'three'; A, B, C have; the declaration is skipped");
    expectWarning("StyleEngine # test.css:1:19: four: a Label has no 'four'; A, B, C … have; the declaration is skipped");
    fixture.sheet("Label { three: 1; four: 1 }");
}

TEST_CASE("name checker: a value is tried when the sheet is read, and reported once")
{
    check(
        {{".never { width: 5px; color: var(--x); font-size: 2em }", nullptr},
         {".never { width: inherit; color: unset }", nullptr},
         {".never { width: wide }", "1:10: width: expected a number, got 'wide'; the declaration is skipped"},
         {"@keyframes grow { from { width: wide } }", "1:26: width: expected a number, got 'wide'; the declaration is skipped"},
         {"Widget { width: wide }", "1:10: width: expected a number, got 'wide'; the declaration is skipped"},
         {"Widget { color: redd }",
          "1:10: color: expected a colour (did you mean 'red'?), got 'redd'; the declaration is skipped"},
         {"Space { mode: upload } Detector { mode: off } .any { mode: on } Space, Detector { seconds: var(--s) }",
          "1:83: seconds: a Detector has no 'seconds'; Space has; the declaration is skipped for Detector"},
         {".never Space { mode: on }", "1:16: mode: expected one of email, upload, got 'on'; the declaration is skipped"},
         {"Space, Detector { mode: off }",
          "1:19: mode: expected one of email, upload, got 'off'; the declaration is skipped for Space"},
         {"Label, Detector, Space { mode: off }",
          "1:26: mode: a Label has no 'mode'; Detector, Space have; the declaration is skipped for Label, Space"},
         {":is(Label, Space) { mode: off }", "1:21: mode: expected one of email, upload, got 'off'; the declaration is skipped"},
         {":is(Space, Detector) { mode: off }", nullptr},
         {".any { mode: uplaod }",
          "1:8: mode: expected one of email, upload (did you mean 'upload'?), got 'uplaod'; the declaration is skipped"},
         {".any { mode: ofs }",
          "1:8: mode: expected one of off, on (did you mean 'off'?), got 'ofs'; the declaration is skipped"},
         {".any:never, Space { seconds: soon }", "1:21: seconds: expected a number, got 'soon'; the declaration is skipped"},
         {"ImageBox { fit: anything }", nullptr}}); // no sample has it: it shows when a widget is made
}

TEST_CASE("name checker: samples are made for sheets that give attributes values, not for variables alone")
{
    VocabularyFixture fixture;
    int made = 0;
    const Cascara::StyleVocabulary::Registrant counted({{"Counted", "", {"width"}, {}, {}, [&made] {
                                                             ++made;
                                                             return std::make_shared<TestNode>();
                                                         }}});
    fixture.sheet(":root { --text: \"one\"; } Label { --other: 3px }");
    CHECK(made == 0);
    fixture.sheet(":root { --text: \"one\"; } Counted { width: 3px }");
    CHECK(made == 1);
    fixture.sheet("@keyframes grow { to { width: 3px } }");
    CHECK(made == 2);
}

TEST_CASE("name checker: checking makes no lazy attribute, styles no sample, and knows lazy names")
{
    VocabularyFixture fixture;
    int made = 0;
    const Cascara::LazyAttributeManager::Registrant lazy(
        "lazy-checked", [&made](Cascara::Styleable& node, const QByteArray& name) -> std::unique_ptr<Facet::Attribute> {
            ++made;
            return std::make_unique<Facet::AttributeT<float>>(&node.node(), name);
        });
    const long restyled = fixture.engine.counters().nodesRestyled;
    fixture.sheet("* { lazy-checked: 1; width: 2px }");
    fixture.sheet("Label { width: 3px }"); // its sample is made while the first sheet is in force
    CHECK(made == 0);
    CHECK(fixture.engine.counters().nodesRestyled == restyled);
}

TEST_CASE("name checker: no name is checked unless that is asked for")
{
    VocabularyFixture fixture;
    fixture.engine.setChecksNames(false);
    fixture.sheet("Lable:focsu { fit: cover }");
    CHECK(TestSupport::loggedLines().empty());
}
