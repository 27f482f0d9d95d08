#!/usr/bin/env python3
"""Draws docs/images/dashboard.png: the panels of tools/monitoring/korabridge-dashboard.json, each from its own expressions, as
a Prometheus answers them. Not Grafana's drawing, but its numbers. Usage: dashboard.py URL BEGIN END (seconds since 1970).
Needs python3-matplotlib."""

import json
import math
import re
import sys
import urllib.parse
import urllib.request
from datetime import datetime, timezone
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.dates  # noqa: E402
import matplotlib.pyplot as plot  # noqa: E402

HERE = Path(__file__).resolve().parent
DASHBOARD = HERE.parents[1] / "tools/monitoring/korabridge-dashboard.json"
STEP, RATE_INTERVAL = 5, "1m"
COLOURS = plot.get_cmap("tab20").colors[::2] + plot.get_cmap("tab20").colors[1::2]
ROW = 0.42  # inches of a row of the dashboard's grid


def ask(url, expression, begin, end):
    expression = expression.replace("$__rate_interval", RATE_INTERVAL).replace("$instance", ".*")
    query = urllib.parse.urlencode({"query": expression, "start": begin, "end": end, "step": STEP})
    with urllib.request.urlopen(f"{url}/api/v1/query_range?{query}") as answer:
        return json.load(answer)["data"]["result"]


def legend(form, labels):
    return re.sub(r"\{\{(\w+)\}\}", lambda match: labels.get(match[1], ""), form).strip()


def shown(value, unit):
    if unit == "s":
        return f"{int(value // 60)} min"
    return f"{value:g}"


def draw_stat(axes, series, panel, *_):
    axes.axis("off")
    for number, (name, points) in enumerate(series):
        steps = panel["fieldConfig"]["defaults"].get("thresholds", {}).get("steps", [{"color": "black", "value": None}])
        value = points[-1][1]
        colour = [step["color"] for step in steps if step["value"] is None or value >= step["value"]][-1]
        x = (number + 0.5) / len(series)
        axes.text(x, 0.5, shown(value, panel["fieldConfig"]["defaults"]["unit"]), ha="center", va="center", fontsize=13,
                  color={"green": "#2a8a2a", "yellow": "#b08000", "red": "#c02020"}.get(colour, "#303030"))
        axes.text(x, 0.08, name, ha="center", va="center", fontsize=7, color="#606060")


def draw_lines(axes, series, panel, begin, end):
    scale, suffix = (2**20, " MiB") if panel["fieldConfig"]["defaults"]["unit"] == "bytes" else (1, "")
    if panel["fieldConfig"]["defaults"]["unit"] == "s":
        scale, suffix = 1e-3, " ms"
    for number, (name, points) in enumerate(series):
        # A gap is a gap.
        times, values, last = [], [], None
        for time, value in points:
            if last is not None and time - last > STEP:
                times.append(datetime.fromtimestamp(last + STEP, timezone.utc))
                values.append(math.nan)
            times.append(datetime.fromtimestamp(time, timezone.utc))
            values.append(value / scale)
            last = time
        axes.plot(times, values, label=name, linewidth=1.4, color=COLOURS[number % len(COLOURS)])
    axes.set_xlim(datetime.fromtimestamp(begin, timezone.utc), datetime.fromtimestamp(end, timezone.utc))
    axes.margins(y=0.08)
    axes.set_ylim(bottom=0)
    axes.grid(linewidth=0.3)
    axes.tick_params(labelsize=7)
    axes.xaxis.set_major_locator(matplotlib.dates.MinuteLocator())
    axes.xaxis.set_major_formatter(matplotlib.dates.DateFormatter("%H:%M"))
    axes.yaxis.set_major_formatter(lambda value, _: f"{value:g}{suffix}")
    if series:
        axes.legend(fontsize=6.5, ncol=2, columnspacing=1, loc="upper center", bbox_to_anchor=(0.5, -0.08), frameon=False)


def main():
    url, begin, end = sys.argv[1], float(sys.argv[2]), float(sys.argv[3])
    dashboard = json.loads(DASHBOARD.read_text())
    rows = max(panel["gridPos"]["y"] + panel["gridPos"]["h"] for panel in dashboard["panels"])
    figure = plot.figure(figsize=(15, rows * ROW))
    for panel in dashboard["panels"]:
        series = []
        for target in panel["targets"]:
            for one in ask(url, target["expr"], begin, end):
                points = [(time, float(value)) for time, value in one["values"] if not math.isnan(float(value))]
                if points:
                    series.append((legend(target["legendFormat"], one["metric"]), points))
        grid = panel["gridPos"]
        foot = 2.2 if panel["type"] == "timeseries" else 0.2
        axes = figure.add_axes(((grid["x"] + 0.9) / 24.5, 1 - (grid["y"] + grid["h"] - foot) / rows,
                                (grid["w"] - 1.2) / 24.5, (grid["h"] - foot - 1) / rows))
        axes.set_title(panel["title"], fontsize=9, loc="left")
        (draw_stat if panel["type"] == "stat" else draw_lines)(axes, series, panel, begin, end)
    figure.savefig(HERE / "dashboard.png", dpi=80)


if __name__ == "__main__":
    main()
