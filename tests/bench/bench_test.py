#!/usr/bin/env python3
"""Tests of tools/bench: what it judges, what it shows, and how it ends. Nothing is measured here."""
import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools" / "benchmarks"))

import charts  # noqa: E402
import programs  # noqa: E402
import run  # noqa: E402
from rows import FIGURES, PROGRAMS, ROW_TITLES, SCENES, SERIES, Figure  # noqa: E402


class Bench(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.out = Path(folder.name, "figures")

    def run_with(self, measured, *words):
        """Runs the tool as if the programs had measured this; the exit code, and what was written and printed."""
        printed, errors = io.StringIO(), io.StringIO()
        with mock.patch.object(run, "build"), mock.patch.object(run, "measure", return_value=measured), contextlib.redirect_stdout(printed), \
                contextlib.redirect_stderr(errors):
            code = run.main(["--out", str(self.out), *words])
        result = json.loads((self.out / "figures.json").read_text(encoding="utf-8"))
        page = (self.out / "index.html").read_text(encoding="utf-8")
        return code, result, page, printed.getvalue() + errors.getvalue()

    def all_measured(self, times_target):
        measured = {figure.key: {"ours_ns": 10.0, "rival_ns": 20.0} for figure in FIGURES}
        for figure in FIGURES:
            measured[figure.key][figure.counter] = (figure.target or 0) * times_target
        return measured

    def test_every_figure_stands_in_a_row_with_a_title(self):
        for figure in FIGURES:
            self.assertIn(figure.row, ROW_TITLES)

    def test_every_row_is_measured_by_a_program(self):
        by_processes_and_drawing = {*SCENES, 9, 16}
        self.assertEqual(set().union(by_processes_and_drawing, *PROGRAMS.values()), set(ROW_TITLES))

    def test_a_value_at_its_target_meets_it_and_one_above_misses_it(self):
        figure = Figure("row01/x", "x", 0.5)
        self.assertTrue(figure.meets(0.5))
        self.assertFalse(figure.meets(0.51))
        self.assertIsNone(Figure("row01/x", "x").meets(7))

    def test_missed_targets_are_shown_and_the_run_counts_as_judged(self):
        code, result, page, printed = self.run_with(self.all_measured(1.5), "--only", "1")
        self.assertEqual(code, 0)
        self.assertEqual({figure["met"] for figure in result["figures"]}, {False})
        self.assertIn("✗ missed", page)
        self.assertIn("**missed**", printed)
        self.assertIn("0 of 4 targets met", printed)

    def test_a_figure_that_was_not_measured_is_named_and_ends_the_tool_with_1(self):
        measured = self.all_measured(0.5)
        del measured["row01/listeners/1"]
        code, _, page, printed = self.run_with(measured, "--only", "1")
        self.assertEqual(code, 1)
        self.assertIn("not measured: row01/listeners/1", printed)
        self.assertIn("not measured", page)

    def test_a_smoke_run_and_a_run_of_another_size_judge_nothing(self):
        for words in (["--smoke"], ["--size", "50"]):
            code, result, _, printed = self.run_with(self.all_measured(9), *words)
            self.assertEqual(code, 0)
            self.assertEqual({figure["met"] for figure in result["figures"]}, {None})
            self.assertIn("nothing is judged", printed)

    def test_missed_figures_are_named_at_the_top_of_the_page(self):
        measured = self.all_measured(0.5)
        measured["row02/name"]["ratio"] = 9
        _, _, page, _ = self.run_with(measured)
        self.assertIn('Missed: <a href="#row2">2, set by name</a>.', page)
        self.assertIn('<h2 id="row2">', page)
        self.assertNotIn("Missed:", self.run_with(self.all_measured(0.5))[2])

    def test_growth_is_shown_only_for_the_sizes_that_the_names_say(self):
        measured = self.all_measured(1)
        for size in (1000, 10000):
            measured[f"row03/same/{size}"] = {"ratio": 1, "ours_ns": 3, "rival_ns": 4}
        _, result, page, _ = self.run_with(measured)
        self.assertEqual(list(result["series"]), ["row01/listeners", "row03/same"])
        self.assertIn("Growth: one leaf all the time", page)
        for words in (["--smoke"], ["--size", "50"]):
            _, result, page, _ = self.run_with(measured, *words)
            self.assertEqual(result["series"], {})
            self.assertNotIn("Growth:", page)
        self.assertIn("in the size 50 instead of its own", page)

    def test_every_series_is_named_after_a_benchmark_of_a_row(self):
        for name in SERIES:
            self.assertIn(int(name[3:5]), ROW_TITLES)

    def test_wrong_words_and_a_folder_without_a_build_end_the_tool_before_anything_is_built(self):
        for words, reason in ((["--sizes", "3"], "unrecognized arguments: --sizes"), (["--only", "seven"], "invalid int value"),
                              (["--seed", "-1"], "not negative"), (["--build", str(self.out)], "nothing was built in")):
            with mock.patch.object(run, "build") as build, self.assertRaises(SystemExit) as end, \
                    contextlib.redirect_stderr(io.StringIO()) as errors:
                run.main(words)
            self.assertEqual(end.exception.code, 2)
            self.assertIn(reason, errors.getvalue())
            build.assert_not_called()

    def test_without_a_build_of_its_own_the_release_preset_is_built_and_measured(self):
        self.out.mkdir()
        with mock.patch.object(run, "build", return_value=self.out) as build, \
                mock.patch.object(run, "measure", return_value={}) as measure, \
                contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
            run.main(["--only", "1", "--out", str(self.out)])
        build.assert_called_once_with()
        self.assertEqual(measure.call_args.args[0].build, self.out)

    def test_each_wanted_row_runs_in_a_process_of_its_own_of_the_programs_that_hold_it(self):
        with mock.patch.object(run, "run_google_benchmark", return_value={}) as programs_run, \
                mock.patch.object(run, "run_drawing", return_value={}) as drawing:
            run.measure(mock.Mock(only=[5, 6], build=self.out, smoke=False))
        self.assertEqual([(Path(call.args[0]).name, call.args[1]) for call in programs_run.call_args_list],
                         [("table_bench", 6), ("count_bench", 5), ("count_bench", 6)])
        drawing.assert_not_called()

    def test_the_page_needs_nothing_from_elsewhere(self):
        _, _, page, _ = self.run_with(self.all_measured(1))
        for word in ("http:", "https:", "src=", "url(", "<script"):
            self.assertNotIn(word, page)

    def test_only_takes_rows_that_exist(self):
        with self.assertRaises(SystemExit) as end, contextlib.redirect_stderr(io.StringIO()) as errors:
            run.read_arguments(["--only", "99"])
        self.assertEqual(end.exception.code, 2)
        self.assertIn("there is no row 99", errors.getvalue())

    def test_seed_size_and_rounds_are_passed_to_the_programs(self):
        options = programs.options_of(run.read_arguments(["--seed", "7", "--size", "50", "--rounds", "3"]))
        self.assertEqual(options, ["--seed=7", "--rounds=3", "--size=50"])

    def test_a_program_that_was_not_built_is_named(self):
        with contextlib.redirect_stderr(io.StringIO()) as errors:
            self.assertEqual(programs.run_google_benchmark("/nowhere/table_bench", 1, run.read_arguments([])), {})
        self.assertIn("/nowhere/table_bench does not exist", errors.getvalue())

    def test_a_benchmark_that_fails_is_printed_with_its_reason_and_has_no_figure(self):
        program = self.out / "table_bench"
        self.out.mkdir()
        failing = {"name": "row01/x/iterations:1", "error_message": "no listener was called"}
        report = json.dumps({"benchmarks": [failing, {"name": "row02/name/iterations:1", "ratio": 0.5, "cpu_time": 7}]})
        program.write_text('#!/bin/sh\nfor word; do case $word in --benchmark_out=*) '
                           f"cat >\"${{word#*=}}\" <<'END'\n{report}\nEND\n;; esac; done\n", encoding="utf-8")
        program.chmod(0o755)
        with contextlib.redirect_stderr(io.StringIO()) as errors:
            figures = programs.run_google_benchmark(str(program), 1, run.read_arguments([]))
        self.assertEqual(figures, {"row02/name": {"ratio": 0.5}})
        self.assertIn("row01/x: no listener was called", errors.getvalue())


class Growth(unittest.TestCase):
    def test_benchmarks_whose_names_end_in_sizes_make_a_series_in_the_order_of_sizes(self):
        measured = {"row01/n/100": {"ours_ns": 3}, "row01/n/1": {"ours_ns": 1}, "row01/n/10": {"ours_ns": 2}, "row02/name": {}}
        self.assertEqual(programs.series_of(measured),
                         {"row01/n": [(1, {"ours_ns": 1}), (10, {"ours_ns": 2}), (100, {"ours_ns": 3})]})

    def test_what_google_benchmark_appends_to_a_name_is_taken_off(self):
        self.assertEqual(programs.base_name("row01/listeners/1/iterations:1"), "row01/listeners/1")

    def test_a_value_beside_its_target_shows_on_which_side_it_is(self):
        self.assertEqual([charts.beside(*pair) for pair in ((1.304, 1.3), (1.3, 1.3), (0.9996, 1), (1.25, 1.3), (7, None), (1100.2, 1100))],
                         ["1.304", "1.3", "0.9996", "1.25", "7", "1,100.2"])

    def test_small_numbers_are_not_rounded_to_nothing(self):
        self.assertEqual([charts.number(value) for value in (0, 0.0087, 0.45, 1.5, 3520)], ["0", "0.0087", "0.45", "1.5", "3,520"])

    def test_a_bar_beyond_the_chart_is_cut(self):
        self.assertIn("cut", charts.bar(100, 1, False))
        self.assertNotIn("cut", charts.bar(1, 1, True))


if __name__ == "__main__":
    unittest.main()
