#!/usr/bin/env python3
"""Holds the dashboard and the alerts of tools/monitoring against what the bridge really writes: every metric, label and
label's value that an expression names must be there, and every expression must be one. Usage: expressions.py METRICS
(a file that a bridge has written). promtool judges the expressions' grammar."""

import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

FOLDER = Path(__file__).resolve().parents[2] / "tools/monitoring"
DASHBOARD = FOLDER / "korabridge-dashboard.json"
RULES = FOLDER / "korabridge-rules.yml"

# What the collector and Prometheus add to what the bridge writes.
COLLECTORS = {"node_textfile_mtime_seconds": {"file": None}}
EVERYWHERE = {"instance", "job"}

SAMPLE = re.compile(r"^([a-zA-Z_:][\w:]*)(?:\{(.*)\})? \S+$")
LABEL = re.compile(r'(\w+)(=~|!~|!=|=)"((?:[^"\\]|\\.)*)"')
SELECTOR = re.compile(r"\b([a-zA-Z_:][\w:]*)(?:\{([^}]*)\})?")
GROUPING = re.compile(r"\b(?:by|without|on|ignoring|group_left|group_right)\s*\(([^)]*)\)")
VARIABLES = {"$__rate_interval": "1m", "$__range": "1h", "$instance": ".*"}
# The kinds of panels that come with Grafana and are used here.
PANELS = {"stat", "timeseries"}
WORDS = {"or", "and", "unless", "bool", "offset", "sum", "max", "min", "avg", "count"}


def parse_metrics(text):
    """What each name of a sample has: {name: {label: {values}}}."""
    metrics = {}
    for line in text.splitlines():
        sample = SAMPLE.match(line)
        if sample:
            labels = metrics.setdefault(sample[1], {})
            for name, _, value in LABEL.findall(sample[2] or ""):
                labels.setdefault(name, set()).add(value)
    return metrics


def faults_of(expression, metrics):
    """What an expression names that there is not."""
    known = {**metrics, **{name: {label: None for label in labels} for name, labels in COLLECTORS.items()}}
    for name, value in VARIABLES.items():
        expression = expression.replace(name, value)
    faults, named = [], set()
    groups = [label.strip() for group in GROUPING.findall(expression) for label in group.split(",") if label.strip()]
    rest = GROUPING.sub(" ", expression)
    rest = re.sub(r"\[[^\]]*\]", " ", rest)
    for match in SELECTOR.finditer(rest):
        name, labels = match[1], match[2] or ""
        if name in WORDS or rest[match.end() :].lstrip().startswith("("):
            continue
        if any(inside.start() < match.start() < inside.end() for inside in re.finditer(r'"[^"]*"|\{[^}]*\}', rest)):
            continue
        if name not in known:
            faults.append(f"no metric {name}")
            continue
        named.add(name)
        for label, operator, value in LABEL.findall(labels):
            if label in EVERYWHERE:
                continue
            if label not in known[name]:
                faults.append(f"{name} has no label {label}")
            elif operator in ("=", "!=") and known[name][label] is not None and value not in known[name][label]:
                faults.append(f"{name} is never {label}={value}")
    if not named and not faults:
        faults.append("names no metric")
    faults += [f"groups by {label}, which nothing has" for label in groups
               if label not in EVERYWHERE and not any(label in known[name] for name in named)]
    return faults


def expressions_of_rules(text):
    """Each alert's expression, also one of several lines."""
    found = {}
    for alert in text.split("- alert: ")[1:]:
        expression = re.search(r"^ +expr: (?:>-\n((?: {10}.*\n)+)|(.*)\n)", alert, re.MULTILINE)
        found[alert.split("\n", 1)[0]] = re.sub(r"\s+", " ", expression[1] or expression[2]).strip()
    return found


def expressions_of_dashboard(dashboard):
    """Each panel's expressions, by the panel's title; those of its variables too."""
    found = [(panel["title"], target["expr"]) for panel in dashboard["panels"] for target in panel["targets"]]
    for variable in dashboard["templating"]["list"]:
        query = variable["query"]["query"] if isinstance(variable["query"], dict) else ""
        values = re.fullmatch(r"label_values\((\w+), (\w+)\)", query)
        if values:
            found.append((variable["name"], f"count by ({values[2]}) ({values[1]})"))
    return found


def faults_of_references(dashboard):
    """What refers to a variable, a data source or a query that the dashboard does not have, or to two."""
    variables = {variable["name"]: variable["type"] for variable in dashboard["templating"]["list"]}
    sources = {f"${{{name}}}" for name, kind in variables.items() if kind == "datasource"}
    faults = [f"{variable['name']}: no data source {variable['datasource']['uid']}" for variable in dashboard["templating"]["list"]
              if "datasource" in variable and variable["datasource"]["uid"] not in sources]
    for panel in dashboard["panels"]:
        if panel["type"] not in PANELS:
            faults.append(f"{panel['title']}: is a {panel['type']}")
        queries = [target["refId"] for target in panel["targets"]]
        if len(set(queries)) != len(queries):
            faults.append(f"{panel['title']}: queries share a name")
        for user in (panel, *panel["targets"]):
            if user["datasource"]["uid"] not in sources:
                faults.append(f"{panel['title']}: no data source {user['datasource']['uid']}")
        for target in panel["targets"]:
            faults += [f"{panel['title']}: no variable {name}" for name in re.findall(r"\$(\w+)", target["expr"])
                       if not name.startswith("__") and name not in variables]
    return faults


def faults_of_dashboard(dashboard, metrics):
    faults = faults_of_references(dashboard)
    ids = [panel["id"] for panel in dashboard["panels"]]
    if len(set(ids)) != len(ids):
        faults.append("panels share an id")
    cells = {}
    for panel in dashboard["panels"]:
        grid = panel["gridPos"]
        if grid["x"] + grid["w"] > 24:
            faults.append(f"{panel['title']}: beyond the right edge")
        for cell in ((x, y) for x in range(grid["x"], grid["x"] + grid["w"]) for y in range(grid["y"], grid["y"] + grid["h"])):
            if cells.setdefault(cell, panel["id"]) != panel["id"]:
                faults.append(f"{panel['title']}: lies on another panel")
                break
        for target in panel["targets"]:
            for label in re.findall(r"\{\{(\w+)\}\}", target["legendFormat"]):
                if label not in EVERYWHERE and label not in target["expr"] and \
                        not any(label in labels for name, labels in metrics.items() if name in target["expr"]):
                    faults.append(f"{panel['title']}: the legend names {label}")
    for title, expression in expressions_of_dashboard(dashboard):
        faults += [f"{title}: {fault}" for fault in faults_of(expression, metrics)]
    return faults


def grammar_of(expressions):
    """What promtool says against them; empty when nothing."""
    rules = []
    for number, expression in enumerate(expressions):
        for name, value in VARIABLES.items():
            expression = expression.replace(name, value)
        rules.append({"record": f"test:expression:{number}", "expr": expression})
    with tempfile.NamedTemporaryFile("w", suffix=".yml") as file:
        json.dump({"groups": [{"name": "expressions", "rules": rules}]}, file)  # which is YAML as well
        file.flush()
        said = subprocess.run(["promtool", "check", "rules", file.name], capture_output=True, text=True)
    return "" if said.returncode == 0 else said.stdout + said.stderr


def main():
    metrics = parse_metrics(Path(sys.argv[1]).read_text())
    dashboard = json.loads(DASHBOARD.read_text())
    alerts = expressions_of_rules(RULES.read_text())
    faults = faults_of_dashboard(dashboard, metrics)
    for alert, expression in alerts.items():
        faults += [f"{alert}: {fault}" for fault in faults_of(expression, metrics)]
    expressions = [expression for _, expression in expressions_of_dashboard(dashboard)] + list(alerts.values())
    faults += filter(None, [grammar_of(expressions)])
    print("\n".join(faults + [f"{len(expressions)} expressions, {len(faults)} faults"]))
    return 1 if faults or not metrics or len(alerts) < 5 else 0


if __name__ == "__main__":
    sys.exit(main())
