#!/usr/bin/env python3
"""Tests of structure.py: small houses with one fault each, and what is printed about it."""

import tempfile
import unittest
from pathlib import Path

import structure


class StructureTest(unittest.TestCase):
    def faults(self, files, known=()):
        """The faults of a house of these files, {path: text}, as texts."""
        with tempfile.TemporaryDirectory() as root:
            for path, text in files.items():
                file = Path(root, path)
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(text, encoding="utf-8")
            return [str(fault) for fault in structure.faults_of(root, known)]

    def fault(self, files, known=()):
        faults = self.faults(files, known)
        self.assertEqual(len(faults), 1, faults)
        return faults[0]

    def test_a_house_in_order_has_no_fault(self):
        self.assertEqual(self.faults({
            "platform/bedrock/include/Bedrock/Trace.hpp": "#pragma once\n",
            "platform/trellis/include/Trellis/Widget.hpp": "#include <Bedrock/Trace.hpp>\n#include <vector>\n",
            "platform/trellis/src/tree/Widget.cpp": '#include <Trellis/Widget.hpp>\n#include "layout/Box.hpp"\n',
            "platform/trellis/src/layout/Box.hpp": "#pragma once\n",
            "plugin/email/Popup.cpp": "#include <Trellis/Widget.hpp>\n",
        }), [])

    def test_a_folder_without_a_house_is_a_fault(self):
        self.assertIn("no house", self.fault({"elsewhere/A.cpp": ""}))

    def test_an_include_of_a_higher_floor_is_named(self):
        fault = self.fault({
            "platform/facet/src/Node.cpp": '\n#include <Trellis/Widget.hpp>\n',
            "platform/trellis/include/Trellis/Widget.hpp": "",
        })
        self.assertIn("platform/facet includes platform/trellis, which is not below it", fault)
        self.assertIn("platform/facet/src/Node.cpp:2: #include <Trellis/Widget.hpp>", fault)
        self.assertIn("→ Move what is needed to the lower floor", fault)

    def test_the_plugin_and_the_host_do_not_include_each_other(self):
        for own, other in (("plugin", "host"), ("host", "plugin")):
            fault = self.fault({f"{own}/a/A.cpp": '#include "b/B.hpp"\n', f"{other}/b/B.hpp": ""})
            self.assertIn(f"{own} includes {other}, which is not below it", fault)

    def test_no_library_includes_the_plugin(self):
        self.assertIn("platform/tavola includes plugin", self.fault({
            "platform/tavola/src/A.cpp": '#include "b/B.hpp"\n', "plugin/b/B.hpp": ""}))

    def test_a_private_header_of_another_library_is_named(self):
        fault = self.fault({
            "plugin/email/Popup.cpp": '#include "layout/Box.hpp"\n', "platform/trellis/src/layout/Box.hpp": ""})
        self.assertIn("a private header of platform/trellis is included", fault)
        self.assertIn('plugin/email/Popup.cpp:1: #include "layout/Box.hpp"', fault)

    def test_a_library_that_has_no_floor_is_a_fault(self):
        fault = self.fault({"platform/attic/src/A.cpp": "", "host/a/A.cpp": ""})
        self.assertIn("platform/attic: this library has no floor", fault)

    def test_the_media_server_stands_apart_from_the_table(self):
        self.assertEqual(self.faults({
            "mediaserver/Log.cpp": "#include <Bedrock/Trace.hpp>\n", "platform/bedrock/include/Bedrock/Trace.hpp": ""}), [])
        self.assertIn("mediaserver and platform/facet stand apart", self.fault({
            "mediaserver/Log.cpp": "#include <Facet/Node.hpp>\n", "platform/facet/include/Facet/Node.hpp": ""}))
        self.assertIn("host and mediaserver stand apart", self.fault({
            "host/a/A.cpp": '#include "Log.hpp"\n', "mediaserver/Log.hpp": ""}))

    def test_programs_beside_the_house_include_libraries_and_are_not_included(self):
        self.assertEqual(self.faults({
            "tools/visit/main.cpp": "#include <Tactile/Sample.hpp>\n", "platform/tactile/include/Tactile/Sample.hpp": ""}), [])
        self.assertIn("a program beside the house is included (bench)", self.fault({
            "host/a/A.cpp": '#include "Scene.hpp"\n', "bench/Scene.hpp": ""}))

    def test_libraries_of_one_floor_do_not_include_each_other(self):
        fault = self.fault({
            "platform/facet/include/Facet/A.hpp": "", "platform/cadence/include/Cadence/B.hpp": "",
            "platform/facet/src/A.cpp": "#include <Cadence/B.hpp>\n",
            "platform/cadence/src/B.cpp": "#include <Facet/A.hpp>\n"})
        self.assertIn("libraries of one floor include each other", fault)
        self.assertIn("platform/facet/src/A.cpp:1: #include <Cadence/B.hpp>", fault)
        self.assertIn("platform/cadence/src/B.cpp:1: #include <Facet/A.hpp>", fault)

    def test_a_circle_of_folders_is_named_with_the_includes_that_close_it(self):
        fault = self.fault({
            "host/table/Table.cpp": '#include "input/Input.hpp"\n', "host/input/Input.hpp": "",
            "host/input/Input.cpp": '// first\n#include "window/Window.hpp"\n', "host/window/Window.hpp": "",
            "host/window/Window.cpp": '#include "table/Table.hpp"\n', "host/table/Table.hpp": ""})
        self.assertIn("host: the folders input, table, window include each other in a circle", fault)
        for line in ("input → window", 'host/input/Input.cpp:2: #include "window/Window.hpp"', "window → table",
                     'host/window/Window.cpp:1: #include "table/Table.hpp"', "table → input",
                     'host/table/Table.cpp:1: #include "input/Input.hpp"', "→ Let one of the folders stand"):
            self.assertIn(line, fault)

    def test_two_circles_are_two_faults(self):
        files = {}
        for one, other in (("a", "b"), ("c", "d")):
            files |= {f"host/{one}/X.cpp": f'#include "{other}/Y.hpp"\n', f"host/{one}/Y.hpp": "",
                      f"host/{other}/X.cpp": f'#include "{one}/Y.hpp"\n', f"host/{other}/Y.hpp": ""}
        self.assertEqual(len(self.faults(files)), 2)

    def test_a_public_header_counts_as_the_folder_of_its_source(self):
        fault = self.fault({
            "platform/trellis/include/Trellis/Widget.hpp": "",
            "platform/trellis/src/tree/Widget.cpp": '#include "layout/Box.hpp"\n',
            "platform/trellis/src/layout/Box.hpp": "",
            "platform/trellis/src/layout/Box.cpp": "#include <Trellis/Widget.hpp>\n"})
        self.assertIn("the folders layout, tree include each other", fault)
        self.assertIn("platform/trellis/src/layout/Box.cpp:1: #include <Trellis/Widget.hpp>", fault)

    def test_a_header_without_a_source_hides_no_circle(self):
        fault = self.fault({
            "platform/trellis/include/Trellis/Listener.hpp": "#include <Trellis/Widget.hpp>\n",
            "platform/trellis/include/Trellis/Widget.hpp": "",
            "platform/trellis/src/tree/Widget.cpp": '#include "layout/Box.hpp"\n',
            "platform/trellis/src/layout/Box.hpp": "#include <Trellis/Listener.hpp>\n"})
        self.assertIn("the folders layout, tree include each other", fault)
        self.assertIn("platform/trellis/include/Trellis/Listener.hpp:1: #include <Trellis/Widget.hpp>", fault)

    def test_personalspace_and_server_may_need_each_other_and_count_as_one(self):
        pair = {
            "plugin/personalspace/Space.cpp": '#include "server/Uploader.hpp"\n', "plugin/personalspace/Space.hpp": "",
            "plugin/server/Uploader.cpp": '#include "personalspace/Space.hpp"\n', "plugin/server/Uploader.hpp": ""}
        self.assertEqual(self.faults(pair), [])
        fault = self.fault(pair | {
            "plugin/email/Popup.cpp": '#include "server/Uploader.hpp"\n', "plugin/email/Popup.hpp": "",
            "plugin/personalspace/Mail.cpp": '#include "email/Popup.hpp"\n'})
        self.assertIn("the folders email, personalspace+server include each other", fault)

    def test_files_of_one_folder_that_include_each_other_are_named(self):
        fault = self.fault({
            "mediaserver/A.hpp": '#include "B.hpp"\n', "mediaserver/B.hpp": '#include "C.hpp"\n',
            "mediaserver/C.hpp": '#include "A.hpp"\n'})
        self.assertIn("mediaserver: these files include each other in a circle", fault)
        for line in ('mediaserver/A.hpp:1: #include "B.hpp"', 'mediaserver/B.hpp:1: #include "C.hpp"',
                     'mediaserver/C.hpp:1: #include "A.hpp"', "→ Forward-declare"):
            self.assertIn(line, fault)

    def test_a_file_that_includes_itself_is_a_circle(self):
        self.assertIn("include each other in a circle", self.fault({"mediaserver/A.hpp": '#include "A.hpp"\n'}))

    def test_the_fourth_friend_of_a_class_is_one_too_many_but_operators_do_not_count(self):
        def house(count):
            friends = "".join(f"    friend class Friend{number}; // friend class Comment;\n" for number in range(count))
            operators = "    friend bool operator==(A, A);\n    friend bool operator!=(A a, A b) { return !(a == b); }\n"
            return {"platform/trellis/include/Trellis/Widget.hpp":
                    f"class Widget;\nclass TRELLIS_EXPORT Widget final : public Base\n{{\n{friends}{operators}}};\n"
                    "struct Other { friend class Widget; friend struct A; template <class T> friend class B; };\n"}
        self.assertEqual(self.faults(house(3)), [])
        fault = self.fault(house(4))
        self.assertIn("class Widget has 4 friends, 3 at most", fault)
        self.assertIn("friend class Friend3", fault)

    def test_a_file_of_more_than_350_lines_is_too_long_but_for_tests(self):
        self.assertEqual(self.faults({"host/a/A.cpp": "\n" * 350, "tests/host/ATest.cpp": "\n" * 900}), [])
        fault = self.fault({"host/a/A.cpp": "\n" * 351})
        self.assertIn("host/a/A.cpp: 351 lines", fault)

    def test_a_python_file_of_more_than_350_lines_is_too_long_but_for_tests(self):
        self.assertEqual(self.faults({"host/a/A.cpp": "", "tools/demo/a.py": "\n" * 350, "tests/host/a.py": "\n" * 900}), [])
        for path in ("tools/demo/a.py", "presentations/gallery/b.py"):
            self.assertIn(f"{path}: 351 lines", self.fault({"host/a/A.cpp": "", path: "\n" * 351}))

    def test_a_comment_without_a_subject_is_named_also_in_tests(self):
        house = {"host/a/B.cpp": ""}
        for text in ("/// Whoever calls.", "int a; // for nobody", "/* one\n * anybody\n */", "//\n// to whom"):
            fault = self.fault(house | {"tests/host/A.cpp": text + "\n"})
            self.assertIn("a sentence does not name its subject", fault)
            self.assertIn("→ Name the subject", fault)
        self.assertIn('host/a/A.hpp:3: "Somebody" in a comment', self.fault({"host/a/A.hpp": "\n/* one\nSomebody */\n"}))

    def test_other_kinds_of_prose_are_read_for_their_subjects(self):
        for path, text, found in (
                ("tests/ATest.cpp", 'TEST_CASE("a: nobody is\\" told")\n', 'tests/ATest.cpp:1: "nobody" in the name of a test'),
                ("tests/ATest.cpp", 'int a;\nTEST_CASE_FIXTURE(Fix<A, B>, "a: "\n  "to whom")\n', 'tests/ATest.cpp:3: "whom" in the'),
                ("tests/ATest.cpp", '\n  SUBCASE("anybody")\n', 'tests/ATest.cpp:2: "anybody" in the name'),
                ("tests/a.py", 'a = "nobody"  # for whom\n', 'tests/a.py:1: "whom" in a comment'),
                ("tests/a.py", 'def a():\n    """One.\n\n    Somebody.\n    """\n', 'tests/a.py:4: "Somebody" in a docstring'),
                ("tools/a", '#!/usr/bin/env python3\n"""Whoever."""\na = """nobody"""\n', 'tools/a:2: "Whoever" in a docstring'),
                ("tools/b", '#!/bin/sh\necho nobody # somebody\n', 'tools/b:2: "somebody" in a comment'),
                (".ci/c.sh", 'echo ${#nobody}\n# anybody\n', '.ci/c.sh:2: "anybody" in a comment'),
                ("CMakeLists.txt", 'set(NOBODY 1)\n# nobody\n', 'CMakeLists.txt:2: "nobody" in a comment'),
                ("cmake/A.cmake", '# nobody\n', 'cmake/A.cmake:1: "nobody" in a comment'),
                ("tests/races.txt", '# nobody\nrace:nobody\n', 'tests/races.txt:1: "nobody" in a comment'),
                ("docs/a.md", '# One\n\n```\nwho = nobody\n```\nNobody.\n', 'docs/a.md:6: "Nobody" in the text')):
            fault = self.fault({"host/a/A.cpp": "", path: text})
            self.assertIn(found, fault)
            self.assertEqual(fault.count('" in '), 1, fault)

    def test_what_is_no_file_of_ours_is_not_read(self):
        self.assertEqual(self.faults({"host/a/A.cpp": "", "build/a.md": "nobody", ".git/a.md": "nobody", "docs/a.json": "nobody"}), [])

    def test_texts_and_code_may_hold_these_words(self):
        self.assertEqual(self.faults({"host/a/A.cpp": '''auto a = "// nobody"; int somebody = 1'000; char c = '"'; // the "first"
auto b = R"(// anybody)"; auto d = '\\\''; // a nobodyish word
'''}), [])

    def test_a_test_that_starts_threads_is_named_under_threads(self):
        house = {"host/a/A.cpp": "", "tests/host/ATest.cpp": "std::thread one;\n", "tests/host/BTest.cpp": "// std::thread\n"}
        for lists in ("house_test(host_tests SOURCES a/ATest.cpp LINKS x)", "house_test(host_tests\n  THREADS BTest\n  HELPERS ATest)"):
            fault = self.fault(house | {"tests/host/CMakeLists.txt": lists})
            self.assertIn("tests/host/ATest.cpp: its tests start threads (std::thread)", fault)
            self.assertIn("→ Name it under THREADS", fault)
        for lists in ("house_test(host_tests\n  THREADS\n    BTest ATest\n  HELPERS x)", "house_test(a THREADS ATest)"):
            self.assertEqual(self.faults(house | {"tests/host/CMakeLists.txt": lists}), [])

    def test_servers_of_the_tests_and_receivers_start_threads_but_their_names_in_texts_do_not(self):
        for name in ("HttpServerThread", "TwoDoors", "OutboxService", "TcpDatagramSource", "UdpDatagramSource"):
            fault = self.fault({"host/a/A.cpp": "", "tests/host/ATest.cpp": f"{name} one;\n", "tests/host/CMakeLists.txt": ""})
            self.assertIn(f"its tests start threads ({name})", fault)
            self.assertEqual(self.faults({"host/a/A.cpp": "", "tests/host/ATest.cpp": f'auto a = "{name} # failed";\n'}), [])

    def test_a_program_that_replaces_the_allocator_is_not_built_with_sanitizers(self):
        self.assertEqual(self.faults({
            "host/a/A.cpp": "", "tests/host/ATest.cpp": "void* operator new(std::size_t size);\nstd::thread one;\n"}), [])

    def test_a_known_fault_is_left_out_by_file_by_folder_and_by_its_kind_alone(self):
        house = {"host/a/A.cpp": "// nobody\n"}
        for place in ("host/a/A.cpp", "host/a", "host"):
            self.assertEqual(self.faults(house, [("words", place)]), [])
        self.assertEqual(len(self.faults(house, [("lines", "host")])), 2)

    def test_a_known_fault_that_is_gone_must_leave_the_list(self):
        fault = self.fault({"host/a/A.cpp": ""}, [("words", "host/a/A.cpp")])
        self.assertIn('host/a/A.cpp: the known "words" is not there any more', fault)
        self.assertIn("→ Take this line out of KNOWN", fault)


if __name__ == "__main__":
    unittest.main()
