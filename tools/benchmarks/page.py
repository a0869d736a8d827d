"""The page of a run: each figure beside its target and its rival, and growth over size. One file, nothing from elsewhere."""
import html

from charts import bar, beside, growth, nanoseconds, number
from rows import SERIES

_STYLE = """
:root{color-scheme:light dark;--ink:#1d2129;--soft:#5b6472;--ground:#fbfaf7;--line:#d9d6ce;--met:#2e7d4f;--missed:#b3422e;
--plain:#5d7fa3;--rival:#c78a2c}
@media(prefers-color-scheme:dark){:root{--ink:#e8e6e0;--soft:#a3aab5;--ground:#16181c;--line:#343842;--met:#5fb486;
--missed:#e0785f;--plain:#7fa5cc;--rival:#e0b05f}}
body{font:16px/1.5 Inter,system-ui,sans-serif;color:var(--ink);background:var(--ground);max-width:68rem;margin:2rem auto;
padding:0 1.2rem}
h1{font-size:1.7rem;margin:0}h2{font-size:1.15rem;margin:2.4rem 0 .4rem}
h2 span{color:var(--soft);font-weight:400;margin-right:.6em}
p{color:var(--soft);margin:.3rem 0}a{color:inherit}table{border-collapse:collapse;width:100%;table-layout:fixed}
td,th{padding:.35rem .7rem .35rem 0;border-bottom:1px solid var(--line);text-align:left;vertical-align:top}
th{color:var(--soft);font-weight:500;font-size:.85rem}td.number{font-variant-numeric:tabular-nums;white-space:nowrap}
th:nth-child(2){width:8.6rem}th:nth-child(3){width:5rem}th:nth-child(4){width:26%}th:nth-child(5){width:6.4rem}
td.verdict{text-align:right;padding-right:0}
td.chart svg{margin-top:.35rem}small{color:var(--soft);display:block}
.verdict{white-space:nowrap;font-weight:600}.verdict.met{color:var(--met)}.verdict.missed{color:var(--missed)}
.charts{display:grid;grid-template-columns:repeat(auto-fill,minmax(28rem,1fr));gap:.6rem 2rem;margin-top:.8rem}
figure{margin:0}figcaption{color:var(--soft)}svg{width:100%;display:block}svg.growth{max-width:36rem;margin-top:.6rem}svg text{font-size:12px;fill:var(--soft)}
rect.met{fill:var(--met)}rect.missed{fill:var(--missed)}rect.plain{fill:var(--plain)}
.target{stroke:var(--ink);stroke-width:2}.cut{stroke:var(--ground);stroke-width:2;fill:none}.grid{stroke:var(--line)}
.line0{stroke:var(--plain)}.line1{stroke:var(--rival)}.line0,.line1{fill:none;stroke-width:2}
.dot0,svg .key0{fill:var(--plain)}.dot1,svg .key1{fill:var(--rival)}
@media(max-width:44rem){table{table-layout:auto}th:nth-child(n){width:auto}th:nth-child(4),td.chart{display:none}.charts{grid-template-columns:1fr}}
"""

_VERDICTS = {True: ("met", "✓ met"), False: ("missed", "✗ missed"), None: ("", "–")}


def page(result, row_titles):
    """The page of a result as run.py writes it to figures.json."""
    machine = result["machine"]
    judged = [figure for figure in result["figures"] if figure["met"] is not None]
    met = sum(figure["met"] for figure in judged)
    missed = [figure for figure in judged if not figure["met"]]
    headline = ("Smoke run: everything ran once, nothing is judged." if result["smoke"] else
                f"Everything in the size {result['size']:,} instead of its own: nothing is judged." if result["size"] else
                f"{met} of {len(judged)} targets met.")
    parts = ["<!doctype html><html lang=\"en\"><meta charset=\"utf-8\"><title>Figures of the table</title>",
             "<meta name=\"viewport\" content=\"width=device-width\">", f"<style>{_STYLE}</style>",
             f"<h1>Figures of the table</h1><p><strong>{headline}</strong> {html.escape(result['date'])}, "
             f"{html.escape(machine['processor'])}, {machine['cores']} cores, seed {result['seed']}.</p>",
             "<p>A figure without a unit is a ratio: our processor time (or wall time, where it says so) divided by the rival's, both "
             "measured in turns; the median of many such ratios counts. Less is better. The upright line is the target.</p>"]
    if missed:
        parts.append("<p>Missed: " + "; ".join(
            f"<a href=\"#row{figure['row']}\">{figure['row']}, {html.escape(figure['title'])}</a>" for figure in missed) + ".</p>")
    for row in sorted({figure["row"] for figure in result["figures"]}):
        parts.append(f"<h2 id=\"row{row}\"><span>{row}</span>{html.escape(row_titles[row])}</h2>")
        parts.append("<table><tr><th>Work</th><th>Figure</th><th>Target</th><th></th><th></th></tr>")
        parts += [_line(figure) for figure in result["figures"] if figure["row"] == row]
        parts.append("</table>")
        charts = [_series(name, points) for name, points in result["series"].items() if name.startswith(f"row{row:02d}/")]
        if any(charts):
            parts.append(f"<div class=\"charts\">{''.join(charts)}</div>")
    return "".join(parts) + "</html>\n"


def _line(figure):
    times = ""
    if figure["counter"] == "ratio" and "rival_ns" in figure["counters"]:
        ours, theirs = (nanoseconds(figure["counters"][name]).replace(" ", "\N{NO-BREAK SPACE}") for name in ("ours_ns", "rival_ns"))
        times = f"{ours} against {theirs}"
    rival = f"against {figure['rival']}" if figure["rival"] else ""
    below = "; ".join(text for text in (rival, times) if text)
    kind, verdict = _VERDICTS[figure["met"]]
    if figure["value"] is None:
        kind, verdict = "missed", "not measured"
    value = "–" if figure["value"] is None else f"{beside(figure['value'], figure['target'])} {figure['unit']}"
    target = "" if figure["target"] is None else f"≤ {number(figure['target'])}"
    chart = "" if figure["value"] is None or figure["target"] is None else bar(figure["value"], figure["target"], figure["met"])
    return (f"<tr><td>{html.escape(figure['title'])}<small>{html.escape(below)}</small></td>"
            f"<td class=\"number\">{html.escape(value)}</td><td class=\"number\">{target}</td>"
            f"<td class=\"chart\">{chart}</td><td class=\"verdict {kind}\">{verdict}</td></tr>")


def _series(name, points):
    has_rival = all("rival_ns" in counters for _, counters in points)
    lines = {"ours_ns": "ours, each", **({"rival_ns": "the rival, each"} if has_rival else {})}
    caption, what = SERIES.get(name, (name, "size"))
    chart = growth([tuple(point) for point in points], lines, what)
    return f"<figure><figcaption>Growth: {html.escape(caption)}</figcaption>{chart}</figure>" if chart else ""
