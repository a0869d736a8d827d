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
from rows import FIGURES, ROW_TITLES, Figure  # noqa: E402


class Bench(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.out = Path(folder.name, "figures")

    def run_with(self, measured, *words):
        """Runs the tool as if the programs had measured this; the exit code, and what was written and printed."""
        printed, errors = io.StringIO(), io.StringIO()
        with mock.patch.object(run, "measure", return_value=measured), contextlib.redirect_stdout(printed), \
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

    def test_a_value_at_its_target_meets_it_and_one_above_misses_it(self):
        figure = Figure("row01/x", "x", 0.5)
        self.assertTrue(figure.meets(0.5))
        self.assertFalse(figure.meets(0.51))
        self.assertIsNone(Figure("row01/x", "x").meets(7))

    def test_missed_targets_are_shown_and_the_run_counts_as_judged(self):
        code, result, page, printed = self.run_with(self.all_measured(1.5), "--only", "1")
        self.assertEqual(code, 0)
        self.assertEqual([figure["met"] for figure in result["figures"]], [False, False])
        self.assertIn("✗ missed", page)
        self.assertIn("**missed**", printed)
        self.assertIn("0 of 2 targets met", printed)

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
            self.assertEqual(programs.run_google_benchmark("/nowhere/table_bench", [1], run.read_arguments([])), {})
        self.assertIn("/nowhere/table_bench does not exist", errors.getvalue())


class Growth(unittest.TestCase):
    def test_benchmarks_whose_names_end_in_sizes_make_a_series_in_the_order_of_sizes(self):
        measured = {"row01/n/100": {"ours_ns": 3}, "row01/n/1": {"ours_ns": 1}, "row01/n/10": {"ours_ns": 2}, "row02/name": {}}
        self.assertEqual(programs.series_of(measured),
                         {"row01/n": [(1, {"ours_ns": 1}), (10, {"ours_ns": 2}), (100, {"ours_ns": 3})]})

    def test_what_google_benchmark_appends_to_a_name_is_taken_off(self):
        self.assertEqual(programs.base_name("row01/listeners/1/iterations:1"), "row01/listeners/1")

    def test_small_numbers_are_not_rounded_to_nothing(self):
        self.assertEqual([charts.number(value) for value in (0, 0.0087, 0.45, 1.5, 3520)], ["0", "0.0087", "0.45", "1.5", "3,520"])

    def test_a_bar_beyond_the_chart_is_cut(self):
        self.assertIn("cut", charts.bar(100, 1, False))
        self.assertNotIn("cut", charts.bar(1, 1, True))


if __name__ == "__main__":
    unittest.main()
